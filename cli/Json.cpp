#include "Json.h"

#include <flatbuffers/minireflect.h>

#include <ostream>
#include <string>

namespace Vexil::Program {
namespace {

using flatbuffers::ElementaryType;
using flatbuffers::ReadScalar;
using flatbuffers::TypeTable;

const std::uint8_t* Follow(const std::uint8_t* offset) { return offset + ReadScalar<flatbuffers::uoffset_t>(offset); }

Json EnumToJson(std::uint8_t value, const TypeTable* type) {
  const char* name = flatbuffers::EnumName(value, type);
  return name != nullptr ? Json(name) : Json(value);
}

Json ValueToJson(const std::uint8_t* value, ElementaryType type, const TypeTable* reference) {
  switch (type) {
    case flatbuffers::ET_BOOL: return ReadScalar<std::uint8_t>(value) != 0;
    case flatbuffers::ET_UCHAR: return EnumToJson(ReadScalar<std::uint8_t>(value), reference);
    case flatbuffers::ET_INT: return ReadScalar<std::int32_t>(value);
    case flatbuffers::ET_ULONG: return ReadScalar<std::uint64_t>(value);
    case flatbuffers::ET_STRING: return reinterpret_cast<const flatbuffers::String*>(Follow(value))->str();
    case flatbuffers::ET_SEQUENCE:
      return TableToJson(*reinterpret_cast<const flatbuffers::Table*>(Follow(value)), *reference);
    default: return nullptr;  // The schema has no others.
  }
}

Json VectorToJson(const std::uint8_t* vector, ElementaryType type, const TypeTable* reference) {
  const std::uint8_t* start = Follow(vector);
  const auto count = ReadScalar<flatbuffers::uoffset_t>(start);
  const std::uint8_t* element = start + sizeof(flatbuffers::uoffset_t);
  Json array = Json::array();
  for (flatbuffers::uoffset_t i = 0; i < count; ++i) {
    array.push_back(ValueToJson(element, type, reference));
    element += flatbuffers::InlineSize(type, reference);
  }
  return array;
}

}  // namespace

Json TableToJson(const flatbuffers::Table& table, const TypeTable& type) {
  Json object = Json::object();
  // An object that keeps its order copies its members when it grows.
  object.get_ref<Json::object_t&>().reserve(type.num_elems);
  for (std::size_t i = 0; i < type.num_elems; ++i) {
    const flatbuffers::TypeCode code = type.type_codes[i];
    const auto element_type = static_cast<ElementaryType>(code.base_type);
    const TypeTable* reference = code.sequence_ref >= 0 ? type.type_refs[code.sequence_ref]() : nullptr;
    const std::uint8_t* value =
        table.GetAddressOf(flatbuffers::FieldIndexToOffset(static_cast<flatbuffers::voffset_t>(i)));
    if (value == nullptr) {
      // Packing leaves out what is unknown, and "false", which is known.
      if (element_type == flatbuffers::ET_BOOL) object[type.names[i]] = false;
      continue;
    }
    object[type.names[i]] = code.is_repeating != 0 ? VectorToJson(value, element_type, reference)
                                                   : ValueToJson(value, element_type, reference);
  }
  return object;
}

void PrintJson(std::ostream& out, const Json& json, JsonLayout layout) {
  const int indent = layout == JsonLayout::Indented ? 2 : -1;
  out << json.dump(indent, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace Vexil::Program
