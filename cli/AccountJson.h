#pragma once

#include "Vexil/Common/Account.h"
#include "cli/Json.h"

namespace Vexil::Cli {

/// A word for programs.
const char* StateCode(SourceState state);

/// As `doctor` prints it. Lists are there also where they are empty.
Json ToJson(const Account& account);

/// What was made by ToJson, but perhaps not by this process: throws a JSON error where it is something else.
Account AccountFromJson(const Json& json);

}  // namespace Vexil::Cli
