#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Program {

/// Objects keep the order of the schema.
using Json = nlohmann::ordered_json;

/// A packed record under the schema's names, without what is unknown. It must come from the library's
/// own packing: fields that are retired are not expected in it.
Json TableToJson(const flatbuffers::Table& table, const flatbuffers::TypeTable& type);

template <typename Record>
Json ToJson(const Record& record) {
  using Table = typename Record::TableType;
  flatbuffers::FlatBufferBuilder builder;
  builder.Finish(Table::Pack(builder, &record));
  return TableToJson(*flatbuffers::GetRoot<flatbuffers::Table>(builder.GetBufferPointer()),
                     *Table::MiniReflectTypeTable());
}

/// True when both say the same.
template <typename Record>
bool AreEqual(const Record& a, const Record& b) {
  return ToJson(a) == ToJson(b);
}

/// On one line or on many, always valid UTF-8: texts that drivers gave in another code page lose the
/// bytes that are not.
enum class JsonLayout { OneLine, Indented };
void PrintJson(std::ostream& out, const Json& json, JsonLayout layout = JsonLayout::Indented);

}  // namespace Vexil::Program
