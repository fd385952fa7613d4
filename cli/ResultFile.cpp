#include "cli/ResultFile.h"

#include <flatbuffers/minireflect.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "Vexil/Results/ResultOutput.h"
#include "cli/FileName.h"
#include "cli/ResultTexts.h"

namespace Vexil::Cli {

using FlatBuffers::DetectionResultT;

namespace {

// A machine with 64 GPUs makes 1,200 tables and lists of 64. Some room above that is enough, and files that were made
// up cannot keep the program busy for hours.
constexpr flatbuffers::uoffset_t kDeepestNesting = 8;
constexpr flatbuffers::uoffset_t kMostTables = 8192;
constexpr std::size_t kLongestList = 1024;

/// Finds what the verifier passes over: retired fields, the alignment of a list's elements, and offsets that share
/// their targets, by which a small buffer can unpack to a million times its size. What the library writes shares
/// nothing and unpacks to less than its own size.
class Examination final : public flatbuffers::IterationVisitor {
 public:
  struct Failed : std::exception {};

  explicit Examination(const std::vector<std::uint8_t>& buffer) : m_buffer(buffer), m_left(buffer.size()) {}

  void StartSequence() override { Unpack(sizeof(flatbuffers::soffset_t)); }
  void Field(std::size_t /*field*/, std::size_t /*set*/, flatbuffers::ElementaryType type, bool is_list,
             const flatbuffers::TypeTable* table, const char* /*name*/, const std::uint8_t* value) override {
    if (value != nullptr) Read(value, is_list ? sizeof(flatbuffers::uoffset_t) : flatbuffers::InlineSize(type, table));
  }
  void Element(std::size_t index, flatbuffers::ElementaryType type, const flatbuffers::TypeTable* table,
               const std::uint8_t* value) override {
    if (index >= kLongestList) throw Failed();
    Read(value, flatbuffers::InlineSize(type, table));
  }
  void String(const flatbuffers::String* text) override { Unpack(text->size()); }

 private:
  void Read(const std::uint8_t* value, std::size_t size) {
    const auto place = static_cast<std::size_t>(value - m_buffer.data());
    if (place % size != 0 || place > m_buffer.size() - size) throw Failed();
    Unpack(size);
  }
  void Unpack(std::size_t bytes) {
    if (bytes > m_left) throw Failed();
    m_left -= bytes;
  }

  const std::vector<std::uint8_t>& m_buffer;
  std::size_t m_left;
};

bool IsSound(const std::vector<std::uint8_t>& buffer) {
  flatbuffers::Verifier verifier(buffer.data(), buffer.size(), kDeepestNesting, kMostTables);
  if (!FlatBuffers::VerifyDetectionResultBuffer(verifier)) return false;
  try {
    Examination examination(buffer);
    flatbuffers::IterateFlatBuffer(buffer.data(), FlatBuffers::DetectionResultTypeTable(), &examination);
  } catch (const Examination::Failed&) {
    return false;
  }
  return true;
}

/// What every result has that the library wrote. Other formats pass for a result without any field.
bool IsComplete(const DetectionResultT& records) {
  if (records.system == nullptr || records.detectors_output == nullptr) return false;
  const auto has_gpu = [](const auto& matched) { return matched != nullptr && matched->gpu != nullptr; };
  return std::all_of(records.gpus.begin(), records.gpus.end(), has_gpu);
}

std::string LastError() { return std::generic_category().message(errno); }

}  // namespace

Results UnpackOwnResults(std::vector<std::uint8_t> buffer) {
  Results results;
  FlatBuffers::GetDetectionResult(buffer.data())->UnPackTo(&results.records);
  results.buffer = std::move(buffer);
  for (const auto& matched : results.records.gpus) {
    if (matched == nullptr || matched->gpu == nullptr) continue;
    results.matched.push_back(*matched);
    results.gpus.push_back(*matched->gpu);
  }
  for (const auto& monitor : results.records.monitors) results.monitors.push_back(*monitor);
  return results;
}

Results UnpackResults(std::vector<std::uint8_t> buffer, const std::string& name) {
  if (!IsSound(buffer)) throw Error(name + " is not a saved result, or it is damaged");
  Results results = UnpackOwnResults(std::move(buffer));
  if (!IsComplete(results.records)) throw Error(name + " is not a complete result");
  return results;
}

Results Adapt(Results results, unsigned code_page, bool is_anonymous) {
  const bool is_converted = ConvertTexts(results.records, code_page);
  if (is_anonymous) Anonymize(results.records);
  if (!is_converted && !is_anonymous) return results;
  std::vector<std::uint8_t> buffer;
  PackResult(results.records, buffer);
  return UnpackOwnResults(std::move(buffer));
}

std::vector<std::uint8_t> ReadFile(const std::string& path) {
  errno = 0;
  std::ifstream file(PathOf(path), std::ios::binary);
  if (!file) throw Error("cannot open \"" + path + "\": " + LastError());
  std::vector<std::uint8_t> bytes;
  char block[4096];
  while (file) {
    errno = 0;
    file.read(block, sizeof(block));
    // Some standard libraries take a read that failed for the end of the file.
    if (file.bad() || (!file && errno != 0)) throw Error("cannot read \"" + path + "\": " + LastError());
    bytes.insert(bytes.end(), block, block + file.gcount());
    if (bytes.size() > kLargestFile) throw Error("\"" + path + "\" is too large for a saved result");
  }
  return bytes;
}

}  // namespace Vexil::Cli
