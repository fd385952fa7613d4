#include <fmt/format.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <setupapi.h>

#include <cstring>

#include "Vexil/Common/Unknown.h"
#include "Vexil/DetectGPUWindows/DirectXDetector.h"
#include "Vexil/DetectGPUWindows/DisplayDeviceDetector.h"
#include "tests/support/LogCapture.h"
#include "tests/windows/FakeDXGI.h"
#include "tests/windows/ImportPatch.h"
#include "tests/windows/SeededDesktop.h"
#include "tests/windows/Wine.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::DirectXGPUT;
using FlatBuffers::EnumDisplayDevicesGPUT;
using FlatBuffers::MonitorT;

int open_device_lists = 0;

HDEVINFO WINAPI OpenDeviceList(const GUID* device_class, PCSTR enumerator, HWND window, DWORD flags) {
  ++open_device_lists;
  EXPECT_EQ(flags, DWORD{DIGCF_PRESENT}) << "devices are searched that were removed";
  return RealFunction<decltype(SetupDiGetClassDevsA)>("setupapi.dll", "SetupDiGetClassDevsA")(device_class, enumerator,
                                                                                              window, flags);
}

BOOL WINAPI CloseDeviceList(HDEVINFO list) {
  --open_device_lists;
  return RealFunction<decltype(SetupDiDestroyDeviceInfoList)>("setupapi.dll", "SetupDiDestroyDeviceInfoList")(list);
}

/// Every list of devices that was obtained has to be given back.
class DisplaySources : public testing::Test {
 protected:
  void SetUp() override {
    if (!IsWine()) GTEST_SKIP() << "needs a desktop that can be seeded";
  }
  void TearDown() override { EXPECT_EQ(open_device_lists, 0); }

 private:
  ImportPatch<decltype(OpenDeviceList)> m_open{"SetupDiGetClassDevsA", OpenDeviceList};
  ImportPatch<decltype(CloseDeviceList)> m_close{"SetupDiDestroyDeviceInfoList", CloseDeviceList};
};

std::string ToText(const MonitorT& monitor) {
  return fmt::format("{} {} {}x{}@{}{}", monitor.device_name, monitor.name, monitor.width, monitor.height,
                     monitor.refresh_rate, monitor.is_main ? " main" : "");
}

template <typename GPU>
std::vector<std::string> MonitorsOf(const GPU& gpu) {
  std::vector<std::string> texts;
  for (const auto& monitor : gpu.monitors) {
    texts.push_back(ToText(*monitor));
    // Windows gives all monitors the key of their class.
    EXPECT_EQ(monitor->monitor_id, "4d36e96e-e325-11ce-bfc1-08002be10318");
    EXPECT_EQ(monitor->gpu_id, "");
  }
  return texts;
}

template <typename GPU>
std::string PlaceOf(const GPU& gpu) {
  return fmt::format("{}:{}.{}", gpu.pci_bus, gpu.pci_device, gpu.pci_function);
}

using Texts = std::vector<std::string>;

SeededGPU OneOutput(const std::string& name, const std::string& device_id) {
  return {.name = name, .device_id = device_id, .outputs = {{.monitors = {"Monitor"}}}};
}

