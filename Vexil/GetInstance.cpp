#include "Vexil/Common/Log.h"
#include "Vexil/Vexil.h"

// Hybrid-graphics drivers look for these two in a process and then run it on the discrete GPU.
extern "C" VEXIL_API std::int32_t NvOptimusEnablement;
extern "C" VEXIL_API std::int32_t AmdPowerXpressRequestHighPerformance;
std::int32_t NvOptimusEnablement = 1;
std::int32_t AmdPowerXpressRequestHighPerformance = 1;

namespace {

/// Nobody else makes a Detector.
class TheDetector : public Vexil::Detector {
 public:
  // Before anything of the library asks for the logger.
  TheDetector() { Vexil::SetUpLogging(); }
};

}  // namespace

Vexil::Detector* GetInstance() noexcept(false) {
  static TheDetector detector;
  return &detector;
}
