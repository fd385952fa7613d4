#include "interfaces/platform/RemoteSession.h"

#include <windows.h>

namespace Vexil::Interfaces {

bool IsRemoteSession() { return GetSystemMetrics(SM_REMOTESESSION) != 0; }

}  // namespace Vexil::Interfaces
