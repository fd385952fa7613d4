#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Vexil/Common/Account.h"

namespace Vexil {

/// The version of Intel's graphics driver, such as "31.0.101.4502", and its four numbers, as Intel's
/// OpenCL platform tells it. Where the result is false there are no numbers, and `version` is the last
/// text that was no version, or empty. Calls that failed are added to the account.
bool GetIntelDriverVersion(std::string& version, std::vector<std::int32_t>& numbers, Account& account);

}  // namespace Vexil
