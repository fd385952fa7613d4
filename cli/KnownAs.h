#pragma once

#include <string>
#include <vector>

#include "cli/Session.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

/// By which numbers the interfaces of this machine know the session's GPUs; asks them the first time.
const Numbers& FindNumbers(const Session& session);

/// The place of this GPU in the results, which is also that of its numbers.
std::size_t IndexOf(const Session& session, const FlatBuffers::MatchedGPUT& matched);

/// One GPU's numbers, an interface a row.
TextTable NumbersTable(const std::vector<Interfaces::Known>& known);

/// What was contradictory, what is none of the GPUs, and which interfaces failed.
void PrintRemarks(std::ostream& out, const Numbers& numbers);

inline constexpr const char* kOnlyOfARunningMachine =
    "the numbers by which interfaces know a GPU belong to a running machine; a saved result has none";

}  // namespace Vexil::Cli
