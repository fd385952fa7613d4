#pragma once

#include <cstdint>

#include "Vexil/Common/Account.h"

namespace Vexil {

/// The version of NVIDIA's graphics driver, such as 537 and 41. False, and both untouched, where
/// there is none; calls that failed are added to the account.
bool ReadNVIDIADriverVersion(std::int32_t& major, std::int32_t& minor, Account& account);

}  // namespace Vexil
