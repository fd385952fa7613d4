#include "DetectCommon/CUDADetector.h"

#include <algorithm>

#include "Common/Limits.h"
#include "Common/Log.h"
#include "Common/Text.h"
#include "Common/Unknown.h"
#include "DetectCommon/CUDADriverAPI.h"

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

std::string ReadName(const CUDADriverAPI& cuda, CUdevice device) {
  char name[1024] = {};
  const bool known = cuda.cuDeviceGetName(name, sizeof(name), device) == CUDA_SUCCESS;
  return known ? TextInBuffer(name) : std::string();
}

std::int32_t ReadMemoryMiB(const CUDADriverAPI& cuda, CUdevice device) {
  std::size_t bytes = 0;
  return cuda.cuDeviceTotalMem_v2(&bytes, device) == CUDA_SUCCESS ? BytesToMiB(bytes) : kUnknown;
}

std::int32_t ReadAttribute(const CUDADriverAPI& cuda, CUdevice_attribute attribute, CUdevice device) {
  int value = kUnknown;
  return cuda.cuDeviceGetAttribute(&value, attribute, device) == CUDA_SUCCESS ? value : kUnknown;
}

void ReadPCILocation(const CUDADriverAPI& cuda, CUDAGPUT& gpu) {
  // The driver writes into the fields: what a failing call wrote before it failed stays.
  if (cuda.cuDeviceGetAttribute(&gpu.pci_bus, CU_DEVICE_ATTRIBUTE_PCI_BUS_ID, gpu.device) != CUDA_SUCCESS) {
    LOG_ERROR("Failed to query PCI Bus ID to the CUDA Driver API.");
  }
  if (cuda.cuDeviceGetAttribute(&gpu.pci_device, CU_DEVICE_ATTRIBUTE_PCI_DEVICE_ID, gpu.device) != CUDA_SUCCESS) {
    LOG_ERROR("Failed to query PCI Bus Device ID to the CUDA Driver API.");
  }
}

std::vector<std::int32_t> FindPeers(const CUDADriverAPI& cuda, const CUDAGPUT& gpu, int count) {
  std::vector<std::int32_t> peers;
  for (int ordinal = 0; ordinal < count; ++ordinal) {
    CUdevice peer = 0;
    int can_access = 0;
    if (ordinal != gpu.index && cuda.cuDeviceGet(&peer, ordinal) == CUDA_SUCCESS &&
        cuda.cuDeviceCanAccessPeer(&can_access, gpu.device, peer) == CUDA_SUCCESS && can_access != 0) {
      peers.push_back(ordinal);
    }
  }
  return peers;
}

}  // namespace

std::vector<CUDAGPUT> GetCUDAGPUs() {
  CUDADriverAPI cuda;
  if (!cuda.Initialize()) return {};

  int count = 0;
  const CUresult result = cuda.cuDeviceGetCount(&count);
  if (result != CUDA_SUCCESS) {
    LOG_ERROR("cuDeviceGetCount failed with {}", ErrorName(cuda, result));
    return {};
  }
  count = std::min(count, static_cast<int>(kMaxItems));

  std::vector<CUDAGPUT> gpus;
  for (int ordinal = 0; ordinal < count; ++ordinal) {
    CUdevice device = 0;
    if (cuda.cuDeviceGet(&device, ordinal) != CUDA_SUCCESS) {
      LOG_ERROR("Failed to find CUDA Driver API device ID for {}", ordinal);
      continue;
    }
    CUDAGPUT gpu;
    gpu.index = ordinal;
    gpu.device = device;
    gpu.name = ReadName(cuda, device);
    gpu.memory_mib = ReadMemoryMiB(cuda, device);
    gpu.compute_major = ReadAttribute(cuda, CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR, device);
    gpu.compute_minor = ReadAttribute(cuda, CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR, device);
    ReadPCILocation(cuda, gpu);
    gpu.peers = FindPeers(cuda, gpu, count);
    gpus.push_back(std::move(gpu));
  }
  return gpus;
}

bool GetCUDADriverVersion(std::int32_t& major, std::int32_t& minor) {
  major = kUnknown;
  minor = kUnknown;
  if (cached_major != kUnknown && cached_minor != kUnknown) {
    major = cached_major;
    minor = cached_minor;
    return true;
  }
  CUDADriverAPI cuda;
  int version = 0;
  if (!cuda.Initialize() || cuda.cuDriverGetVersion(&version) != CUDA_SUCCESS || version == 0) return false;
  major = cached_major = version / 1000;
  minor = cached_minor = version % 100 / 10;
  return true;
}

}  // namespace Vexil
