#include "ResultFile.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "Alignment.h"

namespace Vexil::Program {

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

std::string LastError() { return std::generic_category().message(errno); }

}  // namespace

Results UnpackResults(std::vector<std::uint8_t> buffer, const std::string& name) {
  flatbuffers::Verifier verifier(buffer.data(), buffer.size(), kDeepestNesting, kMostTables);
  if (!FlatBuffers::VerifyDetectionResultBuffer(verifier) ||
      !IsAligned(*flatbuffers::GetRoot<flatbuffers::Table>(buffer.data()), *FlatBuffers::DetectionResultTypeTable())) {
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

}  // namespace Vexil::Program
