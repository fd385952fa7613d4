#include "c_interface/DriversInUse.h"

#include <mutex>

#include "c_interface/Border.h"

namespace Vexil::C {
namespace {

std::mutex the_mutex;
thread_local bool t_holds_it = false;

}  // namespace

DriversInUse::DriversInUse() {
  if (t_holds_it) throw Failure{VEXIL_BUSY, "a log function may not ask the drivers"};
  the_mutex.lock();
  t_holds_it = true;
}

DriversInUse::~DriversInUse() {
  t_holds_it = false;
  the_mutex.unlock();
}

}  // namespace Vexil::C
