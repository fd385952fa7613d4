#pragma once

#include "Vexil/Report/Report.h"

namespace Vexil {

/// Logs the report. The caller holds the results' lock, so nothing here goes through the Detector's operations.
void LogReport(const ReportedResults& results);

}  // namespace Vexil
