#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <new>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/c_interface/Snapshots.h"
#include "tests/cli/ProgramTest.h"

namespace Vexil::Tests {
namespace {

using nlohmann::json;

class CInterfaceOnMachines : public ProgramTest, public testing::WithParamInterface<std::string> {};

/// The number of a GPU in the list of what knows it; -1 where there is none, or it is contradictory.
std::string NumberIn(const json& known_as, const std::string& interface) {
  for (const json& known : known_as) {
    if (known["interface"] == interface && !known["disputed"].get<bool>()) return known["number"].get<std::string>();
  }
  return "-1";
}

template <typename Value>
Value MemberOr(const json& object, const char* name, Value unknown) {
  return object.contains(name) ? object[name].get<Value>() : unknown;
}

TEST_P(CInterfaceOnMachines, TellsWhatTheProgramTells) {
  Simulation::SetMachine(LoadTestMachine(GetParam()));
  const SnapshotPtr snapshot = MakeSnapshot({.flags = VEXIL_NUMBERS});
  EndProcess();
  EXPECT_EQ(JSONOf(snapshot), Run({"--json"}).out);
  EXPECT_EQ(IdsJSONOf(snapshot), Run({"ids", "--json"}).out);

  const json list = json::parse(Run({"list", "--json"}).out)["gpus"];
  const json ids = json::parse(IdsJSONOf(snapshot))["gpus"];
  ASSERT_EQ(vexil_gpu_count(snapshot.get()), list.size());
  for (std::uint32_t i = 0; i < list.size(); ++i) {
    const vexil_gpu gpu = GPUOf(snapshot, i);
    const json& expected = list[i];
    const json& known_as = ids[i]["known_as"];
    EXPECT_EQ(gpu.id, expected["id"].get<std::string>());
    EXPECT_EQ(gpu.pci_location, MemberOr<std::string>(expected, "pci_location", ""));
    EXPECT_EQ(gpu.pci_bus, MemberOr(expected, "pci_bus", -1));
    EXPECT_EQ(gpu.vram_mib, MemberOr(expected, "vram_mib", -1));
    EXPECT_EQ(gpu.cuda_index, MemberOr(expected, "cuda_index", -1));
    EXPECT_EQ(gpu.is_main_display != 0, MemberOr(expected, "is_main_display", false));
    EXPECT_EQ(std::to_string(gpu.dxgi_number), NumberIn(known_as, "DXGI"));
    EXPECT_EQ(std::to_string(gpu.cuda_number), NumberIn(known_as, "CUDA"));
    EXPECT_EQ(std::to_string(gpu.vulkan_number), NumberIn(known_as, "Vulkan"));
    const bool has_opencl = gpu.opencl_platform_number != -1;
    EXPECT_EQ(has_opencl ? fmt::format("{}:{}", gpu.opencl_platform_number, gpu.opencl_device_number) : "-1",
              NumberIn(known_as, "OpenCL"));
  }

  const void* data = nullptr;
  std::size_t size = 0;
  vexil_snapshot* loaded = nullptr;
  ASSERT_EQ(vexil_get_buffer(snapshot.get(), &data, &size), VEXIL_OK);
  ASSERT_EQ(vexil_load_buffer(data, size, &loaded), VEXIL_OK);
  EXPECT_EQ(JSONOf(SnapshotPtr(loaded)), JSONOf(snapshot));
}

INSTANTIATE_TEST_SUITE_P(Machines, CInterfaceOnMachines, testing::ValuesIn(MachineNames()), ToTestName);

class CInterfaceTest : public ProgramTest {
 protected:
  CInterfaceTest() { Simulation::SetMachine(LoadTestMachine("five-gpus")); }
};

TEST_F(CInterfaceTest, StructsTellWhatHostsNeed) {
  const SnapshotPtr snapshot = MakeSnapshot({.flags = VEXIL_NUMBERS});
  const vexil_gpu gpu = GPUOf(snapshot, 0);
  EXPECT_EQ(gpu.vendor, VEXIL_VENDOR_NVIDIA);
  EXPECT_EQ(gpu.type, VEXIL_TYPE_DISCRETE);
  EXPECT_EQ(gpu.compute_apis, VEXIL_API_CUDA | VEXIL_API_OPENCL);
  EXPECT_STREQ(gpu.uuid, "GPU-69401105-2337-a290-183c-aa7710154270");
  EXPECT_EQ(gpu.luid, 0xC2A1U);
  EXPECT_EQ(gpu.pci_domain, 0);
  EXPECT_EQ(GPUOf(snapshot, 4).level_zero_driver_number, 0);
  EXPECT_EQ(GPUOf(snapshot, 4).cuda_number, -1);
  EXPECT_STREQ(GPUOf(snapshot, 4).uuid, "");

  const vexil_monitor monitor = MonitorOf(snapshot, 0);
  EXPECT_EQ(monitor.gpu_index, 0);
  EXPECT_STREQ(monitor.gpu_id, gpu.id);
  EXPECT_EQ(monitor.width, 3840);
  EXPECT_NE(std::string(monitor.name), "");

  vexil_system system = {};
  system.size = sizeof(system);
  ASSERT_EQ(vexil_get_system(snapshot.get(), &system), VEXIL_OK);
  EXPECT_EQ(system.ram_mib, 130'836);
  EXPECT_NE(std::string(system.os_version), "");
}

TEST_F(CInterfaceTest, LiveMemoryIsThatOfTheProgram) {
  const SnapshotPtr snapshot = MakeSnapshot();
  vexil_memory memory = {sizeof(vexil_memory), 0, 0, 0};
  const json told = json::parse(Run({"memory", "--json"}).out);
  for (std::uint32_t i = 0; i < told["gpus"].size(); ++i) {
    const json& expected = told["gpus"][i];
    const vexil_status status = vexil_get_gpu_memory(snapshot.get(), i, &memory);
    ASSERT_EQ(status, expected.contains("free_bytes") ? VEXIL_OK : VEXIL_UNKNOWN);
    if (status != VEXIL_OK) continue;
    EXPECT_EQ(memory.free_bytes, expected["free_bytes"]);
    EXPECT_EQ(memory.total_bytes, expected["total_bytes"]);
  }
  EXPECT_EQ(vexil_get_system_memory(&memory), VEXIL_OK);
  EXPECT_EQ(memory.total_bytes, told["system"]["total_bytes"]);

  EXPECT_EQ(vexil_get_gpu_memory(MakeSnapshot({.flags = VEXIL_ISOLATED}).get(), 0, &memory), VEXIL_UNKNOWN);
  EndProcess();
}

/// Calls that cannot succeed: each has its status, says why, and leaves what it was given.
TEST_F(CInterfaceTest, MisuseHasAStatusAndAText) {
  const SnapshotPtr owner = MakeSnapshot();
  vexil_snapshot* const good = owner.get();
  vexil_snapshot* const released = MakeSnapshot().release();
  ASSERT_EQ(vexil_release(released), VEXIL_OK);
  static const int place = 0;
  auto* const invented = reinterpret_cast<vexil_snapshot*>(const_cast<int*>(&place));

  const char kOne = 1;
  vexil_snapshot* made = nullptr;
  const char* text = nullptr;
  std::size_t size = 0;
  const void* data = nullptr;
  vexil_gpu gpu = {};
  vexil_memory memory = {};
  vexil_options options = {};
  const auto get_gpu = [&](vexil_snapshot* snapshot, std::uint32_t index, std::uint32_t gpu_size) {
    gpu.size = gpu_size;
    return vexil_get_gpu(snapshot, index, &gpu);
  };
  const auto detect = [&](std::uint32_t options_size, std::uint32_t flags, std::uint32_t reserved) {
    options.size = options_size;
    options.flags = flags;
    options.reserved = reserved;
    return vexil_detect(&options, &made);
  };
  struct Case {
    const char* what;
    vexil_status status;
    std::function<vexil_status()> call;
  };
  constexpr std::uint32_t kGPU = sizeof(vexil_gpu);
  constexpr std::uint32_t kOptions = sizeof(vexil_options);
  const std::vector<Case> cases = {
      {"detect into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_detect(nullptr, nullptr); }},
      {"an unknown flag", VEXIL_INVALID_ARGUMENT, [&] { return detect(kOptions, 4, 0); }},
      {"reserved", VEXIL_INVALID_ARGUMENT, [&] { return detect(kOptions, 0, 1); }},
      {"options without size", VEXIL_INVALID_SIZE, [&] { return detect(0, 0, 0); }},
      {"options of odd size", VEXIL_INVALID_SIZE, [&] { return detect(kOptions - 1, 0, 0); }},
      {"load null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_load(nullptr, &made); }},
      {"load into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_load("x", nullptr); }},
      {"load what is not there", VEXIL_UNREADABLE, [&] { return vexil_load("/no/such/file", &made); }},
      {"load a folder", VEXIL_UNREADABLE, [&] { return vexil_load(VEXIL_MACHINES, &made); }},
      {"load what is none", VEXIL_DAMAGED, [&] { return vexil_load(VEXIL_MACHINES "/none.json", &made); }},
      {"null buffer", VEXIL_INVALID_ARGUMENT, [&] { return vexil_load_buffer(nullptr, 8, &made); }},
      {"no bytes", VEXIL_DAMAGED, [&] { return vexil_load_buffer(&kOne, 0, &made); }},
      {"one byte", VEXIL_DAMAGED, [&] { return vexil_load_buffer(&kOne, 1, &made); }},
      {"all of memory", VEXIL_DAMAGED, [&] { return vexil_load_buffer(&kOne, ~std::size_t{0}, &made); }},
      {"release twice", VEXIL_NO_SNAPSHOT, [&] { return vexil_release(released); }},
      {"release anything", VEXIL_NO_SNAPSHOT, [&] { return vexil_release(invented); }},
      {"ask a released one", VEXIL_NO_SNAPSHOT, [&] { return get_gpu(released, 0, kGPU); }},
      {"ask null", VEXIL_NO_SNAPSHOT, [&] { return get_gpu(nullptr, 0, kGPU); }},
      {"ask anything", VEXIL_NO_SNAPSHOT, [&] { return get_gpu(invented, 0, kGPU); }},
      {"index", VEXIL_INVALID_ARGUMENT, [&] { return get_gpu(good, 5, kGPU); }},
      {"largest index", VEXIL_INVALID_ARGUMENT, [&] { return get_gpu(good, ~0U, kGPU); }},
      {"size 0", VEXIL_INVALID_SIZE, [&] { return get_gpu(good, 0, 0); }},
      {"half a member", VEXIL_INVALID_SIZE, [&] { return get_gpu(good, 0, 20); }},
      {"size of no struct", VEXIL_INVALID_SIZE, [&] { return get_gpu(good, 0, ~7U); }},
      {"gpu into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_gpu(good, 0, nullptr); }},
      {"monitor into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_monitor(good, 0, nullptr); }},
      {"system into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_system(good, nullptr); }},
      {"JSON into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_json(good, nullptr); }},
      {"JSON of null", VEXIL_NO_SNAPSHOT, [&] { return vexil_get_json(nullptr, &text); }},
      {"numbers into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_ids_json(good, nullptr); }},
      {"numbers not asked for", VEXIL_UNKNOWN, [&] { return vexil_get_ids_json(good, &text); }},
      {"buffer into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_buffer(good, nullptr, &size); }},
      {"size into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_buffer(good, &data, nullptr); }},
      {"memory into null", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_system_memory(nullptr); }},
      {"memory without size", VEXIL_INVALID_SIZE, [&] { return vexil_get_system_memory(&memory); }},
      {"memory of no GPU", VEXIL_INVALID_ARGUMENT, [&] { return vexil_get_gpu_memory(good, 5, &memory); }},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.call(), c.status) << c.what;
    EXPECT_STRNE(vexil_last_error(), "") << c.what;
    EXPECT_STRNE(vexil_status_text(c.status), vexil_status_text(-1)) << c.what;
  }
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(gpu.name, nullptr);
  EXPECT_EQ(vexil_gpu_count(released), 0U);
  EXPECT_STRNE(vexil_last_error(), "");
  EXPECT_EQ(vexil_release(nullptr), VEXIL_OK);
  EXPECT_STREQ(vexil_last_error(), "");
  EndProcess();
}

TEST_F(CInterfaceTest, SavedFilesAreReadAndDamagedOnesRefused) {
  // Its name is UTF-8.
  const std::string path = TemporaryFile("f\xC3\xBCnf.vexil");
  std::vector<std::uint8_t> bytes = ProgramTest::Detect();
  WriteFile(path, bytes);
  vexil_snapshot* loaded = nullptr;
  ASSERT_EQ(vexil_load(path.c_str(), &loaded), VEXIL_OK) << vexil_last_error();
  EXPECT_EQ(vexil_gpu_count(loaded), 5U);
  EXPECT_EQ(vexil_release(loaded), VEXIL_OK);
  for (const std::size_t size : {std::size_t{0}, std::size_t{7}, bytes.size() / 2, bytes.size() - 1}) {
    EXPECT_EQ(vexil_load_buffer(bytes.data(), size, &loaded), VEXIL_DAMAGED) << size;
    EXPECT_EQ(loaded, nullptr);
  }
}

TEST_F(CInterfaceTest, ErrorTextsAreCutBetweenCharacters) {
  std::string path = "/";
  for (int i = 0; i < 1024; ++i) path += "\xE2\x82\xAC";
  for (int i = 0; i < 3; ++i, path += 'x', path.insert(0, "x")) {
    vexil_snapshot* loaded = nullptr;
    EXPECT_EQ(vexil_load(path.c_str(), &loaded), VEXIL_UNREADABLE);
    const std::string text = vexil_last_error();
    EXPECT_GT(text.size(), 1000U);
    EXPECT_EQ(text.substr(text.size() - 3), "\xE2\x82\xAC");
  }
}

TEST_F(CInterfaceTest, ErrorTextsAreTheThreadsOwn) {
  EXPECT_EQ(vexil_detect(nullptr, nullptr), VEXIL_INVALID_ARGUMENT);
  std::thread([] { EXPECT_STREQ(vexil_last_error(), ""); }).join();
  EXPECT_STRNE(vexil_last_error(), "");
}

struct Heard {
  std::vector<std::string> lines;
  vexil_status detect = VEXIL_OK;
  vexil_status memory = VEXIL_OK;
  std::uint32_t count = 0;
  vexil_snapshot* other = nullptr;
};

void Hear(void* context, std::int32_t level, const char* text) {
  auto& heard = *static_cast<Heard*>(context);
  heard.lines.push_back(std::to_string(level) + " " + text);
  vexil_memory memory = {sizeof(vexil_memory), 0, 0, 0};
  vexil_snapshot* made = nullptr;
  heard.detect = vexil_detect(nullptr, &made);
  heard.memory = vexil_get_gpu_memory(heard.other, 0, &memory);
  heard.count = vexil_gpu_count(heard.other);
}

TEST_F(CInterfaceTest, LogGoesToTheFunctionThatIsGivenAndNowhereElse) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  const SnapshotPtr other = MakeSnapshot();
  Heard heard;
  heard.other = other.get();
  MakeSnapshot({.log = Hear, .log_context = &heard});
  const std::size_t lines = heard.lines.size();
  MakeSnapshot();
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
  EXPECT_GT(lines, 20U);
  EXPECT_EQ(heard.lines.size(), lines);
  EXPECT_NE(std::find(heard.lines.begin(), heard.lines.end(), "1 Detected 5 GPUs:"), heard.lines.end());
  // While drivers are asked a log function may read, but not ask.
  EXPECT_EQ(heard.detect, VEXIL_BUSY);
  EXPECT_EQ(heard.memory, VEXIL_BUSY);
  EXPECT_EQ(heard.count, 5U);
  EndProcess();
}

TEST_F(CInterfaceTest, WhatDriversThrowStaysInside) {
  struct Case {
    vexil_status status;
    std::function<void()> thrower;
  };
  const std::vector<Case> cases = {
      {VEXIL_OUT_OF_MEMORY, [] { throw std::bad_alloc(); }},
      {VEXIL_FAILED, [] { throw std::runtime_error("odd"); }},
      {VEXIL_FAILED, [] { throw 7; }},
  };
  for (const Case& c : cases) {
    Simulation::SetMachine(LoadTestMachine("five-gpus"));
    Simulation::WatchCalls([&](std::uint64_t number, std::string_view, std::string_view) {
      if (number == 20) c.thrower();
      return false;
    });
    auto* made = reinterpret_cast<vexil_snapshot*>(1);
    EXPECT_EQ(vexil_detect(nullptr, &made), c.status);
    EXPECT_EQ(made, nullptr);
    EXPECT_STRNE(vexil_last_error(), "");
    Simulation::WatchCalls(nullptr);
    EXPECT_EQ(vexil_gpu_count(MakeSnapshot().get()), 5U);
    EndProcess();
  }
}

TEST_F(CInterfaceTest, ThreadsMayDetectReadAndReleaseAtOnce) {
  const SnapshotPtr shared = MakeSnapshot();
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      const SnapshotPtr own = MakeSnapshot();
      vexil_memory memory = {sizeof(vexil_memory), 0, 0, 0};
      const bool is_right = WithoutHandles(JSONOf(own)) == WithoutHandles(JSONOf(shared)) &&
                            vexil_gpu_count(shared.get()) == 5 &&
                            vexil_get_gpu_memory(own.get(), 0, &memory) == VEXIL_OK;
      right += is_right ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 4);
  EndProcess();
}

}  // namespace
}  // namespace Vexil::Tests
