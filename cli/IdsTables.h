#pragma once

#include "cli/Session.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

/// The number of each GPU in each interface, a GPU a row.
TextTable NumbersOfAll(const Session& session, const Numbers& numbers);

/// What else identifies each GPU.
TextTable IdentitiesOfAll(const Session& session, const Numbers& numbers);

}  // namespace Vexil::Cli
