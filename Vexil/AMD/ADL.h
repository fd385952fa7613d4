#pragma once

#include <cstddef>

namespace Vexil {

// The records of AMD's display library, laid out as AMD publishes them.

inline constexpr int ADL_OK = 0;
inline constexpr int ADL_OK_WARNING = 1;

inline constexpr int ADL_ASIC_INTEGRATED = 0x02;
inline constexpr int ADL_ASIC_FUSION = 0x20;

using ADL_MAIN_MALLOC_CALLBACK = void*(int size);

struct AdapterInfo {
  int iSize;
  int iAdapterIndex;
  char strUDID[256];
  int iBusNumber;
  int iDeviceNumber;
  int iFunctionNumber;
  int iVendorID;
  char strAdapterName[256];
  char strDisplayName[256];
  int iPresent;
  int iExist;
  char strDriverPath[256];
  char strDriverPathExt[256];
  char strPNPString[256];
  int iOSDisplayIndex;
};
static_assert(sizeof(AdapterInfo) == 1572 && offsetof(AdapterInfo, strPNPString) == 1312);

struct ADLVersionsInfo {
  char strDriverVer[256];
  char strCatalystVersion[256];
  char strCatalystWebLink[256];
};
static_assert(sizeof(ADLVersionsInfo) == 768);

}  // namespace Vexil
