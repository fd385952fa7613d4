#include "Vexil/AMD/AMDDisplayLibrary.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "Vexil/Common/InsertionOrderedMap.h"
#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Log.h"
#include "Vexil/Common/Patterns.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/Platform/RunScope.h"

namespace Vexil {

using FlatBuffers::AMDDLGPUT;
using FlatBuffers::GPUType;

namespace {

constexpr int kHighestPCIBus = 255;
constexpr const char* kDriverVersionFields = "amd_driver_version, amd_driver_major, amd_driver_minor";

void* Allocate(int size) { return std::malloc(static_cast<std::size_t>(size)); }

constexpr std::array kStatusNames = {
    StatusName{-1, "ADL_ERR"},
    StatusName{-2, "ADL_ERR_NOT_INIT"},
    StatusName{-3, "ADL_ERR_INVALID_PARAM"},
    StatusName{-4, "ADL_ERR_INVALID_PARAM_SIZE"},
    StatusName{-5, "ADL_ERR_INVALID_ADL_IDX"},
    StatusName{-8, "ADL_ERR_NOT_SUPPORTED"},
    StatusName{-9, "ADL_ERR_NULL_POINTER"},
    StatusName{-10, "ADL_ERR_DISABLED_ADAPTER"},
    StatusName{-11, "ADL_ERR_INVALID_CALLBACK"},
    StatusName{-12, "ADL_ERR_RESOURCE_CONFLICT"},
};

bool IsFromAMD(const AdapterInfo& adapter) {
  // Some drivers give the hexadecimal id's digits as a decimal number.
  constexpr std::array kVendorIDs = {0x1002, 0x1022, 1002, 1022};
  return std::find(kVendorIDs.begin(), kVendorIDs.end(), adapter.iVendorID) != kVendorIDs.end();
}

/// Virtual machines put the GPU on a bus that cannot exist; CUDA, OpenCL and DXGI see it at 0:0.0.
void CorrectVirtualLocation(AMDDLGPUT& gpu, Account& account) {
  if (gpu.pci_bus <= kHighestPCIBus) return;
  LOG_WARN_AND_REMARK(account.remarks, "AMD VM workaround: set PCI {}:{}.{} to 0:0.0", gpu.pci_bus, gpu.pci_device,
                      gpu.pci_function);
  gpu.pci_bus = 0;
  gpu.pci_device = 0;
  gpu.pci_function = 0;
}

}  // namespace

AMDDisplayLibrary::AMDDisplayLibrary() : VendorLibrary(kFileName, kStatusNames, ADL_OK_WARNING) {}

AMDDisplayLibrary::~AMDDisplayLibrary() {
  if (m_initialized) {
    ADL_Main_Control_Destroy();
  } else if (IsOpen()) {
    PinLibrary(kFileName);
  }
}

bool AMDDisplayLibrary::Initialize() {
  if (m_initialized) return true;
  if (!Open()) return false;
  if (Resolve() != nullptr) {
    Unload();
    return false;
  }
  constexpr int kConnectedAdaptersOnly = 1;
  m_initialized = Starts(ADL_Main_Control_Create, Allocate, kConnectedAdaptersOnly);
  if (!m_initialized) LOG_WARN("Failed to initialize, control create error.");
  return m_initialized;
}

void AMDDisplayLibrary::Unload() {
  if (m_initialized) ADL_Main_Control_Destroy();
  // The other four keep their values, which nobody uses: Initialize comes first and resolves all of them again.
  ADL_Main_Control_Create.Clear();
  ADL_Main_Control_Destroy.Clear();
  ADL_Adapter_NumberOfAdapters_Get.Clear();
  Close();
  m_initialized = false;
}

bool AMDDisplayLibrary::EnumerateGPUs(std::vector<AMDDLGPUT>& gpus) {
  if (!Initialize()) return false;
  gpus.clear();
  std::vector<AdapterInfo> adapters;
  int primary_adapter = -1;
  if (!ReadAdapters(adapters, primary_adapter)) return false;

  // The library lists a GPU once per output.
  InsertionOrderedMap<std::pair<int, int>, AMDDLGPUT> gpu_at;
  for (const AdapterInfo& adapter : adapters) {
    if (!IsFromAMD(adapter)) continue;
    const std::pair location(adapter.iBusNumber, adapter.iDeviceNumber);
    if (gpu_at.Find(location) == nullptr) gpu_at[location] = MakeGPU(adapter, primary_adapter);
    gpu_at[location].display_names.push_back(TextInBuffer(adapter.strDisplayName));
  }
  for (auto& [location, gpu] : gpu_at) gpus.push_back(std::move(gpu));
  if (gpus.size() == 1) CorrectVirtualLocation(gpus.front(), TheAccount());
  return true;
}

bool AMDDisplayLibrary::ReadAdapters(std::vector<AdapterInfo>& adapters, int& primary_adapter) {
  int count = 0;
  if (!Lists(ADL_Adapter_NumberOfAdapters_Get, &count)) {
    LOG_WARN("Failed to enumerate, adapter enumeration error.");
    return false;
  }
  if (count == 0) {
    LOG_WARN("Failed to enumerate, no adapters found.");
    return false;
  }
  int primary = -1;
  if (ADL_Adapter_Primary_Get && Tells("is_primary", ADL_Adapter_Primary_Get, &primary)) primary_adapter = primary;

  // The buffer is as large as the library is told, so that it cannot write past it.
  const bool credible = count > 0 && count <= static_cast<int>(kMaxItems);
  if (credible) {
    AdapterInfo empty = {};
    empty.iSize = sizeof(empty);
    adapters.assign(static_cast<std::size_t>(count), empty);
  }
  if (!credible ||
      !Lists(ADL_Adapter_AdapterInfo_Get, adapters.data(), count * static_cast<int>(sizeof(AdapterInfo)))) {
    LOG_WARN("Failed to enumerate adapters.");
    return false;
  }
  return true;
}

AMDDLGPUT AMDDisplayLibrary::MakeGPU(const AdapterInfo& adapter, int primary_adapter) {
  TheAccount().About("adapter", adapter.iAdapterIndex);
  AMDDLGPUT gpu;
  gpu.name = TextInBuffer(adapter.strAdapterName);
  gpu.pci_bus = adapter.iBusNumber;
  gpu.pci_device = adapter.iDeviceNumber;
  gpu.pci_function = adapter.iFunctionNumber;
  gpu.is_primary = adapter.iAdapterIndex == primary_adapter;
  gpu.type = ReadGPUType(adapter.iAdapterIndex);
  gpu.hardware_id = FindPCIHardwareID(TextInBuffer(adapter.strPNPString));
  return gpu;
}

GPUType AMDDisplayLibrary::ReadGPUType(int adapter) {
  int types = 0;
  int valid_types = 0;
  if (!Tells("type", ADL_Adapter_ASICFamilyType_Get, adapter, &types, &valid_types)) return GPUType::Unknown;
  return (types & (ADL_ASIC_INTEGRATED | ADL_ASIC_FUSION)) != 0 ? GPUType::Integrated : GPUType::Discrete;
}

bool AMDDisplayLibrary::GetDriverVersion(std::string& version, std::int32_t& major, std::int32_t& minor) {
  version.clear();
  major = kUnknown;
  minor = kUnknown;
  if (!Initialize()) return false;
  ADLVersionsInfo versions = {};
  if (!Tells(kDriverVersionFields, ADL_Graphics_Versions_Get, &versions)) return false;
  version = TextInBuffer(versions.strDriverVer);
  if (const auto numbers = FindVersion(version, 2)) {
    major = numbers->at(0);
    minor = numbers->at(1);
  }
  return true;
}

Answer<AMDDLGPUT> GetAMDDLGPUs() {
  const auto library = RunScope::Get<AMDDisplayLibrary>();
  std::vector<AMDDLGPUT> gpus;
  library->EnumerateGPUs(gpus);
  return {std::move(gpus), library->TakeAccount()};
}

bool GetAMDDriverVersion(std::string& version, std::int32_t& major, std::int32_t& minor, Account& account) {
  const auto library = RunScope::Get<AMDDisplayLibrary>();
  const bool told = library->GetDriverVersion(version, major, minor);
  account.Append(library->TakeAccount(), kDriverVersionFields);
  return told;
}

}  // namespace Vexil
