#pragma once

#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The machine: Windows, board, processor, memory, driver versions. What cannot be read stays unknown, and the
/// account tells why.
FlatBuffers::SystemT GetWindowsSystemInfo(Account& account);

}  // namespace Vexil
