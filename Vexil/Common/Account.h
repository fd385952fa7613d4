#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Vexil {

/// What an interface calls one of its status numbers.
struct StatusName {
  std::int64_t status;
  const char* name;
};

/// A call that failed.
struct FailedCall {
  std::string call;
  std::optional<std::int64_t> status;  ///< Nothing where the call returns none.
  std::string status_name;             ///< Empty where the interface has no name for it.
  std::string subject;  ///< What the call was about, such as "device 1"; empty where that is the machine.
  std::string unknown;  ///< The fields that the call would have filled; empty where it is all of them.
};

enum class SourceState {
  Answered,
  LibraryMissing,  ///< Not installed, or it does not load.
  EntryPointMissing,
  StartFailed,  ///< The library is complete, but the call that starts it failed.
  CallFailed,   ///< The library started, but does not list its devices.
};

/// What happened when a source was asked.
class Account {
 public:
  SourceState state = SourceState::Answered;
  std::vector<std::string> missing_required;
  std::vector<std::string> missing_optional;
  /// In the order of the calls. In the states LibraryMissing (whose status is Windows' error number), StartFailed and
  /// CallFailed the last one is the reason.
  std::vector<FailedCall> failed_calls;
  /// Answers that were corrected, or dropped.
  std::vector<std::string> remarks;
  std::chrono::nanoseconds duration = {};

  /// What the calls that follow are about.
  void About(std::string subject) { m_subject = std::move(subject); }
  void About(const char* kind, std::int64_t number);

  /// Notes a call that failed, by its name.
  void Miss(const char* fields, const std::string& call, std::optional<std::int64_t> status = {},
            std::span<const StatusName> names = {});
  /// The same for a call without which the source has nothing to tell.
  void End(SourceState reason, const std::string& call, std::optional<std::int64_t> status,
           std::span<const StatusName> names = {});

  void MissEntryPoint(const char* name, bool is_required);

  /// Takes over what went wrong with a library that was asked for `fields` only. That it is not installed is nothing
  /// wrong.
  void Append(const Account& library, const char* fields);

 private:
  std::string m_subject;
};

/// What a source knows, and what happened when it was asked.
template <typename Record>
struct Answer {
  std::vector<Record> records;
  Account account;
};

}  // namespace Vexil
