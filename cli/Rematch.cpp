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

/// Of one result.
struct Comparison {
  Json stored;
  Json now;
  Json differences = Json::array();
};

Comparison Compare(const Results& results) {
  const Rematched rematched = RematchResults(results);
  Comparison comparison = {Summary(results.matched, results.monitors), Summary(rematched.matched, rematched.monitors)};
  Compare("", comparison.stored, comparison.now, comparison.differences);
  return comparison;
}

void PrintText(const Session& session, const Comparison& comparison) {
  const auto line = [&](const char* what, const std::string& version, const Json& summary) {
    PrintLine(session.out, fmt::format("{} by Vexil {}: {}, {}", what, version, Counted(summary["gpus"].size(), "GPU"),
                                       Counted(summary["monitors"].size(), "monitor")));
  };
  line("Stored   ", session.results.records.library_version, comparison.stored);
  line("Rematched", kLibraryVersion, comparison.now);
  for (const Json& difference : comparison.differences) {
    PrintLine(session.out, fmt::format("  {}: stored {}, now {}", difference["path"].get<std::string>(),
                                       DifferenceText(difference["stored"]), DifferenceText(difference["now"])));
  }
  const std::size_t count = comparison.differences.size();
  PrintLine(session.out, count == 0 ? "No difference." : Counted(count, "difference") + ".");
}

}  // namespace

int Rematch(const Sessions& sessions) {
  Json results = Json::array();
  bool differs = false;
  bool has_gpus = false;
  const Session& first = sessions.front();
  for (const Session& session : sessions) {
    const Comparison comparison = Compare(session.results);
    differs = differs || !comparison.differences.empty();
    has_gpus = has_gpus || !comparison.now["gpus"].empty();
    results.push_back({{"file", session.file},
                       {"stored_by", session.results.records.library_version},
                       {"matched_by", kLibraryVersion},
                       {"differences", comparison.differences}});
    if (session.json) continue;
    if (sessions.size() > 1) PrintLine(session.out, session.file);
    PrintText(session, comparison);
  }
  if (first.json) {
    Json document = Document("rematch");
    document["results"] = std::move(results);
    PrintJson(first.out, document);
  }
  return differs ? kDiffers : has_gpus ? kFoundGPUs : kFoundNone;
}

}  // namespace Vexil::Cli
