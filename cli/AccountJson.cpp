#include "cli/AccountJson.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Vexil::Cli {
namespace {

/// In the order of SourceState.
constexpr std::array kStateCodes = {"answered", "library-missing", "entry-point-missing", "start-failed",
                                    "call-failed"};

Json ToJson(const FailedCall& call) {
  Json json = {{"call", call.call}};
  if (call.status) json["status"] = *call.status;
  if (!call.status_name.empty()) json["status_name"] = call.status_name;
  if (!call.subject.empty()) json["about"] = call.subject;
  if (!call.unknown.empty()) json["unknown"] = call.unknown;
  return json;
}

Json ToJson(const std::vector<FailedCall>& calls) {
  Json json = Json::array();
  for (const FailedCall& call : calls) json.push_back(ToJson(call));
  return json;
}

FailedCall FailedCallFromJson(const Json& json) {
  const auto text = [&](const char* name) { return json.value(name, std::string()); };
  FailedCall call = {text("call"), {}, text("status_name"), text("about"), text("unknown")};
  if (json.contains("status")) call.status = json["status"].get<std::int64_t>();
  return call;
}

/// Whether the last of the failed calls says why.
bool HasReason(SourceState state) { return state != SourceState::Answered && state != SourceState::EntryPointMissing; }

}  // namespace

const char* StateCode(SourceState state) { return kStateCodes.at(static_cast<std::size_t>(state)); }

Json ToJson(const Account& account) {
  return {{"state", StateCode(account.state)},
          {"milliseconds", std::chrono::duration_cast<std::chrono::milliseconds>(account.duration).count()},
          {"missing_entry_points", account.missing_required},
          {"missing_optional_entry_points", account.missing_optional},
          {"failed_calls", ToJson(account.failed_calls)},
          {"remarks", account.remarks}};
}

Account AccountFromJson(const Json& json) {
  Account account;
  const auto state = std::find(kStateCodes.begin(), kStateCodes.end(), json.at("state").get<std::string>());
  account.duration = std::chrono::milliseconds(json.at("milliseconds").get<std::int64_t>());
  json.at("missing_entry_points").get_to(account.missing_required);
  json.at("missing_optional_entry_points").get_to(account.missing_optional);
  for (const Json& call : json.at("failed_calls")) account.failed_calls.push_back(FailedCallFromJson(call));
  json.at("remarks").get_to(account.remarks);
  account.state = static_cast<SourceState>(state - kStateCodes.begin());
  if (state == kStateCodes.end() || (HasReason(account.state) && account.failed_calls.empty())) {
    throw Json::other_error::create(500, "no account of a source", &json);
  }
  return account;
}

}  // namespace Vexil::Cli
