#include "Alignment.h"

#include <flatbuffers/minireflect.h>

#include "Offsets.h"

namespace Vexil::Program {
namespace {

using flatbuffers::Table;
using flatbuffers::TypeTable;

bool IsMultiple(const std::uint8_t* address, std::size_t size) {
  return reinterpret_cast<std::uintptr_t>(address) % size == 0;
}

/// Whether values of one type, one after the other, are aligned, and what they refer to.
bool AreAligned(const std::uint8_t* values, std::size_t count, flatbuffers::ElementaryType type,
                const TypeTable* reference) {
  const std::size_t size = flatbuffers::InlineSize(type, reference);
  if (!IsMultiple(values, size)) return false;
  if (type != flatbuffers::ET_SEQUENCE) return true;
  for (std::size_t i = 0; i < count; ++i) {
    if (!IsAligned(*reinterpret_cast<const Table*>(FollowOffset(values + i * size)), *reference)) return false;
  }
  return true;
}

}  // namespace

bool IsAligned(const Table& table, const TypeTable& type) {
  for (std::size_t i = 0; i < type.num_elems; ++i) {
    const std::uint8_t* value = FieldAddress(table, i);
    if (value == nullptr) continue;
    const flatbuffers::TypeCode code = type.type_codes[i];
    const auto element_type = static_cast<flatbuffers::ElementaryType>(code.base_type);
    const TypeTable* reference = code.sequence_ref >= 0 ? type.type_refs[code.sequence_ref]() : nullptr;
    const bool is_aligned = code.is_repeating != 0
                                ? AreAligned(VectorElements(value), VectorSize(value), element_type, reference)
                                : AreAligned(value, 1, element_type, reference);
    if (!is_aligned) return false;
  }
  return true;
}

}  // namespace Vexil::Program
