#include "Vexil/Platform/Kernel.h"

#include <windows.h>

namespace Vexil {

std::optional<PhysicalMemory> GetPhysicalMemory() {
  MEMORYSTATUSEX status = {};
  status.dwLength = sizeof(status);
  if (GlobalMemoryStatusEx(&status) == FALSE) return std::nullopt;
  return PhysicalMemory{status.ullAvailPhys, status.ullTotalPhys};
}

std::uint32_t GetProcessorCount() {
  SYSTEM_INFO info = {};
  GetSystemInfo(&info);
  return info.dwNumberOfProcessors;
}

}  // namespace Vexil
