#include "SystemInfo/WindowsSystemInfo.h"

#include <cstdlib>

#include "AMD/AMDDisplayLibrary.h"
#include "Common/Naming.h"
#include "Common/Text.h"
#include "Common/Unknown.h"
#include "DetectCommon/CUDADetector.h"
#include "DetectCommon/IntelDriverVersion.h"
#include "DetectGPUWindows/DisplayDeviceDetector.h"
#include "NVIDIA/NvAPIDriverVersion.h"
#include "Windows/Kernel.h"
#include "Windows/Registry.h"

namespace Vexil {
namespace {

std::string ReadOSVersion() {
  const std::string key = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)";
  const std::string build = Trim(ReadRegistryString(key, "CurrentBuildNumber"));
  std::string product = ReadRegistryString(key, "ProductName");
  // Windows 11 still calls itself Windows 10 here.
  constexpr long kFirstWindows11Build = 22000;
  if (std::strtol(build.c_str(), nullptr, 10) >= kFirstWindows11Build) {
    product = ReplaceAllNoCase(product, "Windows 10", "Windows 11");
  }
  return Trim(ReplaceAllNoCase(product, "Windows", "")) + " (Build " + build + ")";
}

std::string ReadModel() {
  const std::string key = R"(HARDWARE\DESCRIPTION\System\BIOS)";
  // Of the maker only its first word: "ASUSTeK COMPUTER INC." says no more than "ASUSTeK".
  const auto words = Split(ReadRegistryString(key, "BaseBoardManufacturer"), ' ', EmptyPieces::Drop);
  const std::string maker = words.empty() ? std::string() : Trim(words.front());
  return Trim(maker + " " + Trim(ReadRegistryString(key, "BaseBoardProduct")));
}

}  // namespace

FlatBuffers::SystemT GetWindowsSystemInfo() {
  FlatBuffers::SystemT system;
  system.os = FlatBuffers::OS::Windows;
  system.system_id = ReadRegistryString(R"(SOFTWARE\Microsoft\Cryptography)", "MachineGuid");
  system.os_version = ReadOSVersion();
  system.model = ReadModel();
  system.cpu_name =
      CleanCPUName(ReadRegistryString(R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)", "ProcessorNameString"));
  system.arch = kBuildArchitecture;
  system.cpu_threads = ToField(GetProcessorCount());
  if (const auto memory = GetPhysicalMemory()) system.ram_mib = BytesToMiB(memory->total);

  ReadNVIDIADriverVersion(system.nvidia_driver_major, system.nvidia_driver_minor);
  GetCUDADriverVersion(system.cuda_driver_major, system.cuda_driver_minor);
  GetAMDDriverVersion(system.amd_driver_version, system.amd_driver_major, system.amd_driver_minor);
  GetIntelDriverVersion(system.intel_driver_version, system.intel_driver_version_parts);

  system.citrix_indirect_display = HasCitrixIndirectDisplay();
  return system;
}

}  // namespace Vexil
