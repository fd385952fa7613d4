#pragma once

namespace Vexil::C {

/// Some drivers have one client per process: one thread asks them at a time. Throws where this thread does already, as
/// a log function of the host's would.
class DriversInUse {
 public:
  DriversInUse();
  ~DriversInUse();
  DriversInUse(const DriversInUse&) = delete;
  DriversInUse& operator=(const DriversInUse&) = delete;
};

}  // namespace Vexil::C
