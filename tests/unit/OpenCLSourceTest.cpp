#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Vexil/DetectCommon/IntelDriverVersion.h"
#include "Vexil/DetectCommon/OpenCLDetector.h"
#include "Vexil/DetectGPUWindows/DirectXDetector.h"
#include "tests/unit/SourceTest.h"

namespace Vexil::Tests {
namespace {

using Simulation::Machine;
using Simulation::Observed;
using Simulation::SetMachine;

class OpenCLSource : public SourceTest {};

std::string DescribeOpenCL(const FlatBuffers::OpenCLGPUT& gpu) {
  Texts peers;
  for (const std::uint64_t peer : gpu.peers) peers.push_back(fmt::format("{:x}", peer));
  return fmt::format("{:x} \"{}\" on \"{}\" {}.{}, {}, \"{}\", {} MiB{}{}{} at {}:{}, peers [{}]", gpu.device_id,
                     gpu.name, gpu.platform_name, gpu.version_major, gpu.version_minor, gpu.vendor, gpu.driver_version,
                     gpu.memory_mib, gpu.host_unified_memory ? " unified" : "", gpu.nv_attribute_query ? " NV" : "",
                     gpu.amd_attribute_query ? " AMD" : "", gpu.pci_bus, gpu.pci_device, fmt::join(peers, " "));
}

TEST_F(OpenCLSource, Lists) {
  const Texts nvidia = {R"(10001 "NVIDIA GeForce RTX 3090" on "NVIDIA CUDA" 3.0, NVIDIA Corporation, "537.41", )"
                        R"(24575 MiB NV at 1:0, peers [])",
                        R"(10002 "NVIDIA GeForce RTX 3090" on "NVIDIA CUDA" 3.0, NVIDIA Corporation, "537.41", )"
                        R"(24575 MiB NV at 65:0, peers [])"};
  const std::string on_amd = R"-( on "AMD Accelerated Parallel Processing" 2.1, Advanced Micro Devices, Inc., )-"
                             R"-("3570.0 (PAL,LC)", )-";
  const Texts amd = {"10001 \"Radeon RX 6800 XT\"" + on_amd + "16368 MiB AMD at 3:0, peers [10002]",
                     "10002 \"Radeon PRO W6800\"" + on_amd + "32752 MiB AMD at 6:0, peers [10001]"};
  const Texts intel = {
      R"-(10001 "Intel(R) UHD Graphics 770" on "Intel(R) OpenCL Graphics" 3.0, Intel(R) Corporation, )-"
      R"-("31.0.101.4502", 52334 MiB unified at -1:-1, peers [])-"};
  Texts all = nvidia;
  for (const std::string& record : With(amd, {{"1000", "2000"}})) all.push_back(record);
  for (const std::string& record : With(intel, {{"1000", "3000"}})) all.push_back(record);

  // Most cases are about one platform only, and change its first device.
  enum Platform { kNVIDIA, kAMD, kIntel };
  using Simulation::OpenCLDevice, Simulation::OpenCLPlatform;
  const auto only = [](Platform platform, const std::function<void(OpenCLPlatform&, OpenCLDevice&)>& change) {
    return [=](Machine& machine) {
      machine.opencl->platforms = {machine.opencl->platforms[platform]};
      change(machine.opencl->platforms[0], machine.opencl->platforms[0].devices[0]);
    };
  };
  const auto failing = [](Platform platform, const std::string& call) {
    return [=](Machine& machine) {
      machine.opencl->platforms = {machine.opencl->platforms[platform]};
      machine.failures = {{call, {}, 999, true}};
    };
  };
  const std::pair<std::string, std::string> first_unknown = {"at 3:0", "at -1:-1"};
  const std::pair<std::string, std::string> second_unknown = {"at 6:0", "at -1:-1"};
  Check<FlatBuffers::OpenCLGPUT>(
      {
          {"sound", Nothing(), all},
          {"not installed", NotInstalled(&Machine::opencl), {}},
          {"an old loader", Missing(&Machine::opencl, "clGetExtensionFunctionAddressForPlatform"), all},
          {"a required entry point", Missing(&Machine::opencl, "clGetDeviceInfo"), {}},
          {"no drivers", [](Machine& machine) { machine.opencl->platforms.clear(); }, {}},
          {"number of platforms", Failing("clGetPlatformIDs count"), {}},
          {"list of platforms", Failing("clGetPlatformIDs list"), {}},
          {"more platforms than there are", [](Machine& machine) { machine.opencl->claimed_count = 4000000000; }, all},
          {"number of devices", Failing("clGetDeviceIDs count"), {}},
          {"list of devices", Failing("clGetDeviceIDs list"), {}},
          {"processors are no GPUs", only(kIntel, [](auto&, auto& device) { device.is_gpu = false; }), {}},
          {"translation to Direct3D, by name",
           only(kIntel, [](auto& platform, auto&) { platform.name = "Microsoft openclon12 Intel"; }),
           {}},
          {"translation to Direct3D, by vendor",
           only(kIntel, [](auto& platform, auto&) { platform.device_vendor = "Microsoft"; }),
           {}},
          {"another vendor with that name in it",
           only(kIntel, [](auto& platform, auto&) { platform.device_vendor = "Microsoft Corporation"; }), intel},
          {"a software device on any platform",
           only(kIntel, [](auto&, auto& device) { device.name = "microsoft basic render driver"; }),
           {}},
          {"name", failing(kIntel, "clGetDeviceInfo 0x102b"), With(intel, {{"Intel(R) UHD Graphics 770", ""}})},
          {"memory", failing(kIntel, "clGetDeviceInfo 0x101f"), With(intel, {{"52334", "-1"}})},
          {"less than a MiB", only(kIntel, [](auto&, auto& device) { device.memory_bytes = 512 << 10; }),
           With(intel, {{"52334", "-1"}})},
          {"unified memory", failing(kIntel, "clGetDeviceInfo 0x1035"), With(intel, {{" unified", ""}})},
          {"no version", only(kIntel, [](auto& platform, auto&) { platform.version = "OpenCL C 1.2"; }),
           With(intel, {{"3.0", "-1.-1"}})},
          {"a version inside a text",
           only(kIntel, [](auto& platform, auto&) { platform.version = "the OpenCL 12.34."; }),
           With(intel, {{"3.0", "12.34"}})},
          {"the longest text", only(kIntel, [](auto&, auto& device) { device.claimed_text_size = 1 << 20; }), intel},
          {"texts of absurd size",
           only(kIntel, [](auto&, auto& device) { device.claimed_text_size = (1 << 20) + 1; }),
           {R"-(10001 "" on "Intel(R) OpenCL Graphics" 3.0, , "", 52334 MiB unified at -1:-1, peers [])-"}},
          {"blanks around a text",
           only(kIntel, [](auto&, auto& device) { device.driver_version = " \t31.0.101.4502\n"; }), intel},
          {"topology", failing(kAMD, "clGetDeviceInfo 0x4037"), With(amd, {first_unknown, second_unknown})},
          {"topology that is no PCI Express", only(kAMD, [](auto&, auto& device) { device.topology_type = 2; }),
           With(amd, {first_unknown})},
          {"high bus numbers are not negative",
           only(kAMD,
                [](auto&, auto& device) {
                  device.pci = {0xC3, 0x1F, 0};
                }),
           With(amd, {{"at 3:0", "at 195:31"}})},
          {"board names", failing(kAMD, "clGetDeviceInfo 0x4038"),
           With(amd, {{"Radeon RX 6800 XT", "gfx1030"}, {"Radeon PRO W6800", "gfx1030"}})},
          {"a board name without end",
           only(kAMD, [](auto&, auto& device) { device.board_name = std::string(5000, 'x'); }),
           With(amd, {{"Radeon RX 6800 XT", std::string(4096, 'x')}})},
          {"peers", failing(kAMD, "clGetDeviceInfo 0x4089"), With(amd, {{"[10002]", "[]"}, {"[10001]", "[]"}})},
          {"more peers than there are", only(kAMD, [](auto&, auto& device) { device.peer_count = 1ULL << 62; }), amd},
          {"peers of a maker known by the device's name",
           only(kAMD,
                [](auto&, auto& device) {
                  device.vendor = "Somebody";
                  device.name = "AMD gfx1030";
                }),
           {With({amd[0]}, {{"Advanced Micro Devices, Inc.", "Somebody"}})[0], amd[1]}},
          {"a single GPU has no peers", only(kAMD, [](auto& platform, auto&) { platform.devices.pop_back(); }),
           With({amd[0]}, {{"[10002]", "[]"}})},
          {"with both extensions NVIDIA's counts",
           only(kNVIDIA,
                [](auto& platform, auto& device) {
                  device.extensions += " CL_AMD_DEVICE_ATTRIBUTE_QUERY";
                  device.board_name = "no";
                  platform.devices.pop_back();
                }),
           With({nvidia[0]}, {{" NV ", " NV AMD "}})},
          {"NVIDIA's bus", failing(kNVIDIA, "clGetDeviceInfo 0x4008"),
           With(nvidia, {{"at 1:0", "at -1:-1"}, {"at 65:0", "at -1:-1"}})},
          {"NVIDIA's slot", failing(kNVIDIA, "clGetDeviceInfo 0x4009"),
           With(nvidia, {{"at 1:0", "at -1:-1"}, {"at 65:0", "at -1:-1"}})},
      },
      GetOpenCLGPUs, DescribeOpenCL);
  // Hosts have been given handles that point into it.
  EXPECT_TRUE(Observed().pinned.contains("OpenCL.dll"));
}

TEST_F(OpenCLSource, LiveMemoryOfAMDDevices) {
  const struct {
    std::uint64_t device;
    std::uint64_t free_kib;
    const char* failing;
    std::string memory;
  } kCases[] = {
      {0x20001, 8000000, "", "true 8000000000 of 17163091968"},
      {0x20001, 20000000, "", "true 17163091968 of 17163091968"},
      {0x20001, ~0ULL, "", "true 17163091968 of 17163091968"},
      {0x20001, 8000000, "clGetDeviceInfo 0x4039", "false 0 of 0"},
      {0x20001, 8000000, "clGetDeviceInfo 0x101f", "false 0 of 0"},
      {0x30001, 8000000, "", "false 0 of 0"},
      {0, 8000000, "", "false 0 of 0"},
  };
  for (const auto& test_case : kCases) {
    Machine machine = LoadTestMachine("five-gpus");
    machine.opencl->platforms[1].devices[0].free_memory_kib = test_case.free_kib;
    machine.failures = {{test_case.failing, {}}};
    SetMachine(machine);
    std::uint64_t available = 1;
    std::uint64_t total = 1;
    const bool known = GetAMDDeviceMemoryInfo(test_case.device, available, total);
    EXPECT_EQ(fmt::format("{} {} of {}", known, available, total), test_case.memory);
  }
}

TEST_F(OpenCLSource, IntelDriverVersion) {
  const struct {
    const char* name;
    std::vector<const char*> versions;
    std::string result;
  } kCases[] = {
      {"Intel(R) OpenCL Graphics", {"31.0.101.4502"}, "true 31.0.101.4502 [31 0 101 4502]"},
      {"clover of iNtEl", {"none", "v27.20.100.9664 beta"}, "true v27.20.100.9664 beta [27 20 100 9664]"},
      {"Intel(R) OpenCL Graphics", {"31.0.101.4502", "1.2.3.4"}, "true 31.0.101.4502 [31 0 101 4502]"},
      {"Intel(R) OpenCL Graphics", {"30.0.1", "27.20.100"}, "false 27.20.100 []"},
      {"Integrated Graphics", {"31.0.101.4502"}, "false  []"},
      {"Intel through openclon12", {"31.0.101.4502"}, "false  []"},
  };
  for (const auto& test_case : kCases) {
    Machine machine = LoadTestMachine("five-gpus");
    auto& platform = machine.opencl->platforms[2];
    platform.name = test_case.name;
    platform.devices.resize(test_case.versions.size(), platform.devices[0]);
    for (std::size_t i = 0; i < platform.devices.size(); ++i)
      platform.devices[i].driver_version = test_case.versions[i];
    SetMachine(machine);
    std::string version = "old";
    std::vector<std::int32_t> numbers = {1};
    Account account;
    const bool known = GetIntelDriverVersion(version, numbers, account);
    EXPECT_EQ(fmt::format("{} {} [{}]", known, version, fmt::join(numbers, " ")), test_case.result);
  }

  Machine machine = LoadTestMachine("five-gpus");
  auto& platforms = machine.opencl->platforms;
  platforms.push_back(platforms[2]);
  platforms[2].devices[0].driver_version = "of the first of two platforms, without numbers";
  SetMachine(machine);
  std::string version;
  std::vector<std::int32_t> numbers;
  Account account;
  EXPECT_TRUE(GetIntelDriverVersion(version, numbers, account));
  EXPECT_EQ(version, "31.0.101.4502");
}

std::string DescribeLink(const FlatBuffers::DirectXGPUT& gpu) {
  return fmt::format("{}: {:x} {:x}", gpu.name, gpu.opencl_platform_id, gpu.opencl_device_id);
}

TEST_F(OpenCLSource, SharesWithDirectXAdaptersOfItsVendor) {
  const std::string none = "ffffffffffffffff ffffffffffffffff";
  const auto links = [&](const std::string& amd1, const std::string& amd2, const std::string& intel) {
    return Texts{"NVIDIA GeForce RTX 3090: " + none, "AMD Radeon RX 6800 XT: " + amd1,
                 "NVIDIA GeForce RTX 3090: " + none, "AMD Radeon PRO W6800: " + amd2,
                 "Intel(R) UHD Graphics 770: " + intel};
  };
  Check<FlatBuffers::DirectXGPUT>(
      {
          {"sound", Nothing(), links("20000 20001", "20000 20002", "30000 30001")},
          {"no OpenCL", NotInstalled(&Machine::opencl), links(none, none, none)},
          {"the first of two platforms",
           [](Machine& machine) { machine.opencl->platforms.push_back(machine.opencl->platforms[1]); },
           links("20000 20001", "20000 20002", "30000 30001")},
          {"the second platform where the first does not share",
           [](Machine& machine) {
             machine.opencl->platforms.push_back(machine.opencl->platforms[1]);
             machine.opencl->platforms[1].extensions.clear();
           },
           links("50000 50001", "50000 50002", "30000 30001")},
          {"platforms that name one device for any adapter of theirs, but are asked for their vendor's only",
           [](Machine& machine) {
             for (auto& platform : machine.opencl->platforms) platform.shares_first_device = true;
           },
           links("20000 20001", "20000 20001", "30000 30001")},
          {"no address", FailingAtOnce("clGetExtensionFunctionAddressForPlatform"), links(none, none, none)},
          {"no device", Failing("clGetDeviceIDsFromD3D10KHR"), links(none, none, none)},
          {"success without a device", FailingAtOnce("clGetDeviceIDsFromD3D10KHR", {}, 0), links(none, none, none)},
          {"an adapter that no device has", [](Machine& machine) { machine.opencl->platforms[2].devices[0].luid = 1; },
           links("20000 20001", "20000 20002", none)},
      },
      GetDirectXGPUs, DescribeLink);
}

}  // namespace
}  // namespace Vexil::Tests
