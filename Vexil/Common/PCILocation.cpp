#include "Vexil/Common/PCILocation.h"

#include <fmt/format.h>

namespace Vexil {

std::string PCILocationText(const PCILocation& location) {
  std::string text = fmt::format("PCI:{}:{}", location.bus, location.device);
  if (location.function != kUnknown) text += fmt::format(".{}", location.function);
  return text;
}

}  // namespace Vexil
