#include "Vexil/Results/LiveMemory.h"

#include "Vexil/DetectCommon/OpenCLDetector.h"
#include "Vexil/NVIDIA/NvAPIDetector.h"
#include "Vexil/Platform/Kernel.h"

namespace Vexil {

using FlatBuffers::Vendor;

bool QuerySystemMemory(std::uint64_t& available, std::uint64_t& total) {
  const auto memory = GetPhysicalMemory();
  if (!memory) return false;
  available = memory->available;
  total = memory->total;
  return true;
}

bool QueryGPUMemory(const FlatBuffers::MatchedGPUT& matched, std::uint64_t& free, std::uint64_t& total) {
  if (matched.gpu->vendor == Vendor::NVIDIA && matched.nvapi != nullptr && matched.nvapi->handle != 0) {
    return GetNvAPIMemoryInfo(*matched.nvapi, free, total);
  }
  const auto& opencl = matched.opencl;
  if (matched.gpu->vendor == Vendor::AMD && opencl != nullptr && opencl->amd_attribute_query &&
      opencl->device_id != 0) {
    return GetAMDDeviceMemoryInfo(opencl->device_id, free, total);
  }
  return false;
}

}  // namespace Vexil
