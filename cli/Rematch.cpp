#include <fmt/format.h>

#include <algorithm>

#include "Vexil/Version.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;

namespace {

/// What a result says of GPUs and monitors.
Json Summary(const std::vector<MatchedGPUT>& matched, const std::vector<MonitorT>& monitors) {
  Json summary = {{"gpus", Json::object()}, {"monitors", Json::array()}};
  // Of two GPUs with the same identifier a result holds the later one.
  for (const MatchedGPUT& entry : matched) summary["gpus"][entry.gpu->id] = ToJson(entry);
  for (const MonitorT& monitor : monitors) summary["monitors"].push_back(ToJson(monitor));
  return summary;
}

/// Null where there is no such member or element.
Json MemberOrNull(const Json& object, const std::string& name) { return object.contains(name) ? object[name] : Json(); }
Json ElementOrNull(const Json& array, std::size_t index) { return index < array.size() ? array[index] : Json(); }

bool IsListOfRecords(const Json& list) { return list.is_array() && (list.empty() || list.front().is_object()); }

void Compare(const std::string& path, const Json& stored, const Json& now, Json& differences) {
  if (stored == now) return;
  const std::string prefix = path.empty() ? "" : path + "/";
  if (stored.is_object() && now.is_object()) {
    for (const auto& [name, value] : stored.items()) {
      Compare(prefix + name, value, MemberOrNull(now, name), differences);
    }
    for (const auto& [name, value] : now.items()) {
      if (!stored.contains(name)) Compare(prefix + name, Json(), value, differences);
    }
  } else if (IsListOfRecords(stored) && IsListOfRecords(now)) {
    for (std::size_t i = 0; i < std::max(stored.size(), now.size()); ++i) {
      Compare(prefix + std::to_string(i), ElementOrNull(stored, i), ElementOrNull(now, i), differences);
    }
  } else {
    differences.push_back({{"path", path}, {"stored", stored}, {"now", now}});
  }
}

std::string DifferenceText(const Json& value) {
  if (value.is_null()) return "nothing";
  if (!value.is_object()) return value.dump(-1, ' ', false, Json::error_handler_t::replace);
  const Json& named = value.contains("gpu") ? value["gpu"] : value;
  return named.contains("name") ? "a record named " + DifferenceText(named["name"]) : "a record";
}

}  // namespace

int Rematch(const Session& session) {
  const Results& results = session.results;
  const Json stored = Summary(results.matched, results.monitors);
  const Rematched rematched = RematchResults(results);
  const Json now = Summary(rematched.matched, rematched.monitors);
  Json differences = Json::array();
  Compare("", stored, now, differences);

  if (session.json) {
    PrintJson(session.out, {{"stored_by", results.records.library_version},
                            {"matched_by", kLibraryVersion},
                            {"differences", differences}});
  } else {
    const auto line = [&](const char* what, const std::string& version, const Json& summary) {
      PrintLine(session.out,
                fmt::format("{} by Vexil {}: {}, {}", what, version, Counted(summary["gpus"].size(), "GPU"),
                            Counted(summary["monitors"].size(), "monitor")));
    };
    line("Stored   ", results.records.library_version, stored);
    line("Rematched", kLibraryVersion, now);
    for (const Json& difference : differences) {
      PrintLine(session.out, fmt::format("  {}: stored {}, now {}", difference["path"].get<std::string>(),
                                         DifferenceText(difference["stored"]), DifferenceText(difference["now"])));
    }
    PrintLine(session.out, differences.empty() ? "No difference." : Counted(differences.size(), "difference") + ".");
  }
  return now["gpus"].empty() ? kFoundNone : kFoundGPUs;
}

}  // namespace Vexil::Cli
