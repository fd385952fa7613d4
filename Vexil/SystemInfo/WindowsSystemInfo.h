#pragma once

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The machine: Windows, board, processor, memory, driver versions. What cannot be read stays unknown.
FlatBuffers::SystemT GetWindowsSystemInfo();

}  // namespace Vexil