TEST_F(DisplaySources, ListsEachAdapterOnceWithAllItsOutputs) {
  const std::string card_id = R"(PCI\VEN_10DE&DEV_1B80&SUBSYS_119E10DE&REV_A1)";
  const SeededDesktop desktop({
      {.name = "Card",
       .device_id = card_id,
       .outputs = {{.state_flags = kActive | kPrimary, .monitors = {"Left", "Right"}},
                   {.state_flags = 0, .monitors = {"Sleeping"}},
                   {.state_flags = kActive | kMirroring, .monitors = {"Mirror"}},
                   {.monitors = {"Above"}, .width = 800, .height = 600, .refresh_rate = 0}},
       .provider = "Card Maker"},
      {.name = "Dongle",
       .device_id = R"(PCI\VEN_8086&DEV_5912)",
       .outputs = {{.state_flags = kActive | kRemovable, .monitors = {"Beamer"}}}},
  });
  const auto gpus = GetEnumDisplayDevicesGPUs().records;
  ASSERT_EQ(gpus.size(), 2U);

  const EnumDisplayDevicesGPUT& card = gpus[0];
  EXPECT_EQ(card.key, SeededDesktop::AdapterKeyOf(0));
  EXPECT_EQ(card.driver, SeededDesktop::DriverOf(0));
  EXPECT_EQ(card.device_id, card_id);
  EXPECT_EQ(card.provider, "Card Maker");
  EXPECT_EQ(card.name, "Card");
  EXPECT_TRUE(card.is_primary);
  EXPECT_FALSE(card.is_removable);
  EXPECT_EQ(card.device_names, (Texts{R"(\\.\DISPLAY1)", R"(\\.\DISPLAY2)", R"(\\.\DISPLAY3)", R"(\\.\DISPLAY4)"}));
  EXPECT_EQ(MonitorsOf(card),
            (Texts{R"(\\.\DISPLAY1\Monitor0 Left 1920x1080@60 main)",
                   R"(\\.\DISPLAY1\Monitor1 Right 1920x1080@60 main)", R"(\\.\DISPLAY4\Monitor0 Above 800x600@0)"}));
  // Wine's SetupAPI does not know the place.
  EXPECT_EQ(PlaceOf(card), "-1:-1.-1");

  const EnumDisplayDevicesGPUT& dongle = gpus[1];
  EXPECT_EQ(dongle.key, SeededDesktop::AdapterKeyOf(1));
  EXPECT_FALSE(dongle.is_primary);
  EXPECT_TRUE(dongle.is_removable);
  EXPECT_EQ(MonitorsOf(dongle), (Texts{R"(\\.\DISPLAY5\Monitor0 Beamer 1920x1080@60)"}));
}

TEST_F(DisplaySources, LeaveOutAnAdapterWithoutDriver) {
  SeededGPU no_provider = OneOutput("No Provider", R"(PCI\VEN_1111)");
  no_provider.provider = "";
  SeededGPU no_driver = OneOutput("No Driver", R"(PCI\VEN_2222)");
  no_driver.has_driver = false;
  SeededGPU long_provider = OneOutput("Long Provider", R"(PCI\VEN_3333)");
  long_provider.provider = std::string(4095, 'x');
  SeededGPU longest_provider = OneOutput("Longest Provider", R"(PCI\VEN_4444)");
  longest_provider.provider = std::string(4094, 'x');

  const SeededDesktop desktop({no_provider, no_driver, long_provider, longest_provider});
  const auto log = LogCapture::Start();
  const auto gpus = GetEnumDisplayDevicesGPUs().records;
  ASSERT_EQ(gpus.size(), 1U);
  EXPECT_EQ(gpus[0].provider, longest_provider.provider);
  const std::string start = "ERROR Failed to find provider information of device ";
  EXPECT_EQ(log->lines, (Texts{start + "'No Provider': provider '' driver '" + SeededDesktop::DriverOf(0) + "'",
                               start + "'No Driver': provider 'Seeded Provider' driver ''",
                               start + "'Long Provider': provider '' driver '" + SeededDesktop::DriverOf(2) + "'"}));
}

TEST_F(DisplaySources, FindTheCitrixAdapterInAnyLetterCase) {
  const auto finds = [](const std::string& name) {
    const SeededDesktop desktop({OneOutput("Card", R"(PCI\VEN_10DE)"), OneOutput(name, R"(PCI\VEN_5853)")});
    return HasCitrixIndirectDisplay();
  };
  EXPECT_TRUE(finds("The citrix INDIRECT Display Adapter 2"));
  EXPECT_FALSE(finds("Citrix Display Adapter"));
}

// What Wine cannot show.

bool has_bus = true;
bool has_address = true;

BOOL WINAPI ReadDeviceProperty(HDEVINFO list, SP_DEVINFO_DATA* device, DWORD property, DWORD* type, BYTE* buffer,
                               DWORD size, DWORD* needed) {
  const auto answer = [&](bool known, DWORD value) {
    if (!known || size != sizeof(value)) return FALSE;
    std::memcpy(buffer, &value, sizeof(value));
    return TRUE;
  };
  if (property == SPDRP_BUSNUMBER) return answer(has_bus, 65);
  if (property == SPDRP_ADDRESS) return answer(has_address, 0x00030001);
  return RealFunction<decltype(SetupDiGetDeviceRegistryPropertyA)>("setupapi.dll", "SetupDiGetDeviceRegistryPropertyA")(
      list, device, property, type, buffer, size, needed);
}

