#include "interfaces/Join.h"

#include <gtest/gtest.h>

#include <map>

#include "interfaces/FindingsJson.h"

namespace Vexil::Tests {
namespace {

using namespace Interfaces;

Device WithLUID(std::uint64_t luid) {
  Device device;
  device.luid = luid;
  return device;
}

Device AtPlace(const char* place, std::optional<std::uint64_t> luid = {}, const char* uuid = "") {
  Device device;
  device.pci = ParsePCIText(place);
  device.luid = luid;
  device.uuid = uuid;
  device.has_shared_uuid = !device.uuid.empty();
  return device;
}

Device WithUUID(const char* uuid, bool is_shared = true) {
  Device device;
  device.uuid = uuid;
  device.has_shared_uuid = is_shared;
  return device;
}

struct Joining {
  const char* what;
  std::vector<Told> told;
  /// For each GPU what is known of it, "interface by", in order.
  std::vector<std::vector<std::string>> expected;
  std::size_t others;
  std::vector<std::string> contradictions;
};

Told Tell(const char* interface, std::vector<Device> devices) {
  return {interface, {State::Answered, std::move(devices), {}, {}}};
}

TEST(Join, IsByWhatIdentifies) {
  // Two GPUs, at 01:00 and 41:00.0.
  const std::vector<std::optional<PCIPlace>> gpus = {ParsePCIText("01:00"), ParsePCIText("41:00.0")};
  const Told windows = Tell("Windows", {AtPlace("41:00.0", 0xB), AtPlace("01:00.0", 0xA)});
  const std::vector<Joining> cases = {
      {"Windows tells the LUIDs of places",
       {Tell("DXGI", {WithLUID(0xB), WithLUID(0xA)}), windows},
       {{"DXGI LUID", "Windows PCI"}, {"DXGI LUID", "Windows PCI"}},
       0,
       {}},
      {"a LUID that nobody places joins nothing",
       {Tell("DXGI", {WithLUID(0xC)}), windows},
       {{"Windows PCI"}, {"Windows PCI"}},
       1,
       {}},
      {"without Windows another interface tells both",
       {Tell("DXGI", {WithLUID(0xB)}), Tell("X", {AtPlace("41:00.0", 0xB)})},
       {{}, {"DXGI LUID", "X PCI"}},
       0,
       {}},
      {"a UUID is learned, whoever comes first",
       {Tell("NVML", {WithUUID("u")}), Tell("CUDA", {AtPlace("01:00.0", {}, "u")})},
       {{"NVML UUID", "CUDA PCI"}, {}},
       0,
       {}},
      {"a UUID that is not shared says nothing",
       {Tell("A", {AtPlace("01:00.0", {}, "u")}), Tell("B", {WithUUID("u", false)})},
       {{"A PCI"}, {}},
       1,
       {}},
      {"a domain or function that differs is another place",
       {Tell("A", {AtPlace("0000:41:00.0")}), Tell("B", {AtPlace("0001:41:00.0")}), Tell("C", {AtPlace("41:00.1")})},
       {{}, {"A PCI", "B PCI"}},
       1,
       {}},
      {"linked adapters share a LUID; places tell them apart",
       {Tell("Windows", {AtPlace("01:00.0", 0xA), AtPlace("41:00.0", 0xA)}), Tell("CUDA", {AtPlace("41:00.0", 0xA)}),
        Tell("DXGI", {WithLUID(0xA)})},
       {{"Windows PCI"}, {"Windows PCI", "CUDA PCI"}},
       1,
       {}},
      {"the LUID comes first, and the place that contradicts it is kept",
       {windows, Tell("X", {AtPlace("01:00.0", 0xB)})},
       {{"Windows PCI", "X PCI disputed"}, {"Windows PCI", "X LUID disputed"}},
       0,
       {"X  is GPU 1 by its LUID 0x0000000B, but GPU 0 by its PCI place 01:00.0"}},
      {"a name joins nothing", {Tell("X", {Device{}})}, {{}, {}}, 1, {}},
  };
  for (const Joining& c : cases) {
    SCOPED_TRACE(c.what);
    const Joined joined = Join(gpus, c.told);
    std::vector<std::vector<std::string>> found(joined.gpus.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
      for (const Known& known : joined.gpus[i]) {
        found[i].push_back(std::string(known.interface) + " " + known.by + (known.is_disputed ? " disputed" : ""));
      }
    }
    EXPECT_EQ(found, c.expected);
    EXPECT_EQ(joined.others.size(), c.others);
    EXPECT_EQ(joined.contradictions, c.contradictions);
  }
}

TEST(Findings, ComeThroughAPipeAsTheyWere) {
  Device device = AtPlace("00000000:c1:1f.7", 0xFFFFFFFF00000001, "GPU-1");
  device.number = "0:1";
  device.name = "\"A\"\n";
  device.node_mask = 2;
  device.more = {{"type", "cpu"}};
  const Findings findings = {State::Failed, {device, Device{}}, {"p"}, {"A=1"}};
  const Json json = ToJson(findings);
  const auto back = FromJson(Json::parse(json.dump()));
  ASSERT_TRUE(back);
  EXPECT_EQ(ToJson(*back), json);
  EXPECT_EQ(back->devices[0].luid, device.luid);
  EXPECT_EQ(back->devices[0].pci, device.pci);
  EXPECT_EQ(back->devices[0].More("type"), "cpu");

  // Rubbish of every kind is nothing.
  for (const char* rubbish : {"{}", "[]", "3", R"({"state": "happy", "problems": [], "cleared": [], "devices": []})",
                              R"({"state": "answered", "problems": 1, "cleared": [], "devices": []})",
                              R"({"state": "answered", "problems": [], "cleared": [], "devices": [{"number": 1}]})"}) {
    EXPECT_FALSE(FromJson(Json::parse(rubbish))) << rubbish;
  }
}

TEST(PCIText, IsReadInEveryForm) {
  struct Case {
    const char* text;
    const char* expected;  ///< Empty where it is none.
  };
  for (const Case& c : {Case{"00000000:41:00.0", "0000:41:00.0"}, Case{"0000:C1:1F.7", "0000:c1:1f.7"},
                        Case{"41:00.0", "41:00.0"}, Case{"41:00", "41:00"}, Case{"", ""}, Case{"41", ""},
                        Case{"x:41:00.0", ""}, Case{"41:00.", ""}, Case{"0:0:0:0", ""}, Case{"41:00.0.0", ""}}) {
    const auto place = ParsePCIText(c.text);
    EXPECT_EQ(place ? PCIText(*place) : "", c.expected) << c.text;
  }
}

}  // namespace
}  // namespace Vexil::Tests
