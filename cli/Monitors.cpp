#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/MonitorList.h"
#include "cli/Printing.h"

namespace Vexil::Cli {
namespace {

Json ToJson(const MonitorRow& monitor) {
  Json json = {{"output", monitor.output}};
  const auto add_text = [&](const char* name, const std::string& value) {
    if (!value.empty()) json[name] = value;
  };
  const auto add = [&](const char* name, const std::optional<int>& value) {
    if (value) json[name] = *value;
  };
  add_text("name", monitor.name);
  add_text("gpu_id", monitor.gpu != nullptr ? monitor.gpu->id : "");
  add("width", monitor.width);
  add("height", monitor.height);
  add("refresh_rate", monitor.refresh_rate);
  add_text("connector", monitor.connector);
  add("width_mm", monitor.width_mm);
  add("height_mm", monitor.height_mm);
  add("x", monitor.x);
  add("y", monitor.y);
  json["is_main"] = monitor.is_main;
  return json;
}

}  // namespace

int Monitors(const Session& session) {
  const auto monitors = FindMonitors(session);
  if (session.json) {
    Json document = Document("monitors");
    document["monitors"] = Json::array();
    for (const MonitorRow& monitor : monitors) document["monitors"].push_back(ToJson(monitor));
    PrintJson(session.out, document);
  } else if (!monitors.empty()) {
    MonitorTable(session, monitors).Print(session.out);
  }
  if (!monitors.empty()) return kFoundGPUs;
  PrintLine(session.err, "vexil: no monitor was found");
  return kFoundNone;
}

}  // namespace Vexil::Cli
