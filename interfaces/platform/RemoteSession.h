#pragma once

namespace Vexil::Interfaces {

/// Whether this process runs in a session whose desktop is shown on another machine.
bool IsRemoteSession();

}  // namespace Vexil::Interfaces
