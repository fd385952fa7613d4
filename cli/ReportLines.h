#pragma once

#include <string>
#include <vector>

#include "cli/Session.h"

namespace Vexil::Cli {

/// The report, with live figures where the results are this machine's. Its texts are drivers'.
std::vector<std::string> ReportLines(const Session& session);

}  // namespace Vexil::Cli
