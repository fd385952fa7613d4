#include "Common/Log.h"
#include "Vexil.h"

std::int32_t NvOptimusEnablement = 1;
std::int32_t AmdPowerXpressRequestHighPerformance = 1;

namespace {

/// Nobody else makes a Detector.
class TheDetector : public Vexil::Detector {};

}  // namespace

Vexil::Detector* GetInstance() {
  // The first caller sets up logging before any logger exists; the standard library makes others wait.
  static const bool logging_is_set_up = (Vexil::SetUpLogging(), true);
  static_cast<void>(logging_is_set_up);
  static TheDetector detector;
  return &detector;
}
