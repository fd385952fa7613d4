#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Json.h"
#include "cli/Session.h"
#include "interfaces/platform/LibraryFile.h"

namespace Vexil::Cli {

/// What is told of one source.
struct Diagnosis {
  const char* source;
  const char* library;                  ///< Null where the source is a part of Windows.
  const Account* account;               ///< Null where the results are saved ones, as the next two are.
  const Interfaces::ChildFault* fault;  ///< Of the child in which the source was asked.
  std::optional<Interfaces::LibraryFile> file;
  std::size_t records;
  std::vector<Json> unmatched;
};

/// In the order in which the sources are asked. `matched` are all GPUs, hidden ones too.
std::vector<Diagnosis> DiagnoseSources(const Session& session, const std::vector<FlatBuffers::MatchedGPUT>& matched);

/// A word for programs, and the reason in words for people.
std::string StateCode(const Diagnosis& diagnosis);
std::string StateText(const Diagnosis& diagnosis);

/// "memory_mib of device 1 unknown: cuDeviceTotalMem_v2, CUDA_ERROR_UNKNOWN (999)"
std::string FailureText(const FailedCall& call);

/// A sentence for each source without records, where the result lacks what only this source lists.
std::vector<std::string> FindLosses(const std::vector<Diagnosis>& diagnoses, std::size_t gpus);

}  // namespace Vexil::Cli
