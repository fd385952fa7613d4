#pragma once

#include <cstdint>

namespace Vexil {

/// The version of NVIDIA's graphics driver, such as 537 and 41. False, and both untouched, where
/// there is none.
bool ReadNVIDIADriverVersion(std::int32_t& major, std::int32_t& minor);

}  // namespace Vexil
