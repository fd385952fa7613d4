#pragma once

#include <string>
#include <vector>

#include "cli/Json.h"
#include "cli/Session.h"

namespace Vexil::Cli {

/// What is told of one source.
struct Diagnosis {
  const char* source;
  const char* library;     ///< Null where the source is a part of Windows.
  const Account* account;  ///< Null where the results are saved ones.
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

}  // namespace Vexil::Cli
