#include "NVIDIA/NvAPIDriverVersion.h"

#include "Common/Unknown.h"
#include "NVIDIA/NvAPI.h"

namespace Vexil {

bool ReadNVIDIADriverVersion(std::int32_t& major, std::int32_t& minor) {
  if (NvAPI_Initialize() != NVAPI_OK) return false;
  NvU32 version = 0;
  NvAPI_ShortString branch = {};
  // Where this fails NVAPI is left up.
  if (NvAPI_SYS_GetDriverAndBranchVersion(&version, branch) != NVAPI_OK) return false;
  major = ToField(version / 100);
  minor = ToField(version % 100);
  NvAPI_Unload();
  return true;
}

}  // namespace Vexil
