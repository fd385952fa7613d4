#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>

#include "c_interface/vexil_c.h"

namespace Vexil::Tests {

struct SnapshotReleaser {
  void operator()(vexil_snapshot* snapshot) const { EXPECT_EQ(vexil_release(snapshot), VEXIL_OK); }
};
using SnapshotPtr = std::unique_ptr<vexil_snapshot, SnapshotReleaser>;

/// What a test needs of the options.
struct How {
  std::uint32_t flags = 0;
  const char* helper = nullptr;
  vexil_log_function log = nullptr;
  void* log_context = nullptr;
  vexil_status expected = VEXIL_OK;
};

inline SnapshotPtr MakeSnapshot(const How& how = {}) {
  const vexil_options options = {sizeof(options), how.flags, 0, 0, how.helper, how.log, how.log_context};
  vexil_snapshot* snapshot = nullptr;
  EXPECT_EQ(vexil_detect(&options, &snapshot), how.expected) << vexil_last_error();
  return SnapshotPtr(snapshot);
}

inline vexil_gpu GPUOf(const SnapshotPtr& snapshot, std::uint32_t index) {
  vexil_gpu gpu = {};
  gpu.size = sizeof(gpu);
  EXPECT_EQ(vexil_get_gpu(snapshot.get(), index, &gpu), VEXIL_OK) << vexil_last_error();
  return gpu;
}

inline vexil_monitor MonitorOf(const SnapshotPtr& snapshot, std::uint32_t index) {
  vexil_monitor monitor = {};
  monitor.size = sizeof(monitor);
  EXPECT_EQ(vexil_get_monitor(snapshot.get(), index, &monitor), VEXIL_OK) << vexil_last_error();
  return monitor;
}

inline std::string JSONOf(const SnapshotPtr& snapshot) {
  const char* json = "";
  EXPECT_EQ(vexil_get_json(snapshot.get(), &json), VEXIL_OK) << vexil_last_error();
  return json;
}

/// What differs from one session of the driver to the next.
inline std::string WithoutHandles(const std::string& json) {
  static const std::regex handle("\"handle\": [0-9]+");
  return std::regex_replace(json, handle, "");
}

inline std::string IdsJSONOf(const SnapshotPtr& snapshot) {
  const char* json = "";
  EXPECT_EQ(vexil_get_ids_json(snapshot.get(), &json), VEXIL_OK) << vexil_last_error();
  return json;
}

}  // namespace Vexil::Tests
