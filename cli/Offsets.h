#pragma once

#include <cstddef>
#include <cstdint>

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Program {

// Ways through a verified buffer for code that knows its tables by their descriptions only.

/// Null where the table does not have the field.
inline const std::uint8_t* FieldAddress(const flatbuffers::Table& table, std::size_t index) {
  return table.GetAddressOf(flatbuffers::FieldIndexToOffset(static_cast<flatbuffers::voffset_t>(index)));
}

/// Where an offset points.
inline const std::uint8_t* FollowOffset(const std::uint8_t* offset) {
  return offset + flatbuffers::ReadScalar<flatbuffers::uoffset_t>(offset);
}

/// Of the vector that an offset points to.
inline std::size_t VectorSize(const std::uint8_t* offset) {
  return flatbuffers::ReadScalar<flatbuffers::uoffset_t>(FollowOffset(offset));
}
inline const std::uint8_t* VectorElements(const std::uint8_t* offset) {
  return FollowOffset(offset) + sizeof(flatbuffers::uoffset_t);
}

}  // namespace Vexil::Program
