#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Cli {

/// Objects keep the order of the schema.
using Json = nlohmann::ordered_json;

/// A packed record under the schema's names, without what is unknown.
Json TableToJson(const std::uint8_t* buffer, const flatbuffers::TypeTable* type);

template <typename Record>
Json ToJson(const Record& record) {
  using Table = typename Record::TableType;
  flatbuffers::FlatBufferBuilder builder;
  builder.Finish(Table::Pack(builder, &record));
  return TableToJson(builder.GetBufferPointer(), Table::MiniReflectTypeTable());
}

/// On one line or on many, always valid UTF-8: texts that drivers gave in another code page lose the
/// bytes that are not.
enum class JsonLayout { OneLine, Indented };
void PrintJson(std::ostream& out, const Json& json, JsonLayout layout = JsonLayout::Indented);

}  // namespace Vexil::Cli
