#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Vexil/AMD/AMDDisplayLibrary.h"
#include "tests/unit/SourceTest.h"

namespace Vexil::Tests {
namespace {

using Simulation::Machine;
using Simulation::Observed;
using Simulation::SetMachine;

class AMDDLSource : public SourceTest {};

std::string DescribeAMDDL(const FlatBuffers::AMDDLGPUT& gpu) {
  return fmt::format("\"{}\" at {}:{}.{}, {}{}, {}, displays [{}]", gpu.name, gpu.pci_bus, gpu.pci_device,
                     gpu.pci_function, EnumNameGPUType(gpu.type), gpu.is_primary ? ", primary" : "", gpu.hardware_id,
                     fmt::join(gpu.display_names, " "));
}

TEST_F(AMDDLSource, Lists) {
  const Texts sound = {R"("AMD Radeon RX 6800 XT" at 3:0.0, Discrete, primary, )"
                       R"(PCI\VEN_1002&DEV_73BF&SUBSYS_0E3A1002&REV_C1, displays [\\.\DISPLAY6 \\.\DISPLAY7])",
                       R"("AMD Radeon PRO W6800" at 6:0.0, Discrete, )"
                       R"(PCI\VEN_1002&DEV_73A3&SUBSYS_0E1E1002&REV_00, displays [\\.\DISPLAY8 \\.\DISPLAY9])"};
  const auto first_with = [&](const std::string& part, const std::string& replacement) {
    return Texts{With({sound[0]}, {{part, replacement}})[0], sound[1]};
  };
  const auto first_entry = [](const std::function<void(Simulation::ADLAdapter&)>& change) {
    return [=](Machine& machine) { change(machine.adl->adapters[0]); };
  };
  const auto on_bus = [](std::uint32_t bus, std::size_t entries) {
    return [=](Machine& machine) {
      machine.adl->adapters.resize(entries);
      for (auto& adapter : machine.adl->adapters) adapter.pci.bus = bus;
      for (auto& adapter : machine.adl->adapters) adapter.pci.function = 1;
    };
  };
  const Texts unreadable = {"WARN Failed to enumerate adapters."};
  Check<FlatBuffers::AMDDLGPUT>(
      {
          {"sound", Nothing(), sound},
          {"warnings are no errors",
           [](Machine& machine) {
             for (const char* call :
                  {"ADL_Main_Control_Create", "ADL_Adapter_NumberOfAdapters_Get", "ADL_Adapter_Primary_Get",
                   "ADL_Adapter_AdapterInfo_Get", "ADL_Adapter_ASICFamilyType_Get"}) {
               machine.failures.push_back({call, {}, 1, true});
             }
           },
           sound},
          {"not installed", NotInstalled(&Machine::adl), {}},
          {"required entry point", Missing(&Machine::adl, "ADL_Adapter_ASICFamilyType_Get"), {}},
          {"count",
           Failing("ADL_Adapter_NumberOfAdapters_Get"),
           {},
           {"WARN Failed to enumerate, adapter enumeration error."}},
          {"no adapters",
           [](Machine& machine) { machine.adl->adapters.clear(); },
           {},
           {"WARN Failed to enumerate, no adapters found."}},
          {"adapters", Failing("ADL_Adapter_AdapterInfo_Get"), {}, unreadable},
          {"negative count", [](Machine& machine) { machine.adl->claimed_count = -1; }, {}, unreadable},
          {"absurd count", [](Machine& machine) { machine.adl->claimed_count = 2000000000; }, {}, unreadable},
          {"more adapters than there are", [](Machine& machine) { machine.adl->claimed_count = 100; }, sound},
          {"no primary", Failing("ADL_Adapter_Primary_Get"), first_with(", primary", "")},
          {"an old driver", Missing(&Machine::adl, "ADL_Adapter_Primary_Get"), first_with(", primary", "")},
          {"unknown type", Failing("ADL_Adapter_ASICFamilyType_Get", 0), first_with("Discrete", "Unknown")},
          {"integrated", first_entry([](auto& entry) { entry.asic_types = 0x2; }),
           first_with("Discrete", "Integrated")},
          {"fusion", first_entry([](auto& entry) { entry.asic_types = 0x25; }), first_with("Discrete", "Integrated")},
          {"vendors' ids that count",
           [](Machine& machine) {
             for (std::size_t i = 0; i < 4; ++i)
               machine.adl->adapters[i].vendor_id = std::array{0x1022, 1002, 1022, 4098}[i];
           },
           sound},
          {"another vendor", [](Machine& machine) { machine.adl->adapters[1].vendor_id = 0x10DE; },
           first_with(R"( \\.\DISPLAY7)", "")},
          {"entries that differ in the function only",
           [](Machine& machine) { machine.adl->adapters[1].pci.function = 1; }, sound},
          {"no hardware id", first_entry([](auto& entry) { entry.pnp = R"(PCI\VEN_1002&DEV_73BF)"; }),
           first_with(R"(PCI\VEN_1002&DEV_73BF&SUBSYS_0E3A1002&REV_C1)", "")},
          {"texts without end", first_entry([](auto& entry) { entry.name = entry.display = std::string(300, 'x'); }),
           With(sound, {{"AMD Radeon RX 6800 XT", std::string(256, 'x')}, {R"(\\.\DISPLAY6)", std::string(256, 'x')}})},
          {"the only GPU is on a bus that cannot be",
           on_bus(256, 2),
           With({sound[0]}, {{"3:0.0", "0:0.0"}}),
           {"WARN AMD VM workaround: set PCI 256:0.1 to 0:0.0"}},
          {"the last bus that can be", on_bus(255, 2), With({sound[0]}, {{"3:0.0", "255:0.1"}})},
          {"one of two GPUs is on such a bus",
           first_entry([](auto& entry) { entry.pci.bus = 300; }),
           {With({sound[0]}, {{"3:0.0", "300:0.0"}, {R"( \\.\DISPLAY7)", ""}})[0],
            With({sound[0]}, {{", primary", ""}, {R"(\\.\DISPLAY6 )", ""}})[0], sound[1]}},
      },
      GetAMDDLGPUs, DescribeAMDDL);
}

TEST_F(AMDDLSource, StaysLoadedWhereItDoesNotStart) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.failures = {{"ADL_Main_Control_Create", {}}};
  SetMachine(machine);
  EXPECT_TRUE(GetAMDDLGPUs().records.empty());
  EXPECT_EQ(TakeLog(), Texts{"WARN Failed to initialize, control create error."});
  EXPECT_TRUE(Observed().pinned.contains("atiadlxx.dll"));
}

TEST_F(AMDDLSource, StartsOnce) {
  SetMachine(LoadTestMachine("five-gpus"));
  AMDDisplayLibrary library;
  EXPECT_TRUE(library.Initialize());
  EXPECT_TRUE(library.Initialize());
  EXPECT_EQ(Observed().up.at("atiadlxx.dll"), 1);
}

TEST_F(AMDDLSource, DriverVersion) {
  const struct {
    Change change;
    std::string version;
  } kCases[] = {
      {Nothing(), "true 31.0.21912.14 31.0"},
      {[](Machine& machine) { machine.adl->driver_version.clear(); }, "true  -1.-1"},
      {[](Machine& machine) { machine.adl->driver_version = "v7.14 of 2020"; }, "true v7.14 of 2020 7.14"},
      {Failing("ADL_Graphics_Versions_Get", {}, 1), "true 31.0.21912.14 31.0"},
      {Failing("ADL_Graphics_Versions_Get"), "false  -1.-1"},
      {NotInstalled(&Machine::adl), "false  -1.-1"},
  };
  for (const auto& test_case : kCases) {
    Machine machine = LoadTestMachine("five-gpus");
    test_case.change(machine);
    SetMachine(machine);
    std::string version = "old";
    std::int32_t major = 0;
    std::int32_t minor = 0;
    Account account;
    const bool known = GetAMDDriverVersion(version, major, minor, account);
    EXPECT_EQ(fmt::format("{} {} {}.{}", known, version, major, minor), test_case.version);
  }
}

}  // namespace
}  // namespace Vexil::Tests