TEST_F(DisplaySources, TakeThePlaceOnlyWhereBusAndAddressAreKnown) {
  const SeededDesktop desktop({OneOutput("Card", R"(PCI\VEN_10DE)")});
  const ImportPatch patch("SetupDiGetDeviceRegistryPropertyA", ReadDeviceProperty);
  const auto place = [](bool bus, bool address) {
    has_bus = bus;
    has_address = address;
    const auto gpus = GetEnumDisplayDevicesGPUs().records;
    return gpus.size() == 1 ? PlaceOf(gpus[0]) : "no GPU";
  };
  EXPECT_EQ(place(true, true), "65:3.1");
  EXPECT_EQ(place(true, false), "-1:-1.-1");
  EXPECT_EQ(place(false, true), "-1:-1.-1");
  const ImportPatch no_list(
      "SetupDiGetClassDevsA", +[](const GUID*, PCSTR, HWND, DWORD) { return HDEVINFO{INVALID_HANDLE_VALUE}; });
  EXPECT_EQ(place(true, true), "-1:-1.-1");
}

TEST_F(DisplaySources, TellTheModeThatIsNotTheOneStored) {
  const SeededDesktop desktop({OneOutput("Card", R"(PCI\VEN_10DE)")});
  const ImportPatch patch(
      "EnumDisplaySettingsA", +[](LPCSTR, DWORD which, DEVMODEA* mode) {
        mode->dmPelsWidth = which == ENUM_CURRENT_SETTINGS ? 800 : 1024;
        return TRUE;
      });
  const auto gpus = GetEnumDisplayDevicesGPUs().records;
  ASSERT_EQ(gpus.size(), 1U);
  EXPECT_EQ(MonitorsOf(gpus[0]), (Texts{R"(\\.\DISPLAY1\Monitor0 Monitor 800x0@0)"}));
}

TEST_F(DisplaySources, KeepAMonitorWithoutMode) {
  const SeededDesktop desktop({OneOutput("Card", R"(PCI\VEN_10DE)")});
  const ImportPatch patch(
      "EnumDisplaySettingsA", +[](LPCSTR, DWORD, DEVMODEA*) { return FALSE; });
  const auto gpus = GetEnumDisplayDevicesGPUs().records;
  ASSERT_EQ(gpus.size(), 1U);
  EXPECT_EQ(MonitorsOf(gpus[0]), (Texts{R"(\\.\DISPLAY1\Monitor0 Monitor -1x-1@-1)"}));
}

TEST_F(DisplaySources, EndWithTheWindowSystemsList) {
  const auto log = LogCapture::Start();
  {
    const ImportPatch patch(
        "EnumDisplayDevicesA", +[](LPCSTR, DWORD, DISPLAY_DEVICEA*, DWORD) { return FALSE; });
    EXPECT_TRUE(GetEnumDisplayDevicesGPUs().records.empty());
    EXPECT_FALSE(HasCitrixIndirectDisplay());
  }
  // A list without end, of adapters without a key.
  const ImportPatch patch(
      "EnumDisplayDevicesA", +[](LPCSTR, DWORD, DISPLAY_DEVICEA*, DWORD) { return TRUE; });
  EXPECT_TRUE(GetEnumDisplayDevicesGPUs().records.empty());
  EXPECT_FALSE(HasCitrixIndirectDisplay());
  EXPECT_EQ(log->lines, Texts{});
}

// DXGI's adapters are fakes, since Wine has one at most. SetupAPI and the outputs are Wine's.

constexpr std::uint64_t kCardLUID = 0x0000'0001'0000'0007;
constexpr std::uint64_t kTwinLUID = 0x0000'0002'0000'0007;

