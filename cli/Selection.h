#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Session.h"

namespace Vexil::Cli {

/// Which GPUs a command is about: those that satisfy everything that is given.
struct Filter {
  std::optional<FlatBuffers::Vendor> vendor;
  std::optional<FlatBuffers::GPUType> type;
  std::optional<FlatBuffers::ComputeAPI> api;
  std::optional<std::string> text;
};

/// In the order of the results.
std::vector<const FlatBuffers::MatchedGPUT*> SelectGPUs(const Session& session, const Filter& filter);

/// The one GPU that the text means: its identifier, its number in a list, its PCI place, one of its outputs, "main",
/// its UUID, or a part of its name. Where there is none it says so on standard error, and returns null; throws an Error
/// where there are several.
const FlatBuffers::MatchedGPUT* SelectGPU(const Session& session, const std::string& text);

/// "NVIDIA GeForce RTX 3080"
std::string FullName(const FlatBuffers::GPUT& gpu);

/// The exit status of a command that found what it was asked for or not. Where it did not, standard error says so and,
/// if there is no GPU at all, how to learn why.
int FoundStatus(const Session& session, bool has_found);
int FoundStatus(const Sessions& sessions, bool has_found);

}  // namespace Vexil::Cli
