#pragma once

#include <cstddef>
#include <cstdint>

namespace Vexil::Interfaces {

/// Writes a message into a buffer and returns its length. Called in a process that is broken: takes no memory, no lock.
using CrashMessage = std::size_t (*)(std::uint32_t code, char* buffer, std::size_t size);

/// From now on a fault that would end this process makes it print this message on standard error and exit with this
/// status. For programs: in a library it would take the host's own handler away.
void ExplainCrashes(CrashMessage message, int exit_status);

}  // namespace Vexil::Interfaces
