#include <fmt/format.h>

#include "Commands.h"
#include "Common/Text.h"
#include "Common/Unknown.h"
#include "Json.h"
#include "Printing.h"
#include "TextTable.h"

namespace Vexil::Program {

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

void AddDisplays(TextTable& table, const std::vector<std::string>& names) {
  if (!names.empty()) table.Add({"", Join(names, ", ")});
}

/// By what names and numbers the GPU is found in other interfaces, which are called as in the report.
TextTable CrossIndex(const MatchedGPUT& matched) {
  TextTable table;
  if (matched.cuda != nullptr) table.Add({"CUDA", fmt::format("device {}", matched.cuda->index)});
  if (matched.nvapi != nullptr) {
    table.Add({"NVAPI", fmt::format("handle {:#x}", matched.nvapi->handle)});
    AddDisplays(table, matched.nvapi->display_names);
  }
  if (matched.nvml != nullptr) {
    table.Add({"NVML", fmt::format("PCI bus {}, device {}", matched.nvml->pci_bus, matched.nvml->pci_device)});
  }
  if (matched.opencl != nullptr) {
    table.Add({"OpenCL", fmt::format("platform {:#x} \"{}\", device {:#x}", matched.opencl->platform_id,
                                     matched.opencl->platform_name, matched.opencl->device_id)});
  }
  if (matched.directx != nullptr) {
    table.Add({"DirectX", fmt::format("\"{}\"{}", matched.directx->name,
                                      matched.directx->is_first_adapter ? ", the first adapter" : "")});
    AddDisplays(table, matched.directx->output_names);
  }
  if (matched.amddl != nullptr) {
    table.Add({"AMDDL", fmt::format("\"{}\"{}", matched.amddl->name, matched.amddl->is_primary ? ", primary" : "")});
    AddDisplays(table, matched.amddl->display_names);
  }
  if (matched.win32 != nullptr) {
    table.Add({"Win32", fmt::format("\"{}\"{}", matched.win32->name, matched.win32->is_primary ? ", primary" : "")});
    AddDisplays(table, matched.win32->device_names);
  }
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
  CrossIndex(*matched).Print(session.out, "  ");
  for (const auto& [source, record] : json.items()) {
    session.out << '\n';
    PrintRecord(session.out, source, record, "");
  }
  return kFoundGPUs;
}

}  // namespace Vexil::Program
