#include "cli/MonitorList.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <set>

#include "Vexil/Common/Unknown.h"
#include "cli/KnownAs.h"
#include "cli/Selection.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::MonitorT;
using Interfaces::Device;

namespace {

constexpr std::string_view kDevices = R"(\\.\)";

/// Both numbers of "597x336" or "-1920,0"; of "3840x2160@60" all three.
std::vector<int> NumbersIn(const std::string& text) {
  std::vector<int> numbers;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    int number = 0;
    const auto [next, error] = std::from_chars(at, end, number);
    if (error == std::errc()) numbers.push_back(number);
    at = error == std::errc() ? next : at + 1;
  }
  return numbers;
}

/// The number at this place of a list that may be shorter.
std::optional<int> At(const std::vector<int>& numbers, std::size_t place) {
  return place < numbers.size() ? std::optional(numbers[place]) : std::nullopt;
}

std::optional<int> Known(std::int32_t number) { return number == kUnknown ? std::nullopt : std::optional(number); }

/// "\\.\DISPLAY1" of "\\.\DISPLAY1\Monitor0".
std::string OutputOf(const MonitorT& monitor) {
  return monitor.device_name.substr(0, monitor.device_name.find('\\', kDevices.size()));
}

/// The outputs that carry the primary desktop, as the window system tells.
std::set<std::string> PrimaryOutputs(const Results& results) {
  std::set<std::string> outputs;
  for (const auto& adapter : results.records.detectors_output->win32) {
    for (const auto& monitor : adapter->monitors) {
      if (monitor->is_main) outputs.insert(OutputOf(*monitor));
    }
  }
  return outputs;
}

MonitorRow FromPath(const Device& path) {
  MonitorRow row;
  row.output = path.number;
  row.name = path.name;
  row.connector = path.More("connector");
  const auto mode = NumbersIn(path.More("mode"));
  row.width = At(mode, 0);
  row.height = At(mode, 1);
  row.refresh_rate = At(mode, 2);
  const auto size = NumbersIn(path.More("size_mm"));
  row.width_mm = At(size, 0);
  row.height_mm = At(size, 1);
  const auto position = NumbersIn(path.More("position"));
  row.x = At(position, 0);
  row.y = At(position, 1);
  return row;
}

const GPUT* FindGPU(const Results& results, const std::string& id) {
  const auto found =
      std::find_if(results.gpus.begin(), results.gpus.end(), [&](const GPUT& gpu) { return gpu.id == id; });
  return !id.empty() && found != results.gpus.end() ? &*found : nullptr;
}

MonitorRow FromResult(const Results& results, const MonitorT& monitor) {
  MonitorRow row;
  row.output = OutputOf(monitor);
  row.name = monitor.name;
  row.gpu = FindGPU(results, monitor.gpu_id);
  row.width = Known(monitor.width);
  row.height = Known(monitor.height);
  row.refresh_rate = Known(monitor.refresh_rate);
  return row;
}

/// Those that the window system shows the way to, each under its GPU.
std::vector<MonitorRow> FromPaths(const Session& session) {
  std::vector<MonitorRow> rows;
  if (!session.IsThisMachine()) return rows;
  constexpr std::string_view kInterface = "Display";
  const Interfaces::Joined& joined = FindNumbers(session).joined;
  for (std::size_t i = 0; i < joined.gpus.size(); ++i) {
    for (const auto& known : joined.gpus[i]) {
      if (known.interface != kInterface || known.is_disputed) continue;
      rows.push_back(FromPath(known.device));
      rows.back().gpu = &session.results.gpus[i];
    }
  }
  for (const auto& other : joined.others) {
    if (other.interface == kInterface) rows.push_back(FromPath(other.device));
  }
  return rows;
}

std::string SizeText(const MonitorRow& monitor) {
  if (!monitor.width_mm || !monitor.height_mm) return "-";
  const double inches = std::hypot(*monitor.width_mm, *monitor.height_mm) / 25.4;
  return fmt::format("{:.1f}\" ({} x {} mm)", inches, *monitor.width_mm, *monitor.height_mm);
}

std::vector<std::string> Row(const Session& session, const MonitorRow& monitor) {
  std::string gpu = "-";
  if (monitor.gpu != nullptr)
    gpu = fmt::format("{}  {}", monitor.gpu - session.results.gpus.data(), FullName(*monitor.gpu));
  return {OutputText(monitor),
          monitor.name.empty() ? "-" : monitor.name,
          SizeText(monitor),
          ModeText(monitor),
          monitor.connector.empty() ? "-" : monitor.connector,
          monitor.x && monitor.y ? fmt::format("{}, {}", *monitor.x, *monitor.y) : "-",
          gpu,
          monitor.is_main ? "main" : ""};
}

}  // namespace

std::vector<MonitorRow> FindMonitors(const Session& session) {
  std::vector<MonitorRow> rows = FromPaths(session);
  // An output may show the same on several monitors, and each path stands for one of them.
  std::multimap<std::string, std::size_t> paths;
  for (std::size_t i = 0; i < rows.size(); ++i) paths.emplace(rows[i].output, i);
  for (const MonitorT& monitor : session.results.monitors) {
    MonitorRow row = FromResult(session.results, monitor);
    const auto path = paths.find(row.output);
    if (path == paths.end()) {
      rows.push_back(std::move(row));
      continue;
    }
    if (rows[path->second].gpu == nullptr) rows[path->second].gpu = row.gpu;
    paths.erase(path);
  }
  const auto primary = PrimaryOutputs(session.results);
  for (MonitorRow& row : rows) row.is_main = primary.contains(row.output);
  return rows;
}

TextTable MonitorTable(const Session& session, const std::vector<MonitorRow>& monitors) {
  TextTable table;
  table.Add({"Output", "Name", "Size", "Mode", "Connector", "Position", "GPU", ""});
  for (const MonitorRow& monitor : monitors) table.Add(Row(session, monitor));
  return table;
}

std::string OutputText(const MonitorRow& monitor) {
  const std::string& output = monitor.output;
  return output.rfind(kDevices, 0) == 0 ? output.substr(kDevices.size()) : output;
}

std::string ModeText(const MonitorRow& monitor) {
  if (!monitor.width || !monitor.height) return "-";
  const std::string size = fmt::format("{} x {}", *monitor.width, *monitor.height);
  return monitor.refresh_rate.value_or(0) > 0 ? fmt::format("{}, {} Hz", size, *monitor.refresh_rate) : size;
}

}  // namespace Vexil::Cli
