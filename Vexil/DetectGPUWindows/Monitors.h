#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Appends the monitors on one output, each with the mode that the output is in.
void AddMonitorsOn(const std::string& output_name, bool is_main,
                   std::vector<std::shared_ptr<FlatBuffers::MonitorT>>& monitors, Account& account);

/// Calls the monitors that have no name "Monitor".
void NameMonitors(std::vector<FlatBuffers::MonitorT>& monitors);

}  // namespace Vexil
