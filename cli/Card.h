#pragma once

#include "cli/Session.h"

namespace Vexil::Cli {

/// What people ask first about a GPU, on less than a screen.
void PrintCard(const Session& session, const FlatBuffers::MatchedGPUT& matched);

}  // namespace Vexil::Cli
