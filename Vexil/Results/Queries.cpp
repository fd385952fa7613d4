#include "Vexil/Results/Queries.h"

#include <algorithm>

#include "Vexil/Common/Text.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::GPUType;
using FlatBuffers::Vendor;

namespace {

constexpr std::uint64_t kNoPeerGroup = ~std::uint64_t{0};

template <typename Condition>
GPUIDs IDsOf(const std::vector<GPUT>& gpus, const Condition& condition) {
  GPUIDs ids;
  for (const GPUT& gpu : gpus) {
    if (condition(gpu)) ids.insert(gpu.id);
  }
  return ids;
}

/// The first GPU that satisfies `condition`; null when none does.
template <typename Condition>
const GPUT* FindGPU(const std::vector<GPUT>& gpus, const Condition& condition) {
  const auto found = std::find_if(gpus.begin(), gpus.end(), condition);
  return found == gpus.end() ? nullptr : &*found;
}

std::string SearchText(const GPUT& gpu) {
  return gpu.id + " " + EnumNameVendor(gpu.vendor) + " " + gpu.name + " " + EnumNameGPUType(gpu.type);
}

}  // namespace

GPUIDs GetGPUIDs(const std::vector<GPUT>& gpus) {
  return IDsOf(gpus, [](const GPUT&) { return true; });
}

GPUIDs GetGPUIDsByVendor(const std::vector<GPUT>& gpus, Vendor vendor) {
  return IDsOf(gpus, [=](const GPUT& gpu) { return gpu.vendor == vendor; });
}

GPUIDs GetGPUIDsByAPI(const std::vector<GPUT>& gpus, ComputeAPI api) {
  return IDsOf(gpus, [=](const GPUT& gpu) {
    return std::find(gpu.compute_apis.begin(), gpu.compute_apis.end(), api) != gpu.compute_apis.end();
  });
}

GPUIDs GetGPUIDsByType(const std::vector<GPUT>& gpus, GPUType type) {
  return IDsOf(gpus, [=](const GPUT& gpu) { return gpu.type == type; });
}

GPUIDs FindGPUIDs(const std::vector<GPUT>& gpus, const std::string& text) {
  return IDsOf(gpus, [&](const GPUT& gpu) { return ContainsNoCase(SearchText(gpu), text); });
}

std::vector<std::string> FindPeers(const std::vector<GPUT>& gpus, const std::string& gpu_id, ComputeAPI api) {
  std::vector<std::string> peers;
  const GPUT* gpu = FindGPUByID(gpus, gpu_id);
  if (gpu == nullptr) return peers;

  const auto add = [&](const GPUT* peer) {
    if (peer != nullptr && std::find(peers.begin(), peers.end(), peer->id) == peers.end()) peers.push_back(peer->id);
  };
  if (api == ComputeAPI::CUDA) {
    for (const std::int32_t index : gpu->cuda_peers) {
      add(FindGPU(gpus, [=](const GPUT& other) { return other.cuda_index == index; }));
    }
  } else if (api == ComputeAPI::OpenCL) {
    for (const std::uint64_t device : gpu->opencl_peers) {
      add(FindGPU(gpus, [=](const GPUT& other) { return other.opencl_device_id == device; }));
    }
  } else if (api == ComputeAPI::Metal && gpu->peer_group_id != kNoPeerGroup) {
    for (const GPUT& other : gpus) {
      if (other.id != gpu->id && other.peer_group_id == gpu->peer_group_id) add(&other);
    }
  }
  return peers;
}

const GPUT* FindGPUByID(const std::vector<GPUT>& gpus, const std::string& id) {
  return FindGPU(gpus, [&](const GPUT& gpu) { return gpu.id == id; });
}

}  // namespace Vexil
