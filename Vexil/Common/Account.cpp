#include "Vexil/Common/Account.h"

#include <fmt/format.h>

#include <algorithm>

namespace Vexil {

void Account::About(const char* kind, std::int64_t number) { m_subject = fmt::format("{} {}", kind, number); }

void Account::Miss(const char* fields, const std::string& call, std::optional<std::int64_t> status,
                   std::span<const StatusName> names) {
  const auto name = std::find_if(names.begin(), names.end(), [&](const StatusName& n) { return n.status == status; });
  failed_calls.push_back({call, status, name != names.end() ? name->name : "", m_subject, fields});
}

void Account::End(SourceState reason, const std::string& call, std::optional<std::int64_t> status,
                  std::span<const StatusName> names) {
  state = reason;
  Miss("", call, status, names);
}

void Account::MissEntryPoint(const char* name, bool is_required) {
  if (is_required) state = SourceState::EntryPointMissing;
  auto& missing = is_required ? missing_required : missing_optional;
  if (std::find(missing.begin(), missing.end(), name) == missing.end()) missing.emplace_back(name);
}

void Account::Append(const Account& library, const char* fields) {
  constexpr std::int64_t kModuleNotFound = 126;
  for (FailedCall call : library.failed_calls) {
    if (library.state == SourceState::LibraryMissing && call.status == kModuleNotFound) continue;
    if (call.unknown.empty()) call.unknown = fields;
    failed_calls.push_back(std::move(call));
  }
  for (const std::string& entry_point : library.missing_required) Miss(fields, "GetProcAddress " + entry_point);
}

}  // namespace Vexil
