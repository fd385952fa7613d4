#include "DetectCommon/IntelDriverVersion.h"

#include "Common/Patterns.h"
#include "Common/Text.h"
#include "DetectCommon/OpenCLLibrary.h"

namespace Vexil {

bool GetIntelDriverVersion(std::string& version, std::vector<std::int32_t>& numbers) {
  version.clear();
  numbers.clear();
  OpenCLLibrary opencl;
  if (!opencl.Initialize()) return false;
  for (cl_platform_id platform : opencl.GetPlatforms()) {
    if (!ContainsNoCase(opencl.GetPlatformInfoString(platform, CL_PLATFORM_NAME), "Intel")) continue;
    for (cl_device_id device : opencl.GetDevices(platform)) {
      version = opencl.GetDeviceInfoString(device, CL_DRIVER_VERSION);
      if (const auto parts = FindVersion(version, 4)) {
        numbers = *parts;
        return true;
      }
    }
  }
  return false;
}

}  // namespace Vexil
