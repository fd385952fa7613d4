#include "Vexil/DetectCommon/CUDADetector.h"

#include <algorithm>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Log.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/DetectCommon/CUDADriverAPI.h"
#include "Vexil/Platform/RunScope.h"

namespace Vexil {

using FlatBuffers::CUDAGPUT;

namespace {

// Guarded by the lock under which every detection runs.
std::int32_t cached_major = kUnknown;
std::int32_t cached_minor = kUnknown;

std::string ErrorName(const CUDADriverAPI& cuda, CUresult error) {
  const char* name = nullptr;
  return cuda.cuGetErrorName(error, &name) == CUDA_SUCCESS && name != nullptr ? name : "";
}

std::string ReadName(CUDADriverAPI& cuda, CUdevice device) {
  char name[1024] = {};
  const bool known = cuda.Tells("name", cuda.cuDeviceGetName, name, static_cast<int>(sizeof(name)), device);
  return known ? TextInBuffer(name) : std::string();
}

std::int32_t ReadMemoryMiB(CUDADriverAPI& cuda, CUdevice device) {
  std::size_t bytes = 0;
  return cuda.Tells("memory_mib", cuda.cuDeviceTotalMem_v2, &bytes, device) ? BytesToMiB(bytes) : kUnknown;
}

std::int32_t ReadComputeVersion(CUDADriverAPI& cuda, const char* field, CUdevice_attribute attribute, CUdevice device) {
  int value = kUnknown;
  return cuda.Tells(field, cuda.cuDeviceGetAttribute, &value, attribute, device) ? value : kUnknown;
}

void ReadPCILocation(CUDADriverAPI& cuda, CUDAGPUT& gpu) {
  // The driver writes into the fields: what a failing call wrote before it failed stays.
  if (!cuda.Tells("pci_bus", cuda.cuDeviceGetAttribute, &gpu.pci_bus, CU_DEVICE_ATTRIBUTE_PCI_BUS_ID, gpu.device)) {
    LOG_ERROR("Failed to query PCI Bus ID to the CUDA Driver API.");
  }
  if (!cuda.Tells("pci_device", cuda.cuDeviceGetAttribute, &gpu.pci_device, CU_DEVICE_ATTRIBUTE_PCI_DEVICE_ID,
                  gpu.device)) {
    LOG_ERROR("Failed to query PCI Bus Device ID to the CUDA Driver API.");
  }
}

std::vector<std::int32_t> FindPeers(CUDADriverAPI& cuda, const CUDAGPUT& gpu, int count) {
  std::vector<std::int32_t> peers;
  for (int ordinal = 0; ordinal < count; ++ordinal) {
    CUdevice peer = 0;
    int can_access = 0;
    if (ordinal != gpu.index && cuda.Tells("peers", cuda.cuDeviceGet, &peer, ordinal) &&
        cuda.Tells("peers", cuda.cuDeviceCanAccessPeer, &can_access, gpu.device, peer) && can_access != 0) {
      peers.push_back(ordinal);
    }
  }
  return peers;
}

std::vector<CUDAGPUT> ReadGPUs(CUDADriverAPI& cuda) {
  if (!cuda.Initialize()) return {};
  int count = 0;
  if (!cuda.Lists(cuda.cuDeviceGetCount, &count)) {
    LOG_ERROR("cuDeviceGetCount failed with {}", ErrorName(cuda, cuda.LastStatus()));
    return {};
  }
  count = std::min(count, static_cast<int>(kMaxItems));

  std::vector<CUDAGPUT> gpus;
  for (int ordinal = 0; ordinal < count; ++ordinal) {
    cuda.TheAccount().About("device", ordinal);
    CUdevice device = 0;
    if (!cuda.Tells("", cuda.cuDeviceGet, &device, ordinal)) {
      LOG_ERROR("Failed to find CUDA Driver API device ID for {}", ordinal);
      continue;
    }
    CUDAGPUT gpu;
    gpu.index = ordinal;
    gpu.device = device;
    gpu.name = ReadName(cuda, device);
    gpu.memory_mib = ReadMemoryMiB(cuda, device);
    gpu.compute_major = ReadComputeVersion(cuda, "compute_major", CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR, device);
    gpu.compute_minor = ReadComputeVersion(cuda, "compute_minor", CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR, device);
    ReadPCILocation(cuda, gpu);
    gpu.peers = FindPeers(cuda, gpu, count);
    gpus.push_back(std::move(gpu));
  }
  return gpus;
}

}  // namespace

Answer<CUDAGPUT> GetCUDAGPUs() {
  const auto cuda = RunScope::Get<CUDADriverAPI>();
  return {ReadGPUs(*cuda), cuda->TakeAccount()};
}

bool GetCUDADriverVersion(std::int32_t& major, std::int32_t& minor, Account& account) {
  major = kUnknown;
  minor = kUnknown;
  if (cached_major != kUnknown && cached_minor != kUnknown) {
    major = cached_major;
    minor = cached_minor;
    return true;
  }
  const auto cuda = RunScope::Get<CUDADriverAPI>();
  int version = 0;
  constexpr const char* kFields = "cuda_driver_major, cuda_driver_minor";
  const bool told = cuda->Initialize() && cuda->Tells(kFields, cuda->cuDriverGetVersion, &version);
  account.Append(cuda->TakeAccount(), kFields);
  if (!told || version == 0) return false;
  major = cached_major = version / 1000;
  minor = cached_minor = version % 100 / 10;
  return true;
}

}  // namespace Vexil
