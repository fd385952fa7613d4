#include "Vexil/DetectCommon/IntelDriverVersion.h"

#include "Vexil/Common/Patterns.h"
#include "Vexil/Common/Text.h"
#include "Vexil/DetectCommon/OpenCLLibrary.h"
#include "Vexil/Platform/RunScope.h"

namespace Vexil {
namespace {

constexpr const char* kFields = "intel_driver_version, intel_driver_version_parts";

bool FindIntelVersion(OpenCLLibrary& opencl, std::string& version, std::vector<std::int32_t>& numbers) {
  if (!opencl.Initialize()) return false;
  for (cl_platform_id platform : opencl.GetPlatforms()) {
    opencl.About(platform);
    if (!ContainsNoCase(opencl.GetPlatformInfoString(platform, CL_PLATFORM_NAME, kFields), "Intel")) continue;
    for (cl_device_id device : opencl.GetDevices(platform)) {
      version = opencl.GetDeviceInfoString(device, CL_DRIVER_VERSION, kFields);
      if (const auto parts = FindVersion(version, 4)) {
        numbers = *parts;
        return true;
      }
    }
  }
  return false;
}

}  // namespace

bool GetIntelDriverVersion(std::string& version, std::vector<std::int32_t>& numbers, Account& account) {
  version.clear();
  numbers.clear();
  const auto opencl = RunScope::Get<OpenCLLibrary>();
  const bool told = FindIntelVersion(*opencl, version, numbers);
  // What failed before one device told its version may have kept another from telling its own.
  account.Append(opencl->TakeAccount(), kFields);
  return told;
}

}  // namespace Vexil
