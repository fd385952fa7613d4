#pragma once

#include <cstdint>

#include "Vexil/NVIDIA/NvAPILoader.h"

namespace Vexil {

// NVAPI, nvapi64.dll, which comes with NVIDIA's graphics driver: one line per function, with its name and the
// number by which the library hands it out.

using NvU32 = std::uint32_t;
using NvAPI_ShortString = char[64];
using NvPhysicalGpuHandle = struct NvPhysicalGpuHandle_st*;
using NvDisplayHandle = struct NvDisplayHandle_st*;
using NvUnAttachedDisplayHandle = struct NvUnAttachedDisplayHandle_st*;
inline constexpr NvU32 NVAPI_MAX_PHYSICAL_GPUS = 64;

inline constexpr NvU32 NV_SYSTEM_TYPE_LAPTOP = 1;
inline constexpr NvU32 NV_SYSTEM_TYPE_IGPU = 1;
inline constexpr NvU32 NV_SYSTEM_TYPE_DGPU = 2;

/// KiB.
struct NV_DISPLAY_DRIVER_MEMORY_INFO_V3 {
  NvU32 version;
  NvU32 dedicatedVideoMemory;
  NvU32 availableDedicatedVideoMemory;
  NvU32 systemVideoMemory;
  NvU32 sharedSystemMemory;
  NvU32 curAvailableDedicatedVideoMemory;
  NvU32 dedicatedVideoMemoryEvictionsSize;
  NvU32 dedicatedVideoMemoryEvictionCount;
};
static_assert(sizeof(NV_DISPLAY_DRIVER_MEMORY_INFO_V3) == 32);
inline constexpr NvU32 NV_DISPLAY_DRIVER_MEMORY_INFO_VER_3 = sizeof(NV_DISPLAY_DRIVER_MEMORY_INFO_V3) | (3U << 16);

inline constexpr NvAPIFunction<NvU32* /*version*/, char* /*branch*/> NvAPI_SYS_GetDriverAndBranchVersion{
    {"NvAPI_SYS_GetDriverAndBranchVersion", 0x2926AAAD}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle*, NvU32* /*count*/> NvAPI_EnumPhysicalGPUs{
    {"NvAPI_EnumPhysicalGPUs", 0xE5AC921F, Need::Required}};

inline constexpr NvAPIFunction<NvU32 /*index*/, NvDisplayHandle*> NvAPI_EnumNvidiaDisplayHandle{
    {"NvAPI_EnumNvidiaDisplayHandle", 0x9ABDD40D}};
inline constexpr NvAPIFunction<NvDisplayHandle, char*> NvAPI_GetAssociatedNvidiaDisplayName{
    {"NvAPI_GetAssociatedNvidiaDisplayName", 0x22A78B05}};
inline constexpr NvAPIFunction<NvDisplayHandle, NvPhysicalGpuHandle*, NvU32* /*count*/>
    NvAPI_GetPhysicalGPUsFromDisplay{{"NvAPI_GetPhysicalGPUsFromDisplay", 0x34EF9506}};

inline constexpr NvAPIFunction<NvU32 /*index*/, NvUnAttachedDisplayHandle*> NvAPI_EnumNvidiaUnAttachedDisplayHandle{
    {"NvAPI_EnumNvidiaUnAttachedDisplayHandle", 0x20DE9260}};
inline constexpr NvAPIFunction<NvUnAttachedDisplayHandle, char*> NvAPI_GetUnAttachedAssociatedDisplayName{
    {"NvAPI_GetUnAttachedAssociatedDisplayName", 0x4888D790}};
inline constexpr NvAPIFunction<NvUnAttachedDisplayHandle, NvPhysicalGpuHandle*>
    NvAPI_GetPhysicalGPUFromUnAttachedDisplay{{"NvAPI_GetPhysicalGPUFromUnAttachedDisplay", 0x5018ED61}};

inline constexpr NvAPIFunction<NvPhysicalGpuHandle, char*> NvAPI_GPU_GetFullName{{"NvAPI_GPU_GetFullName", 0xCEEE8E9F}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, char*> NvAPI_GPU_GetVbiosVersionString{
    {"NvAPI_GPU_GetVbiosVersionString", 0xA561FD7D}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NvU32*> NvAPI_GPU_GetBusId{{"NvAPI_GPU_GetBusId", 0x1BE0B8E5}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NvU32*> NvAPI_GPU_GetBusSlotId{
    {"NvAPI_GPU_GetBusSlotId", 0x2A0A350F}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NvU32* /*device*/, NvU32* /*subsystem*/, NvU32* /*revision*/,
                               NvU32* /*external device*/>
    NvAPI_GPU_GetPCIIdentifiers{{"NvAPI_GPU_GetPCIIdentifiers", 0x2DDFB66E}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NvU32*> NvAPI_GPU_GetCurrentPCIEDownstreamWidth{
    {"NvAPI_GPU_GetCurrentPCIEDownstreamWidth", 0xD048C3B1}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NvU32*> NvAPI_GPU_GetSystemType{
    {"NvAPI_GPU_GetSystemType", 0xBAAABFCC}};
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NvU32*> NvAPI_GPU_GetGPUType{{"NvAPI_GPU_GetGPUType", 0xC33BAEB1}};

// Hosts ask for live memory at any time, long after the detection that had NVAPI up is over.
inline constexpr NvAPIFunction<NvPhysicalGpuHandle, NV_DISPLAY_DRIVER_MEMORY_INFO_V3*> NvAPI_GPU_GetMemoryInfo{
    {"NvAPI_GPU_GetMemoryInfo", 0x07F9B368}, WhenDown::BringUp};

}  // namespace Vexil
