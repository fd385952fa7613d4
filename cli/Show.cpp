#include <fmt/format.h>

#include "Vexil/Common/Text.h"
#include "Vexil/Sources/Sources.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/Printing.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;

namespace {

std::string ScalarText(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  return value.dump();
}

bool IsListOfRecords(const Json& value) { return value.is_array() && !value.empty() && value.front().is_object(); }

std::string ValueText(const Json& value) {
  if (!value.is_array()) return ScalarText(value);
  std::vector<std::string> texts;
  for (const Json& element : value) texts.push_back(ScalarText(element));
  return Join(texts, ", ");
}

/// A record's own values, then the records inside it.
void PrintRecord(std::ostream& out, const std::string& title, const Json& record, const std::string& indent) {
  const std::string inner = indent + "  ";
  out << indent << title << '\n';
  TextTable table;
  for (const auto& [name, value] : record.items()) {
    if (!value.is_object() && !IsListOfRecords(value)) table.Add({name, ValueText(value)});
  }
  table.Print(out, inner);
  for (const auto& [name, value] : record.items()) {
    if (value.is_object()) PrintRecord(out, name, value, inner);
    if (!IsListOfRecords(value)) continue;
    for (const Json& element : value) PrintRecord(out, name, element, inner);
  }
}

std::string Displays(const std::vector<std::string>& names) {
  return names.empty() ? std::string() : ", " + Join(names, ", ");
}

// By what names and numbers each source knows the GPU.

std::string KnownAs(const FlatBuffers::OpenCLGPUT& gpu) {
  return fmt::format("platform {:#x} \"{}\", device {:#x}", gpu.platform_id, gpu.platform_name, gpu.device_id);
}
std::string KnownAs(const FlatBuffers::CUDAGPUT& gpu) { return fmt::format("device {}", gpu.index); }
std::string KnownAs(const FlatBuffers::NvAPIGPUT& gpu) {
  return fmt::format("handle {:#x}{}", gpu.handle, Displays(gpu.display_names));
}
std::string KnownAs(const FlatBuffers::NVMLGPUT& gpu) {
  return fmt::format("PCI bus {}, device {}", gpu.pci_bus, gpu.pci_device);
}
std::string KnownAs(const FlatBuffers::DirectXGPUT& gpu) {
  return fmt::format("\"{}\"{}{}", gpu.name, gpu.is_first_adapter ? ", the first adapter" : "",
                     Displays(gpu.output_names));
}
std::string KnownAs(const FlatBuffers::AMDDLGPUT& gpu) {
  return fmt::format("\"{}\"{}{}", gpu.name, gpu.is_primary ? ", primary" : "", Displays(gpu.display_names));
}
std::string KnownAs(const FlatBuffers::EnumDisplayDevicesGPUT& gpu) {
  return fmt::format("\"{}\"{}{}", gpu.name, gpu.is_primary ? ", primary" : "", Displays(gpu.device_names));
}

TextTable OtherNames(const MatchedGPUT& matched) {
  TextTable table;
  ForEachSource([&](const auto& source) {
    const auto& record = matched.*source.record;
    if (record != nullptr) table.Add({source.name, KnownAs(*record)});
  });
  return table;
}

}  // namespace

int Show(const Session& session, const std::string& id) {
  const MatchedGPUT* matched = SelectGPU(session, id);
  if (matched == nullptr) return kFoundNone;
  const Json json = ToJson(*matched);
  if (session.json) {
    PrintJson(session.out, json);
    return kFoundGPUs;
  }
  PrintLine(session.out, FullName(*matched->gpu) + " (" + matched->gpu->id + ")");
  session.out << "\nOther interfaces know it as\n";
  OtherNames(*matched).Print(session.out, "  ");
  for (const auto& [source, record] : json.items()) {
    session.out << '\n';
    PrintRecord(session.out, source, record, "");
  }
  return kFoundGPUs;
}

}  // namespace Vexil::Cli
