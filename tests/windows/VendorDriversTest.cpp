#include <Vexil/Vexil.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <sstream>

namespace Vexil::Tests {

using namespace FlatBuffers;
using IDs = std::unordered_set<std::string>;

/// The interface as hosts were compiled against it: operations are called by their place, so none may
/// move. Written apart from the class, with which it has nothing but the order in common. (Not in a namespace without
/// name: the compiler would conclude that nobody implements it.)
class Places {
 public:
  virtual ~Places() = default;
  virtual int Place1() const = 0;
  virtual bool Place2(const DetectOptions&) = 0;
  virtual IDs Place3() = 0;
  virtual IDs Place4(Vendor) = 0;
  virtual IDs Place5(ComputeAPI) = 0;
  virtual IDs Place6(GPUType) = 0;
  virtual IDs Place7(const std::string&) = 0;
  virtual std::string Place8() = 0;
  virtual const GPUT& Place9() = 0;
  virtual IDs Place10(const std::string&, ComputeAPI) = 0;
  virtual const GPUT& Place11(const std::string&) = 0;
  virtual const std::vector<GPUT>& Place12() = 0;
  virtual const std::vector<MonitorT>& Place13() = 0;
  virtual const SystemT& Place14() = 0;
  virtual bool Place15(std::uint64_t&, std::uint64_t&) = 0;
  virtual bool Place16(const std::string&, std::uint64_t&, std::uint64_t&) = 0;
  virtual void Place17() = 0;
  virtual bool Place18(const std::string&) = 0;
  virtual bool Place19(std::ostream&) = 0;
  virtual bool Place20(std::vector<std::uint8_t>&) = 0;
};

namespace {

// vexil.dll as it is shipped, with the drivers of the machine in Driver.h beside it.

TEST(VendorDrivers, TellTheLibraryTheirGPUs) {
  Detector& detector = *GetInstance();
  const auto& gpus = detector.GetGPUs();
  ASSERT_EQ(gpus.size(), 3U);
  for (const std::size_t index : {0U, 1U}) {
    const GPUT& card = gpus[index];
    EXPECT_EQ(card.vendor, Vendor::NVIDIA);
    EXPECT_EQ(card.name, "Card " + std::to_string(index));
    EXPECT_EQ(card.type, GPUType::Discrete);
    EXPECT_EQ(card.pci_location, index == 0 ? "PCI:65:0" : "PCI:66:0");
    EXPECT_EQ(card.hardware_id, index == 0 ? R"(PCI\VEN_10DE&DEV_2684&SUBSYS_889D1043&REV_A1)"
                                           : R"(PCI\VEN_10DE&DEV_2685&SUBSYS_889D1043&REV_A1)");
    EXPECT_EQ(card.vram_mib, 24 * 1024);
    EXPECT_EQ(card.cuda_index, static_cast<int>(index));
    EXPECT_EQ(card.cuda_compute_major, 8);
    EXPECT_EQ(card.cuda_compute_minor, 9);
    EXPECT_EQ(card.cuda_peers, (std::vector<std::int32_t>{static_cast<int>(1 - index)}));
    EXPECT_EQ(card.pcie_link_width, 8);
    EXPECT_EQ(card.pcie_max_link_width, 16);
    EXPECT_EQ(card.pcie_generation, 3);
    EXPECT_EQ(card.pcie_max_generation, 4);
  }
  const GPUT& integrated = gpus[2];
  EXPECT_EQ(integrated.vendor, Vendor::AMD);
  EXPECT_EQ(integrated.name, "Radeon Graphics");
  EXPECT_EQ(integrated.type, GPUType::Integrated);
  EXPECT_EQ(integrated.pci_location, "PCI:3:0.1");
  EXPECT_EQ(integrated.hardware_id, R"(PCI\VEN_1002&DEV_164E&SUBSYS_88771043&REV_C1)");

  const SystemT& system = detector.GetSystem();
  EXPECT_EQ(system.nvidia_driver_major, 537);
  EXPECT_EQ(system.nvidia_driver_minor, 41);
  EXPECT_EQ(system.cuda_driver_major, 12);
  EXPECT_EQ(system.cuda_driver_minor, 2);
  EXPECT_EQ(system.amd_driver_version, "23.10.01.41-230915a");
  EXPECT_EQ(system.amd_driver_major, 23);
  EXPECT_EQ(system.amd_driver_minor, 10);

  for (const char* driver : {"nvcuda.dll", "nvml.dll", "atiadlxx.dll"}) {
    EXPECT_EQ(GetModuleHandleA(driver), nullptr) << driver << " is still loaded";
  }
}

TEST(VendorDrivers, TellLiveMemoryAfterTheRun) {
  Detector& detector = *GetInstance();
  const std::string card = detector.GetGPUs().at(1).id;
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  ASSERT_TRUE(detector.GetGPUMemory(card, free, total));
  EXPECT_EQ(total, 24'000'001'000U);
  const std::uint64_t earlier = free;
  EXPECT_GT(earlier, 19'000'000'000U);
  ASSERT_TRUE(detector.GetGPUMemory(card, free, total));
  EXPECT_EQ(free, earlier - 1000);
}

TEST(BinaryInterface, KeepsEachOperationInItsPlace) {
  Places& places = *reinterpret_cast<Places*>(GetInstance());
  EXPECT_EQ(places.Place1(), 1);
  DetectOptions silently;
  silently.Silent = true;
  EXPECT_TRUE(places.Place2(silently));
  const auto& gpus = places.Place12();
  ASSERT_EQ(gpus.size(), 3U);
  const std::string first = gpus[0].id;
  const std::string second = gpus[1].id;
  const std::string third = gpus[2].id;
  EXPECT_EQ(places.Place3(), (IDs{first, second, third}));
  // The same number, 2, in three meanings.
  EXPECT_EQ(places.Place4(Vendor::AMD), (IDs{third}));
  EXPECT_EQ(places.Place5(ComputeAPI::OpenCL), IDs{});
  EXPECT_EQ(places.Place6(GPUType::Discrete), (IDs{first, second}));
  EXPECT_EQ(places.Place7("nvidia card 1"), (IDs{second}));
  EXPECT_EQ(places.Place8(), first);
  EXPECT_EQ(&places.Place9(), gpus.data());
  EXPECT_EQ(places.Place10(first, ComputeAPI::CUDA), (IDs{second}));
  EXPECT_EQ(&places.Place11(third), &gpus[2]);
  EXPECT_TRUE(places.Place13().empty());
  EXPECT_EQ(places.Place14().os, OS::Windows);
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  EXPECT_TRUE(places.Place15(free, total));
  EXPECT_GT(total, free);
  EXPECT_TRUE(places.Place16(first, free, total));
  EXPECT_EQ(total, 24'000'000'000U);
  places.Place17();
  EXPECT_FALSE(places.Place18("no such folder/result"));
  std::ostringstream stream;
  EXPECT_TRUE(places.Place19(stream));
  std::vector<std::uint8_t> buffer;
  EXPECT_TRUE(places.Place20(buffer));
  EXPECT_EQ(stream.str(), std::string(buffer.begin(), buffer.end()));
}

}  // namespace
}  // namespace Vexil::Tests
