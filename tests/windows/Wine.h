#pragma once

#include <windows.h>

namespace Vexil::Tests {

/// Some tests hold only where there is neither GPU nor screen nor driver but those that they bring, and where they may
/// write into the registry. That is so under Wine; elsewhere they skip themselves.
inline bool IsWine() { return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr; }

}  // namespace Vexil::Tests
