#pragma once

#include "c_interface/vexil_c.h"

namespace Vexil::C {

/// As long as this lives, this thread's log goes to a host's function, or nowhere where that is null.
class LogTo {
 public:
  LogTo(vexil_log_function function, void* context);
  ~LogTo();
  LogTo(const LogTo&) = delete;
  LogTo& operator=(const LogTo&) = delete;
};

}  // namespace Vexil::C
