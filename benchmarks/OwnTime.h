#pragma once

#include <cstdint>
#include <functional>

namespace Vexil::Benchmarks {

/// What a piece of work took, in nanoseconds of processor time.
struct OwnTime {
  double own = 0;            ///< Outside the calls of drivers and Windows: the library's share.
  double calls = 0;          ///< Inside them.
  std::uint64_t number = 0;  ///< Of calls.
};

/// Works, once more where the thread was interrupted meanwhile. What reading the clocks takes is no part of either
/// time.
OwnTime Measure(const std::function<void()>& work);

}  // namespace Vexil::Benchmarks
