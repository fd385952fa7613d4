#pragma once

#include <string>

namespace Vexil {

/// A text under HKEY_LOCAL_MACHINE, of a multi-text its first; empty where it cannot be read or is
/// longer than 4094 bytes.
std::string ReadRegistryString(const std::string& key, const std::string& value);

}  // namespace Vexil
