#pragma once

#include "Report.h"

namespace Vexil {

/// Logs the report, with this machine's figures. The caller holds the results' lock, so nothing here
/// goes through the Detector's operations.
void LogReport(const ReportedResults& results);

}  // namespace Vexil
