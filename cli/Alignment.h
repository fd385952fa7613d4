#pragma once

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Program {

/// True when every value of a verified table, and of the tables in it, lies where its type may be read.
/// The verifier looks at bounds, but takes numbers at any address.
bool IsAligned(const flatbuffers::Table& table, const flatbuffers::TypeTable& type);

}  // namespace Vexil::Program
