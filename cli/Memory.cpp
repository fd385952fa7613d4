#include "cli/Memory.h"

#include <fmt/chrono.h>

#include <chrono>
#include <thread>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Unknown.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/KnownAs.h"
#include "cli/OpenMetrics.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"
#include "cli/TextTable.h"
#include "cli/VRAM.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using Selected = std::vector<const MatchedGPUT*>;

namespace {

/// The live figures, or the size alone, which every result has.
std::string MemoryText(const std::optional<MemoryUse>& live, const std::string& size) {
  if (live) return FormatUse(live->free, live->total);
  return size == "unknown" ? size : size + ", use unknown";
}

Json MemoryJson(Json json, const std::optional<MemoryUse>& live, const char* size_name, std::int32_t size_mib) {
  if (size_mib != kUnknown) json[size_name] = size_mib;
  if (live) {
    json["free_bytes"] = live->free;
    json["total_bytes"] = live->total;
  }
  return json;
}

Json ToJson(const Reading& reading) {
  Json document = Document("memory");
  if (reading.time) document["time"] = fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(*reading.time));
  document["system"] = MemoryJson(Json::object(), reading.system, "ram_mib", reading.ram_mib);
  document["gpus"] = Json::array();
  for (const GPUReading& of_gpu : reading.gpus) {
    const FlatBuffers::GPUT& gpu = *of_gpu.matched->gpu;
    Json json = {{"number", of_gpu.number}, {"id", gpu.id}, {"name", gpu.name}};
    document["gpus"].push_back(MemoryJson(std::move(json), of_gpu.use, "vram_mib", gpu.vram_mib));
  }
  return document;
}

void PrintTable(std::ostream& out, const Reading& reading) {
  TextTable table;
  const std::string ram = reading.ram_mib == kUnknown ? "unknown" : FormatMiB(reading.ram_mib);
  table.Add({"-", "system", "RAM", MemoryText(reading.system, ram)});
  for (const GPUReading& of_gpu : reading.gpus) {
    const FlatBuffers::GPUT& gpu = *of_gpu.matched->gpu;
    table.Add(
        {std::to_string(of_gpu.number), gpu.id, FullName(gpu), MemoryText(of_gpu.use, VRAMText(*of_gpu.matched))});
  }
  table.Print(out);
}

Reading Read(const Session& session, const Selected& selected) {
  Reading reading;
  if (session.IsThisMachine()) {
    reading.time = std::time(nullptr);
    reading.system = AskSystemMemory();
  }
  reading.ram_mib = session.results.records.system->ram_mib;
  for (const auto* matched : selected) {
    auto& of_gpu = reading.gpus.emplace_back(GPUReading{IndexOf(session, *matched), matched, {}});
    if (session.IsThisMachine()) of_gpu.use = AskGPUMemory(*matched);
  }
  return reading;
}

void Print(const Session& session, const Reading& reading, const MemoryOptions& options) {
  if (options.is_openmetrics) {
    PrintOpenMetrics(session.out, reading);
  } else if (session.json) {
    // A reader of many documents takes them line by line.
    PrintJson(session.out, ToJson(reading), options.seconds ? JsonLayout::OneLine : JsonLayout::Indented);
  } else {
    if (options.seconds) PrintLine(session.out, fmt::format("{:%Y-%m-%d %H:%M:%S}", fmt::localtime(*reading.time)));
    PrintTable(session.out, reading);
    if (options.seconds) session.out << '\n';
  }
  session.out.flush();
}

}  // namespace

int Memory(const Session& session, const std::optional<std::string>& id, const Filter& filter,
           const MemoryOptions& options) {
  if (options.seconds && !session.IsThisMachine()) throw Error("a saved result has no live figures to watch");
  Selected selected;
  if (!id) {
    selected = SelectGPUs(session, filter);
    WarnOfHiddenGPUs(session);
  } else if (const MatchedGPUT* matched = SelectGPU(session, *id)) {
    selected = {matched};
  } else {
    return kFoundNone;
  }
  Print(session, Read(session, selected), options);
  for (unsigned done = 1; options.seconds && done != options.count && session.out; ++done) {
    std::this_thread::sleep_for(std::chrono::duration<double>(*options.seconds));
    Print(session, Read(session, selected), options);
  }
  return FoundStatus(session, !selected.empty());
}

}  // namespace Vexil::Cli
