#include "Vexil/SystemInfo/WindowsSystemInfo.h"

#include <cstdlib>

#include "Vexil/AMD/AMDDisplayLibrary.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/DetectCommon/CUDADetector.h"
#include "Vexil/DetectCommon/IntelDriverVersion.h"
#include "Vexil/DetectGPUWindows/DisplayDeviceDetector.h"
#include "Vexil/NVIDIA/NvAPIDriverVersion.h"
#include "Vexil/Platform/Kernel.h"
#include "Vexil/Platform/Registry.h"

namespace Vexil {
namespace {

/// Reads a text that fills `field`.
std::string ReadText(Account& account, const char* field, const std::string& key, const std::string& value) {
  std::string text = ReadRegistryString(key, value);
  if (text.empty()) account.Miss(field, "RegGetValueA " + value);
  return text;
}

std::string ReadOSVersion(Account& account) {
  const std::string key = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)";
  const std::string build = Trim(ReadText(account, "os_version", key, "CurrentBuildNumber"));
  std::string product = ReadText(account, "os_version", key, "ProductName");
  // Windows 11 still calls itself Windows 10 here.
  constexpr long kFirstWindows11Build = 22000;
  if (std::strtol(build.c_str(), nullptr, 10) >= kFirstWindows11Build) {
    product = ReplaceAllNoCase(product, "Windows 10", "Windows 11");
  }
  return Trim(ReplaceAllNoCase(product, "Windows", "")) + " (Build " + build + ")";
}

std::string ReadModel(Account& account) {
  const std::string key = R"(HARDWARE\DESCRIPTION\System\BIOS)";
  // Of the maker only its first word: "ASUSTeK COMPUTER INC." says no more than "ASUSTeK".
  const auto words = Split(ReadText(account, "model", key, "BaseBoardManufacturer"), ' ', EmptyPieces::Drop);
  const std::string maker = words.empty() ? std::string() : Trim(words.front());
  return Trim(maker + " " + Trim(ReadText(account, "model", key, "BaseBoardProduct")));
}

}  // namespace

FlatBuffers::SystemT GetWindowsSystemInfo(Account& account) {
  FlatBuffers::SystemT system;
  system.os = FlatBuffers::OS::Windows;
  system.system_id = ReadText(account, "system_id", R"(SOFTWARE\Microsoft\Cryptography)", "MachineGuid");
  system.os_version = ReadOSVersion(account);
  system.model = ReadModel(account);
  system.cpu_name = CleanCPUName(
      ReadText(account, "cpu_name", R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)", "ProcessorNameString"));
  system.arch = kBuildArchitecture;
  system.cpu_threads = ToField(GetProcessorCount());
  const auto memory = GetPhysicalMemory();
  if (memory) {
    system.ram_mib = BytesToMiB(memory->total);
  } else {
    account.Miss("ram_mib", "GlobalMemoryStatusEx");
  }

  ReadNVIDIADriverVersion(system.nvidia_driver_major, system.nvidia_driver_minor, account);
  GetCUDADriverVersion(system.cuda_driver_major, system.cuda_driver_minor, account);
  GetAMDDriverVersion(system.amd_driver_version, system.amd_driver_major, system.amd_driver_minor, account);
  GetIntelDriverVersion(system.intel_driver_version, system.intel_driver_version_parts, account);

  system.citrix_indirect_display = HasCitrixIndirectDisplay();
  return system;
}

}  // namespace Vexil