std::vector<SeededGPU> TwoPlacedGPUs() {
  SeededGPU card = OneOutput("Card", R"(PCI\VEN_1002&DEV_67DF)");
  card.outputs.push_back({.monitors = {"Second"}, .width = 800, .height = 600, .refresh_rate = 75});
  card.luid = kCardLUID;
  card.bus = 256;
  card.address = 0x00020001;
  SeededGPU twin = OneOutput("Twin", R"(PCI\VEN_1002&DEV_67E0)");
  twin.luid = kTwinLUID;
  twin.bus = 66;
  return {card, twin};
}

TEST_F(DisplaySources, ListDirectXAdaptersWithPlaceAndMonitors) {
  const SeededDesktop desktop(TwoPlacedGPUs());
  const FakeDXGI dxgi({
      {.name = L"Card",
       .vendor_id = 0x1002,
       .device_id = 0x67DF,
       .subsys_id = 0xC580,
       .revision = 0xE7,
       .dedicated_video_memory = 8ULL << 30,
       .shared_system_memory = (16ULL << 30) - 1,
       .luid = kCardLUID,
       .outputs = {LR"(\\.\DISPLAY1)", LR"(\\.\DISPLAY2)"}},
      {.name = L"Tw\x0169n \xE9", .luid = kTwinLUID, .outputs = {LR"(\\.\DISPLAY3)"}},
      {.name = std::wstring(200, L'x'), .luid = 7},
  });
  const auto gpus = GetDirectXGPUs().records;
  EXPECT_EQ(FakeDXGI::References(), 0);
  ASSERT_EQ(gpus.size(), 3U);

  const DirectXGPUT& card = gpus[0];
  EXPECT_EQ(card.name, "Card");
  EXPECT_TRUE(card.is_first_adapter);
  EXPECT_EQ(card.vendor_id, 0x1002);
  EXPECT_EQ(card.device_id, 0x67DF);
  EXPECT_EQ(card.subsys_id, 0xC580);
  EXPECT_EQ(card.revision, 0xE7);
  EXPECT_EQ(card.dedicated_video_memory_mib, 8192);
  EXPECT_EQ(card.shared_system_memory_mib, 16383);
  EXPECT_EQ(PlaceOf(card), "0:2.1");
  EXPECT_EQ(card.output_names, (Texts{R"(\\.\DISPLAY1)", R"(\\.\DISPLAY2)"}));
  EXPECT_EQ(MonitorsOf(card), (Texts{R"(\\.\DISPLAY1\Monitor0 Monitor 1920x1080@60 main)",
                                     R"(\\.\DISPLAY2\Monitor0 Second 800x600@75 main)"}));

  // Known by the other half of the LUID; bus and address each count by themselves.
  EXPECT_EQ(gpus[1].name, "Twin \xE9");
  EXPECT_FALSE(gpus[1].is_first_adapter);
  EXPECT_EQ(PlaceOf(gpus[1]), "66:-1.-1");
  EXPECT_EQ(MonitorsOf(gpus[1]), (Texts{R"(\\.\DISPLAY3\Monitor0 Monitor 1920x1080@60)"}));

  EXPECT_EQ(gpus[2].name, std::string(128, 'x'));
  EXPECT_EQ(PlaceOf(gpus[2]), "-1:-1.-1");
}

TEST_F(DisplaySources, PassOverDirectXAdaptersThatAreNoHardware) {
  constexpr std::uint32_t kSoftware = 2;
  const FakeDXGI dxgi({{.name = L"MICROSOFT Basic Render Driver"},
                       {.name = L"Software", .flags = kSoftware},
                       {.name = L"Old", .has_adapter2 = false},
                       {.name = L"Card"}});
  const auto gpus = GetDirectXGPUs().records;
  EXPECT_EQ(FakeDXGI::References(), 0);
  ASSERT_EQ(gpus.size(), 1U);
  EXPECT_EQ(gpus[0].name, "Card");
  // The place of the first adapter is taken, even by one that is passed over.
  EXPECT_FALSE(gpus[0].is_first_adapter);
}

TEST_F(DisplaySources, AreEmptyWithoutDXGI) {
  const FakeDXGI dxgi({});
  EXPECT_TRUE(GetDirectXGPUs().records.empty());
}

}  // namespace
}  // namespace Vexil::Tests
