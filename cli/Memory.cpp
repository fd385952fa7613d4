#include <chrono>
#include <thread>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/Results/LiveMemory.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/Rematching.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using Selected = std::vector<const MatchedGPUT*>;

namespace {

/// Bytes.
struct Figures {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
};

std::optional<Figures> AskSystem(const Session& session) {
  Figures figures;
  if (!session.IsThisMachine() || !QuerySystemMemory(figures.free, figures.total)) return {};
  return figures;
}

std::optional<Figures> AskGPU(const Session& session, const MatchedGPUT& matched) {
  Figures figures;
  if (!session.IsThisMachine() || !QueryGPUMemory(matched, figures.free, figures.total)) return {};
  return figures;
}

/// The live figures, or the size alone, which every result has.
std::string MemoryText(const std::optional<Figures>& live, std::int32_t size_mib) {
  if (live) return FormatUse(live->free, live->total);
  return size_mib == kUnknown ? "unknown" : FormatMiB(size_mib) + ", use unknown";
}

Json MemoryJson(Json json, const std::optional<Figures>& live, const char* size_name, std::int32_t size_mib) {
  if (size_mib != kUnknown) json[size_name] = size_mib;
  if (live) {
    json["free_bytes"] = live->free;
    json["total_bytes"] = live->total;
  }
  return json;
}

void PrintOnce(const Session& session, const Selected& selected, JsonLayout layout) {
  const auto system = AskSystem(session);
  const std::int32_t ram_mib = session.results.records.system->ram_mib;
  if (session.json) {
    Json gpus = Json::array();
    for (const auto* matched : selected) {
      const auto& gpu = *matched->gpu;
      Json json = {{"id", gpu.id}, {"name", gpu.name}};
      gpus.push_back(MemoryJson(std::move(json), AskGPU(session, *matched), "vram_mib", gpu.vram_mib));
    }
    const Json system_json = MemoryJson(Json::object(), system, "ram_mib", ram_mib);
    PrintJson(session.out, {{"system", system_json}, {"gpus", gpus}}, layout);
    return;
  }
  TextTable table;
  table.Add({"system", "RAM", MemoryText(system, ram_mib)});
  for (const auto* matched : selected) {
    const auto& gpu = *matched->gpu;
    table.Add({gpu.id, FullName(gpu), MemoryText(AskGPU(session, *matched), gpu.vram_mib)});
  }
  table.Print(session.out);
}

}  // namespace

int Memory(const Session& session, const std::optional<std::string>& id, const Watch& watch) {
  if (watch.seconds && !session.IsThisMachine()) throw Error("a saved result has no live figures to watch");
  Selected selected;
  if (!id) {
    selected = SelectGPUs(session, {});
    WarnOfHiddenGPUs(session);
  } else if (const MatchedGPUT* matched = SelectGPU(session, *id)) {
    selected = {matched};
  } else {
    return kFoundNone;
  }

  // A reader of many documents takes them line by line.
  const JsonLayout layout = watch.seconds ? JsonLayout::OneLine : JsonLayout::Indented;
  PrintOnce(session, selected, layout);
  for (unsigned done = 1; watch.seconds && done != watch.count && session.out.flush(); ++done) {
    std::this_thread::sleep_for(std::chrono::duration<double>(*watch.seconds));
    if (!session.json) session.out << '\n';
    PrintOnce(session, selected, layout);
  }
  return FoundStatus(session, !selected.empty());
}

}  // namespace Vexil::Cli
