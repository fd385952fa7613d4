#include <fmt/format.h>

#include "Vexil/Common/Text.h"
#include "cli/Card.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Json.h"
#include "cli/KnownAs.h"
#include "cli/Printing.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;

namespace {

bool EndsWith(const std::string& text, std::string_view end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Identifiers and handles, which nobody reads in decimal.
bool IsHexadecimal(const std::string& field) {
  return EndsWith(field, "_id") || EndsWith(field, "handle") || field == "revision" || field == "opencl_peers";
}

std::string ScalarText(const std::string& field, const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (!IsHexadecimal(field)) return value.dump();
  // Records hold 32-bit identifiers in signed fields.
  return fmt::format("0x{:X}", value.is_number_unsigned() ? value.get<std::uint64_t>()
                                                          : static_cast<std::uint32_t>(value.get<std::int32_t>()));
}

bool IsListOfRecords(const Json& value) { return value.is_array() && !value.empty() && value.front().is_object(); }

std::string ValueText(const std::string& field, const Json& value) {
  if (!value.is_array()) return ScalarText(field, value);
  std::vector<std::string> texts;
  for (const Json& element : value) texts.push_back(ScalarText(field, element));
  return texts.empty() ? "-" : Join(texts, ", ");
}

/// A record's own values, then the records inside it.
void PrintRecord(std::ostream& out, const std::string& title, const Json& record, const std::string& indent) {
  const std::string inner = indent + "  ";
  out << indent << title << '\n';
  TextTable table;
  for (const auto& [name, value] : record.items()) {
    if (!value.is_object() && !IsListOfRecords(value)) table.Add({name, ValueText(name, value)});
  }
  table.Print(out, inner);
  for (const auto& [name, value] : record.items()) {
    if (value.is_object()) PrintRecord(out, name, value, inner);
    if (!IsListOfRecords(value)) continue;
    for (const Json& element : value) PrintRecord(out, name, element, inner);
  }
}

void PrintText(const Session& session, const MatchedGPUT& matched, bool is_raw) {
  PrintCard(session, matched);
  session.out << "\nOther interfaces know it as\n";
  if (session.IsThisMachine()) {
    NumbersTable(FindNumbers(session).joined.gpus[IndexOf(session, matched)]).Print(session.out, "  ");
  } else {
    PrintLine(session.out, std::string("  ") + kOnlyOfARunningMachine);
  }
  if (!is_raw) return;
  const Json records = ToJson(matched);
  for (const auto& [source, record] : records.items()) {
    session.out << '\n';
    PrintRecord(session.out, source, record, "");
  }
}

}  // namespace

int Show(const Session& session, const std::string& id, bool is_raw) {
  const MatchedGPUT* matched = SelectGPU(session, id);
  if (matched == nullptr) return kFoundNone;
  if (session.json) {
    Json document = Document("show");
    document.update(ToJson(*matched));
    document["known_as"] = session.IsThisMachine()
                               ? NumbersJson(FindNumbers(session).joined.gpus[IndexOf(session, *matched)])
                               : Json::array();
    PrintJson(session.out, document);
  } else {
    PrintText(session, *matched, is_raw);
  }
  return kFoundGPUs;
}

}  // namespace Vexil::Cli
