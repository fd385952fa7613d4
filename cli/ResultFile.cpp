#include "cli/ResultFile.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Vexil::Cli {

using FlatBuffers::DetectionResultT;

namespace {

// Far beyond any real result, so that a damaged or foreign file cannot make the program work for hours.
constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr flatbuffers::uoffset_t kDeepestNesting = 16;
constexpr flatbuffers::uoffset_t kMostTables = 100'000;

/// What every result has that the library wrote. Other formats pass for a result without any field.
bool IsComplete(const DetectionResultT& records) {
  if (records.system == nullptr || records.detectors_output == nullptr) return false;
  const auto has_gpu = [](const auto& matched) { return matched != nullptr && matched->gpu != nullptr; };
  return std::all_of(records.gpus.begin(), records.gpus.end(), has_gpu);
}

/// The verifier takes the elements of a list at any address, which matters where they are larger than the list's count.
bool IsAligned(const flatbuffers::Vector<std::uint64_t>* list) {
  return list == nullptr || reinterpret_cast<std::uintptr_t>(list->Data()) % sizeof(std::uint64_t) == 0;
}

bool AreListsAligned(const FlatBuffers::DetectionResult& result) {
  const auto are_aligned = [](const auto* records, const auto& is_aligned) {
    return records == nullptr || std::all_of(records->begin(), records->end(), is_aligned);
  };
  const auto is_opencl_aligned = [](const FlatBuffers::OpenCLGPU* opencl) {
    return opencl == nullptr || IsAligned(opencl->peers());
  };
  const auto is_gpu_aligned = [&](const FlatBuffers::MatchedGPU* matched) {
    const FlatBuffers::GPU* gpu = matched->gpu();
    return (gpu == nullptr || IsAligned(gpu->opencl_peers())) && is_opencl_aligned(matched->opencl());
  };
  const FlatBuffers::DetectorsOutput* raw = result.detectors_output();
  return are_aligned(result.gpus(), is_gpu_aligned) &&
         (raw == nullptr || are_aligned(raw->opencl(), is_opencl_aligned));
}

std::string LastError() { return std::generic_category().message(errno); }

}  // namespace

Results UnpackResults(std::vector<std::uint8_t> buffer, const std::string& name) {
  flatbuffers::Verifier verifier(buffer.data(), buffer.size(), kDeepestNesting, kMostTables);
  if (!FlatBuffers::VerifyDetectionResultBuffer(verifier) ||
      !AreListsAligned(*FlatBuffers::GetDetectionResult(buffer.data()))) {
    throw Error(name + " is not a saved result, or it is damaged");
  }
  Results results;
  FlatBuffers::GetDetectionResult(buffer.data())->UnPackTo(&results.records);
  results.buffer = std::move(buffer);
  if (!IsComplete(results.records)) throw Error(name + " is not a complete result");

  for (const auto& matched : results.records.gpus) {
    results.matched.push_back(*matched);
    results.gpus.push_back(*matched->gpu);
  }
  for (const auto& monitor : results.records.monitors) results.monitors.push_back(*monitor);
  return results;
}

std::vector<std::uint8_t> ReadFile(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Error("cannot open \"" + path + "\": " + LastError());
  std::vector<std::uint8_t> bytes;
  char block[4096];
  while (file) {
    file.read(block, sizeof(block));
    bytes.insert(bytes.end(), block, block + file.gcount());
    if (bytes.size() > kLargestFile) throw Error("\"" + path + "\" is too large for a saved result");
  }
  if (file.bad()) throw Error("cannot read \"" + path + "\": " + LastError());
  return bytes;
}

}  // namespace Vexil::Cli
