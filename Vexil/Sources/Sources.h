#pragma once

#include <memory>
#include <tuple>
#include <vector>

#include "Vexil/AMD/AMDDisplayLibrary.h"
#include "Vexil/Common/Account.h"
#include "Vexil/DetectCommon/CUDADetector.h"
#include "Vexil/DetectCommon/CUDADriverAPI.h"
#include "Vexil/DetectCommon/OpenCLDetector.h"
#include "Vexil/DetectCommon/OpenCLLibrary.h"
#include "Vexil/DetectGPUWindows/DirectXDetector.h"
#include "Vexil/DetectGPUWindows/DisplayDeviceDetector.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "Vexil/NVIDIA/NVML.h"
#include "Vexil/NVIDIA/NvAPIDetector.h"
#include "Vexil/NVIDIA/NvAPILoader.h"

namespace Vexil {

/// One source of records.
template <typename Record>
struct Source {
  const char* name;      ///< In the report and everywhere but in the log.
  const char* log_name;  ///< In the log's timing lines.
  const char* library;   ///< Null where the source is a part of Windows.
  Answer<Record> (*ask)();
  std::vector<std::shared_ptr<Record>> FlatBuffers::DetectorsOutputT::*list;
  std::shared_ptr<Record> FlatBuffers::MatchedGPUT::*record;
};

template <typename Record>
Source(const char*, const char*, const char*, Answer<Record> (*)(),
       std::vector<std::shared_ptr<Record>> FlatBuffers::DetectorsOutputT::*,
       std::shared_ptr<Record> FlatBuffers::MatchedGPUT::*) -> Source<Record>;

// The sources, in the order in which a detection asks them.
inline constexpr std::tuple kSources = {
    Source{"OpenCL", "OpenCL", OpenCLLibrary::kFileName, GetOpenCLGPUs, &FlatBuffers::DetectorsOutputT::opencl,
           &FlatBuffers::MatchedGPUT::opencl},
    Source{"CUDA", "CUDA", CUDADriverAPI::kFileName, GetCUDAGPUs, &FlatBuffers::DetectorsOutputT::cuda,
           &FlatBuffers::MatchedGPUT::cuda},
    Source{"Win32", "Win32", nullptr, GetEnumDisplayDevicesGPUs, &FlatBuffers::DetectorsOutputT::win32,
           &FlatBuffers::MatchedGPUT::win32},
    Source{"DirectX", "DirectX", nullptr, GetDirectXGPUs, &FlatBuffers::DetectorsOutputT::directx,
           &FlatBuffers::MatchedGPUT::directx},
    Source{"AMDDL", "AMD DL", AMDDisplayLibrary::kFileName, GetAMDDLGPUs, &FlatBuffers::DetectorsOutputT::amddl,
           &FlatBuffers::MatchedGPUT::amddl},
    Source{"NVAPI", "NVAPI", kNvAPIFileName, GetNvAPIGPUs, &FlatBuffers::DetectorsOutputT::nvapi,
           &FlatBuffers::MatchedGPUT::nvapi},
    Source{"NVML", "NVML", NVML::kFileName, GetNVMLGPUs, &FlatBuffers::DetectorsOutputT::nvml,
           &FlatBuffers::MatchedGPUT::nvml},
};
inline constexpr std::size_t kSourceCount = std::tuple_size_v<decltype(kSources)>;

template <typename Visit>
void ForEachSource(const Visit& visit) {
  std::apply([&](const auto&... source) { (visit(source), ...); }, kSources);
}

}  // namespace Vexil
