#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/KnownAs.h"
#include "cli/Rematching.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;

namespace {

std::vector<std::string> Row(std::size_t number, const GPUT& gpu) {
  std::vector<std::string> apis;
  for (const auto api : gpu.compute_apis) apis.emplace_back(EnumNameComputeAPI(api));
  return {std::to_string(number),
          gpu.id,
          FullName(gpu),
          EnumNameGPUType(gpu.type),
          gpu.vram_mib == kUnknown ? "Unknown VRAM" : FormatMiB(gpu.vram_mib) + " VRAM",
          gpu.pci_bus == kUnknown ? "-" : gpu.pci_location,
          apis.empty() ? "-" : Join(apis, ", "),
          gpu.is_main_display ? "Main Display GPU" : ""};
}

}  // namespace

int List(const Session& session, const Filter& filter) {
  const auto selected = SelectGPUs(session, filter);
  if (session.json) {
    Json list = Json::array();
    for (const auto* matched : selected) list.push_back(ToJson(*matched->gpu));
    PrintJson(session.out, list);
  } else {
    TextTable table;
    for (const auto* matched : selected) table.Add(Row(IndexOf(session, *matched), *matched->gpu));
    table.Print(session.out);
  }
  WarnOfHiddenGPUs(session);
  return FoundStatus(session, !selected.empty());
}

}  // namespace Vexil::Cli
