#include <algorithm>
#include <random>

#include "interfaces/Join.h"
#include "interfaces/platform/Environment.h"
#include "simulation/SimulatedLibraries.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

using namespace Simulation;

/// A machine with cards that are all equal but for what identifies them, which each interface lists in an order of its
/// own and tells in part.
class RandomCards {
 public:
  explicit RandomCards(std::uint64_t seed) : m_random(seed), cards(1 + Below(6)) {
    machine.cuda.emplace();
    machine.nvml.emplace();
    machine.nvapi.emplace();
    machine.opencl.emplace().platforms.resize(2);
    machine.vulkan.emplace();
    machine.hip.emplace();
    machine.dxgi.emplace();
    for (const std::size_t c : Shuffled("Windows")) machine.display_class.push_back({{}, Luid(c), Maybe(Place(c))});
    for (const std::size_t c : Shuffled("DXGI")) machine.dxgi->emplace_back().description.luid = *Luid(c);
    for (const std::size_t c : Shuffled("CUDA")) {
      CUDADevice& device = machine.cuda->devices.emplace_back();
      device.pci = Maybe(Place(c));
      device.uuid = Maybe(Uuid(c));
      device.luid = Maybe(*Luid(c));
    }
    for (const std::size_t c : Shuffled("NVML")) {
      NVMLDevice& device = machine.nvml->devices.emplace_back();
      device.pci = Maybe(Place(c));
      device.uuid = Maybe(Uuid(c));
    }
    for (const std::size_t c : Shuffled("NVAPI")) {
      NVAPIGPU& gpu = machine.nvapi->gpus.emplace_back();
      gpu.pci = Maybe(Place(c));
      gpu.luid = Maybe(*Luid(c));
    }
    for (const std::size_t c : Shuffled("Vulkan")) {
      VulkanDevice& device = machine.vulkan->devices.emplace_back();
      device.vendor_id = 0x10DE;
      device.uuid = Maybe(Uuid(c)).value_or(UUID());
      device.luid = Maybe(*Luid(c));
      device.pci = Maybe(Place(c));
    }
    for (const std::size_t c : Shuffled("HIP")) {
      HIPDevice& device = machine.hip->devices.emplace_back();
      device.pci = Maybe(Place(c));
      device.luid = Maybe(*Luid(c));
    }
    for (const std::size_t c : Shuffled("OpenCL")) {
      OpenCLDevice& device = machine.opencl->platforms[1].devices.emplace_back();
      device.extensions = "cl_khr_device_uuid cl_khr_pci_bus_info";
      device.vendor_id = 0x10DE;
      device.pci = Maybe(Place(c));
      device.own_luid = Maybe(*Luid(c));
    }
  }

  /// Which card the device with this number of an interface is.
  std::size_t CardOf(const std::string& interface, const std::string& number) const {
    const auto colon = number.find(':');
    return m_orders.at(interface).at(std::stoul(colon == std::string::npos ? number : number.substr(colon + 1)));
  }

 private:
  std::size_t Below(std::size_t end) { return static_cast<std::size_t>(m_random() % end); }

  template <typename Value>
  std::optional<Value> Maybe(const Value& value) {
    return Below(100) < 70 ? std::optional(value) : std::nullopt;
  }

  const std::vector<std::size_t>& Shuffled(const char* interface) {
    std::vector<std::size_t>& order = m_orders[interface];
    for (std::size_t c = 0; c < cards; ++c) order.push_back(c);
    std::shuffle(order.begin(), order.end(), m_random);
    return order;
  }

  static PCIAddress Place(std::size_t c) { return {static_cast<std::uint32_t>(1 + 32 * c), 0, 0}; }
  static std::optional<std::uint64_t> Luid(std::size_t c) { return 0xC0DE + c; }
  static UUID Uuid(std::size_t c) { return {0xAB, static_cast<unsigned char>(c)}; }

  std::mt19937_64 m_random;
  std::map<std::string, std::vector<std::size_t>> m_orders;

 public:
  std::size_t cards;
  Machine machine;
};

class Numbers : public MachineTest {};

TEST_F(Numbers, LeadBackToTheSameCard) {
  std::size_t joined_devices = 0;
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const RandomCards random(seed);
    SetMachine(random.machine);
    std::vector<std::optional<Interfaces::PCIPlace>> places;
    for (std::size_t c = 0; c < random.cards; ++c) {
      places.emplace_back(Interfaces::PCIPlace{{}, static_cast<std::uint32_t>(1 + 32 * c), 0, {}});
    }
    const auto joined = Interfaces::Join(places, Interfaces::AskInterfaces());
    EXPECT_EQ(joined.contradictions, std::vector<std::string>());
    for (std::size_t c = 0; c < random.cards; ++c) {
      for (const Interfaces::Known& known : joined.gpus[c]) {
        if (known.interface == std::string_view("Windows")) continue;
        EXPECT_EQ(random.CardOf(known.interface, known.device.number), c) << known.interface;
        ++joined_devices;
      }
    }
    EndProcess();
  }
  EXPECT_GT(joined_devices, 3000U);
}

TEST_F(Numbers, AreFoundWithoutTheVariablesThatHideDevices) {
  SetMachine(LoadTestMachine("two-equal-cards-shuffled"));
  std::vector<std::string> seen;
  WatchCalls([&](std::uint64_t, std::string_view call, std::string_view) {
    const auto& environment = TheMachine().environment;
    const auto variable = environment.find("CUDA_VISIBLE_DEVICES");
    const std::string value = variable != environment.end() ? variable->second : "clear";
    if (call == "cuInit" || call == "nvmlInit_v2") seen.push_back(std::string(call) + " " + value);
    return false;
  });
  Interfaces::AskInterfaces();
  EXPECT_EQ(seen, (std::vector<std::string>{"cuInit clear", "cuInit 1", "nvmlInit_v2 clear"}));
  EXPECT_EQ(Interfaces::GetVariable("CUDA_VISIBLE_DEVICES"), "1");
}

TEST_F(Numbers, CostOneInterfaceWhereACallFails) {
  const Machine machine = LoadTestMachine("five-gpus");
  SetMachine(machine);
  const auto complete = Interfaces::AskInterfaces();
  const std::uint64_t calls = Observed().calls;
  ASSERT_GT(calls, 100U);
  for (std::uint64_t n = 1; n <= calls; ++n) {
    SetMachine(machine);
    std::string failed;
    WatchCalls([&](std::uint64_t number, std::string_view call, std::string_view) {
      if (number == n) failed = call;
      return number == n;
    });
    const auto told = Interfaces::AskInterfaces();
    std::size_t changed = 0;
    for (std::size_t i = 0; i < told.size(); ++i) {
      const auto numbers = [](const Interfaces::Told& t) {
        std::vector<std::string> list;
        for (const auto& device : t.findings.devices) list.push_back(device.number + " " + device.name);
        return list;
      };
      changed += numbers(told[i]) != numbers(complete[i]) ? 1U : 0U;
    }
    EXPECT_LE(changed, 1U) << failed;
    EndProcess();
  }
}

}  // namespace
}  // namespace Vexil::Tests
