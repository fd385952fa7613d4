#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

// The questions that a Detector answers, asked of any list of GPUs: see the operations of the same
// names there.

using GPUIDs = std::unordered_set<std::string>;

GPUIDs GetGPUIDs(const std::vector<FlatBuffers::GPUT>& gpus);
GPUIDs GetGPUIDsByVendor(const std::vector<FlatBuffers::GPUT>& gpus, FlatBuffers::Vendor vendor);
GPUIDs GetGPUIDsByAPI(const std::vector<FlatBuffers::GPUT>& gpus, FlatBuffers::ComputeAPI api);
GPUIDs GetGPUIDsByType(const std::vector<FlatBuffers::GPUT>& gpus, FlatBuffers::GPUType type);
GPUIDs FindGPUIDs(const std::vector<FlatBuffers::GPUT>& gpus, const std::string& text);

/// See Detector::GetPeerGPUIDs. Each peer once, in the order in which the GPU's record names them.
std::vector<std::string> FindPeers(const std::vector<FlatBuffers::GPUT>& gpus, const std::string& gpu_id,
                                   FlatBuffers::ComputeAPI api);

/// The first GPU with this identifier; null where there is none.
const FlatBuffers::GPUT* FindGPUByID(const std::vector<FlatBuffers::GPUT>& gpus, const std::string& id);

}  // namespace Vexil
