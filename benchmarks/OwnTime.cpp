#include "benchmarks/OwnTime.h"

#include <chrono>
#include <ctime>

#include "simulation/Simulation.h"

namespace Vexil::Benchmarks {
namespace {

double ProcessorNow() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double WallNow() {
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Calls {
  double entered = 0;
  double inside = 0;
  std::uint64_t number = 0;
} calls;

// The processor's clock takes longer to read than most calls. While the thread is not interrupted, both clocks agree.
void OnCall(bool is_call) {
  if (is_call) {
    calls.entered = WallNow();
  } else {
    calls.inside += WallNow() - calls.entered;
    ++calls.number;
  }
}

/// What an empty call seems to take: inside, and in all.
struct ClockCost {
  double inside;
  double total;
};

ClockCost MeasureClock() {
  constexpr int kTimes = 20000;
  calls = {};
  const double start = ProcessorNow();
  for (int i = 0; i < kTimes; ++i) {
    const Simulation::InsideCall call;
  }
  return {calls.inside / kTimes, (ProcessorNow() - start) / kTimes};
}

bool WasInterrupted(double wall, double processor) { return wall > processor * 1.05 + 2000; }

}  // namespace

OwnTime Measure(const std::function<void()>& work) {
  Simulation::TimeCalls(OnCall);
  static const ClockCost clock = MeasureClock();
  double wall = 0;
  double processor = 0;
  do {
    calls = {};
    const double wall_start = WallNow();
    const double start = ProcessorNow();
    work();
    processor = ProcessorNow() - start;
    wall = WallNow() - wall_start;
  } while (WasInterrupted(wall, processor));
  Simulation::TimeCalls(nullptr);
  const auto number = static_cast<double>(calls.number);
  const double inside = calls.inside - number * clock.inside;
  return {processor - number * clock.total - inside, inside, calls.number};
}

}  // namespace Vexil::Benchmarks
