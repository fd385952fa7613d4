#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/KnownAs.h"
#include "cli/Rematching.h"
#include "cli/TextTable.h"
#include "cli/VRAM.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;

namespace {

std::vector<std::string> Row(std::size_t number, const MatchedGPUT& matched) {
  const GPUT& gpu = *matched.gpu;
  std::vector<std::string> apis;
  for (const auto api : gpu.compute_apis) apis.emplace_back(EnumNameComputeAPI(api));
  return {std::to_string(number),
          gpu.id,
          FullName(gpu),
          EnumNameGPUType(gpu.type),
          VRAMText(matched),
          gpu.pci_bus == kUnknown ? "-" : gpu.pci_location,
          apis.empty() ? "-" : Join(apis, ", "),
          gpu.is_main_display ? "main display" : ""};
}

Json Entry(const Session& session, const MatchedGPUT& matched) {
  Json json = Json::object();
  if (!session.file.empty()) json["file"] = session.file;
  json["number"] = IndexOf(session, matched);
  json.update(ToJson(*matched.gpu));
  return json;
}

}  // namespace

int List(const Sessions& sessions, const Filter& filter) {
  const bool has_files = sessions.size() > 1;
  Json gpus = Json::array();
  TextTable table;
  std::vector<std::string> titles = {"#", "Identifier", "Name", "Type", "VRAM", "PCI place", "Reached by", ""};
  if (has_files) titles.insert(titles.begin(), "File");
  table.Add(titles);
  for (const Session& session : sessions) {
    for (const auto* matched : SelectGPUs(session, filter)) {
      gpus.push_back(Entry(session, *matched));
      auto row = Row(IndexOf(session, *matched), *matched);
      if (has_files) row.insert(row.begin(), session.file);
      table.Add(row);
    }
  }
  const Session& first = sessions.front();
  const bool has_found = !gpus.empty();
  if (first.json) {
    Json document = Document("list");
    document["gpus"] = std::move(gpus);
    PrintJson(first.out, document);
  } else if (has_found) {
    table.Print(first.out);
  }
  for (const Session& session : sessions) WarnOfHiddenGPUs(session);
  return FoundStatus(sessions, has_found);
}

}  // namespace Vexil::Cli
