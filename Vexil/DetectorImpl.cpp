#include "DetectorImpl.h"

#include "Version.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;

namespace {

constexpr std::uint64_t kNoPeerGroup = ~std::uint64_t{0};

}  // namespace

bool Detector::Impl::EnsureResults() {
  if (state == DetectionState::NotRun) state = Detect() ? DetectionState::Succeeded : DetectionState::Failed;
  return state == DetectionState::Succeeded;
}

const GPUT* Detector::Impl::FindGPUByID(const std::string& id) const {
  return FindGPU([&](const GPUT& gpu) { return gpu.id == id; });
}

std::unordered_set<std::string> Detector::Impl::FindPeers(const std::string& gpu_id, ComputeAPI api) const {
  std::unordered_set<std::string> peers;
  const GPUT* gpu = FindGPUByID(gpu_id);
  if (gpu == nullptr) return peers;

  const auto add = [&](const auto& is_peer) {
    if (const GPUT* peer = FindGPU(is_peer)) peers.insert(peer->id);
  };
  if (api == ComputeAPI::CUDA) {
    for (const std::int32_t index : gpu->cuda_peers) add([=](const GPUT& other) { return other.cuda_index == index; });
  } else if (api == ComputeAPI::OpenCL) {
    for (const std::uint64_t device : gpu->opencl_peers) {
      add([=](const GPUT& other) { return other.opencl_device_id == device; });
    }
  } else if (api == ComputeAPI::Metal && gpu->peer_group_id != kNoPeerGroup) {
    for (const GPUT& other : gpus) {
      if (other.id != gpu->id && other.peer_group_id == gpu->peer_group_id) peers.insert(other.id);
    }
  }
  return peers;
}

FlatBuffers::DetectionResultT Detector::Impl::ToResult() {
  FlatBuffers::DetectionResultT result;
  result.detectors_output = std::make_shared<FlatBuffers::DetectorsOutputT>(detectors_output);
  for (const auto& [id, matched] : matched_gpus) result.gpus.push_back(matched);
  result.system = std::make_shared<FlatBuffers::SystemT>(system);
  for (const auto& monitor : monitors) result.monitors.push_back(std::make_shared<FlatBuffers::MonitorT>(monitor));
  result.library_version = kLibraryVersion;
  return result;
}

}  // namespace Vexil
