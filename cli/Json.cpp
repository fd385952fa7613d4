#include "Json.h"

#include <flatbuffers/minireflect.h>

#include <ostream>
#include <string>

#include "Offsets.h"

namespace Vexil::Program {
namespace {

using flatbuffers::ElementaryType;
using flatbuffers::ReadScalar;
using flatbuffers::TypeTable;

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
    case flatbuffers::ET_STRING: return reinterpret_cast<const flatbuffers::String*>(FollowOffset(value))->str();
    case flatbuffers::ET_SEQUENCE:
      return TableToJson(*reinterpret_cast<const flatbuffers::Table*>(FollowOffset(value)), *reference);
    default: return nullptr;  // The schema has no others.
  }
}

Json VectorToJson(const std::uint8_t* vector, ElementaryType type, const TypeTable* reference) {
  const std::uint8_t* elements = VectorElements(vector);
  const std::size_t size = flatbuffers::InlineSize(type, reference);
  Json array = Json::array();
  for (std::size_t i = 0; i < VectorSize(vector); ++i) {
    array.push_back(ValueToJson(elements + i * size, type, reference));
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
    const std::uint8_t* value = FieldAddress(table, i);
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
