#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Cli {

/// Objects keep the order of the schema.
using Json = nlohmann::ordered_json;

/// The beginning of every document that a command prints. The version of their contract changes when a member goes or
/// gets another meaning; new ones may come at any time.
Json Document(const char* command);

/// A packed record under the schema's names, without numbers, texts and records that are unknown. Lists and names of
/// enumerations are always there.
Json TableToJson(const std::uint8_t* buffer, const flatbuffers::TypeTable* type);

template <typename Record>
Json ToJson(const Record& record) {
  using Table = typename Record::TableType;
  flatbuffers::FlatBufferBuilder builder;
  builder.Finish(Table::Pack(builder, &record));
  return TableToJson(builder.GetBufferPointer(), Table::MiniReflectTypeTable());
}

/// On one line or on many, always valid UTF-8, without characters that a terminal obeys.
enum class JsonLayout { OneLine, Indented };
void PrintJson(std::ostream& out, const Json& json, JsonLayout layout = JsonLayout::Indented);

}  // namespace Vexil::Cli
