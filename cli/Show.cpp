#include "Vexil/Common/Text.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/KnownAs.h"
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

}  // namespace

int Show(const Session& session, const std::string& id) {
  const MatchedGPUT* matched = SelectGPU(session, id);
  if (matched == nullptr) return kFoundNone;
  Json json = ToJson(*matched);
  const Numbers* numbers = session.IsThisMachine() ? &FindNumbers(session) : nullptr;
  const std::size_t index = IndexOf(session, *matched);
  if (session.json) {
    if (numbers != nullptr) json["known_as"] = NumbersJson(numbers->joined.gpus[index]);
    PrintJson(session.out, json);
    return kFoundGPUs;
  }
  PrintLine(session.out, FullName(*matched->gpu) + " (" + matched->gpu->id + ")");
  session.out << "\nOther interfaces know it as\n";
  if (numbers != nullptr) {
    NumbersTable(numbers->joined.gpus[index]).Print(session.out, "  ");
  } else {
    PrintLine(session.out, std::string("  ") + kOnlyOfARunningMachine);
  }
  for (const auto& [source, record] : json.items()) {
    session.out << '\n';
    PrintRecord(session.out, source, record, "");
  }
  return kFoundGPUs;
}

}  // namespace Vexil::Cli
