#include "Vexil/NVIDIA/NvAPIDriverVersion.h"

#include "Vexil/Common/Unknown.h"
#include "Vexil/NVIDIA/NvAPI.h"

namespace Vexil {

bool ReadNVIDIADriverVersion(std::int32_t& major, std::int32_t& minor, Account& account) {
  constexpr const char* kFields = "nvidia_driver_major, nvidia_driver_minor";
  Account nvapi;
  const bool is_up = NvAPI_Initialize(nvapi) == NVAPI_OK;
  account.Append(nvapi, kFields);
  if (!is_up) return false;
  NvU32 version = 0;
  NvAPI_ShortString branch = {};
  // Where this fails NVAPI is left up.
  if (!NvAPI_SYS_GetDriverAndBranchVersion.Tells(account, kFields, &version, branch)) return false;
  major = ToField(version / 100);
  minor = ToField(version % 100);
  NvAPI_Unload();
  return true;
}

}  // namespace Vexil
