#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Packs a result into a FlatBuffers buffer, in place of what `out` held.
void PackResult(const FlatBuffers::DetectionResultT& result, std::vector<std::uint8_t>& out);

/// True when the stream is good after the whole buffer went to it.
bool WriteResult(const FlatBuffers::DetectionResultT& result, std::ostream& stream);

/// True when the file could be opened.
bool SaveResult(const FlatBuffers::DetectionResultT& result, const std::string& path);

}  // namespace Vexil
