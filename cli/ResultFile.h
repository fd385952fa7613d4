#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Cli {

/// Keeps a command from doing its work. The text is for the user.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One detection's results. The lists share the GPUs of `records`, in the form that the library's
/// functions take.
struct Results {
  std::vector<std::uint8_t> buffer;
  FlatBuffers::DetectionResultT records;
  std::vector<FlatBuffers::MatchedGPUT> matched;
  std::vector<FlatBuffers::GPUT> gpus;
  std::vector<FlatBuffers::MonitorT> monitors;
};

/// Unpacks a buffer that this program's own run has packed.
Results UnpackOwnResults(std::vector<std::uint8_t> buffer);

/// Unpacks a buffer of unknown origin. Where it is none of the library's, throws an Error that calls it by `name`.
Results UnpackResults(std::vector<std::uint8_t> buffer, const std::string& name);

/// The same results with texts that are not UTF-8 read in this code page and, if so wanted, without what tells one
/// machine from others like it.
Results Adapt(Results results, unsigned code_page, bool is_anonymous);

/// A machine with 64 GPUs makes 200 KB.
constexpr std::size_t kLargestFile = std::size_t{1} << 20;

/// The content of a file. Throws an Error where it cannot be read.
std::vector<std::uint8_t> ReadFile(const std::string& path);

}  // namespace Vexil::Cli
