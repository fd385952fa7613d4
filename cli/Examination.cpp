#include "Examination.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "AMD/AMDDisplayLibrary.h"
#include "Common/Limits.h"
#include "DetectCommon/CUDADriverAPI.h"
#include "DetectCommon/OpenCLLibrary.h"
#include "NVIDIA/NVML.h"
#include "NVIDIA/NvAPI.h"
#include "Windows/DXGI.h"

namespace Vexil::Program {
namespace {

std::string Failure(const char* call, int status) { return fmt::format("{}, status {}", call, status); }

/// Why a library's Initialize, which begins with `call`, returned false.
template <typename Library, typename Entry>
std::string StartFailure(const Library& library, const Entry& call) {
  const auto status = library.StartStatus();
  return status ? Failure(call.Name(), *status) : "loading it again";
}

bool IsUsable(const Examination& examination) {
  return examination.is_installed && examination.missing_required.empty();
}

// The call that failed, or nothing.

std::string FindFailure(OpenCLLibrary& opencl) {
  if (!opencl.Initialize()) return "loading it again";
  cl_uint count = 0;
  cl_int status = opencl.clGetPlatformIDs(0, nullptr, &count);
  std::vector<cl_platform_id> platforms(std::min(count, kMaxItems), nullptr);
  if (status == CL_SUCCESS && !platforms.empty()) {
    status = opencl.clGetPlatformIDs(static_cast<cl_uint>(platforms.size()), platforms.data(), nullptr);
  }
  if (status != CL_SUCCESS) return Failure(opencl.clGetPlatformIDs.Name(), status);
  for (cl_platform_id platform : platforms) {
    status = opencl.clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, 0, nullptr, &count);
    if (status != CL_SUCCESS && status != CL_DEVICE_NOT_FOUND) return Failure(opencl.clGetDeviceIDs.Name(), status);
  }
  return {};
}

std::string FindFailure(CUDADriverAPI& cuda) {
  if (!cuda.Initialize()) return StartFailure(cuda, cuda.cuInit);
  int count = 0;
  const CUresult status = cuda.cuDeviceGetCount(&count);
  return status == CUDA_SUCCESS ? "" : Failure(cuda.cuDeviceGetCount.Name(), status);
}

std::string FindFailure(NVML& nvml) {
  if (!nvml.Initialize()) return StartFailure(nvml, nvml.nvmlInit);
  unsigned count = 0;
  const nvmlReturn_t status = nvml.nvmlDeviceGetCount(&count);
  return status == NVML_SUCCESS ? "" : Failure(nvml.nvmlDeviceGetCount.Name(), status);
}

std::string FindFailure(AMDDisplayLibrary& adl) {
  if (!adl.Initialize()) return StartFailure(adl, adl.ADL_Main_Control_Create);
  const auto has_failed = [](int status) { return status != ADL_OK && status != ADL_OK_WARNING; };
  int count = 0;
  int status = adl.ADL_Adapter_NumberOfAdapters_Get(&count);
  if (has_failed(status)) return Failure(adl.ADL_Adapter_NumberOfAdapters_Get.Name(), status);
  if (count <= 0 || count > static_cast<int>(kMaxItems)) return {};
  std::vector<AdapterInfo> adapters(static_cast<std::size_t>(count));
  status = adl.ADL_Adapter_AdapterInfo_Get(adapters.data(), count * static_cast<int>(sizeof(AdapterInfo)));
  return has_failed(status) ? Failure(adl.ADL_Adapter_AdapterInfo_Get.Name(), status) : "";
}

template <typename Library>
Examination Examine(bool has_records) {
  Library library;
  Examination examination = {library.Inspect(), {}};
  if (IsUsable(examination) && !has_records) examination.failed_call = FindFailure(library);
  return examination;
}

/// nvapi64.dll beside its loader, to see which functions it has to hand out.
class NvAPIFunctions : private VendorLibrary {
 public:
  LibraryInspection Inspect() {
    LibraryInspection inspection = VendorLibrary::Inspect(kNvAPIFileName);
    if (!inspection.missing_required.empty() || !Open(kNvAPIFileName) || ResolveAll() != nullptr) return inspection;
    for (const NvAPIEntry* entry : kNvAPIEntries) {
      if (nvapi_QueryInterface(entry->id) != nullptr) continue;
      auto& missing = entry->need == Need::Required ? inspection.missing_required : inspection.missing_optional;
      missing.emplace_back(entry->name);
    }
    return inspection;
  }

 private:
  Entry<void*(std::uint32_t id)> nvapi_QueryInterface{*this, kNvAPIQueryInterface};
};

std::string FindNvAPIFailure(NvAPI_Status start, bool has_records) {
  if (start != NVAPI_OK) return Failure(kNvAPIInitialize.name, start);
  if (has_records) return {};
  NvPhysicalGpuHandle gpus[NVAPI_MAX_PHYSICAL_GPUS] = {};
  NvU32 count = 0;
  const NvAPI_Status status = NvAPI_EnumPhysicalGPUs(gpus, &count);
  return status == NVAPI_OK ? "" : Failure(NvAPI_EnumPhysicalGPUs.name, status);
}

}  // namespace

// OpenCL stays loaded and has no start. One platform of several may fail.
Examination ExamineOpenCL(bool /*has_records*/) { return Examine<OpenCLLibrary>(false); }

Examination ExamineCUDA(bool has_records) { return Examine<CUDADriverAPI>(has_records); }

Examination ExamineNVML(bool has_records) { return Examine<NVML>(has_records); }

Examination ExamineAMDDL(bool has_records) { return Examine<AMDDisplayLibrary>(has_records); }

Examination ExamineNvAPI(bool has_records) {
  const NvAPI_Status start = NvAPI_Initialize();
  // While NVAPI is up, as its other functions are asked for at detection.
  Examination examination = {NvAPIFunctions().Inspect(), {}};
  if (IsUsable(examination)) examination.failed_call = FindNvAPIFailure(start, has_records);
  if (start == NVAPI_OK) NvAPI_Unload();
  return examination;
}

Examination ExamineDirectX(bool has_records) {
  Examination examination = ExamineNothing(has_records);
  if (has_records) return examination;
  const DXGIStatus status = ForEachDXGIAdapter([](std::uint32_t, DXGIAdapter&) {});
  if (status < 0) {
    examination.failed_call = fmt::format("CreateDXGIFactory, 0x{:08X}", static_cast<std::uint32_t>(status));
  }
  return examination;
}

Examination ExamineNothing(bool /*has_records*/) {
  Examination examination;
  examination.is_installed = true;
  return examination;
}

}  // namespace Vexil::Program
