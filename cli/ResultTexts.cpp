#include "cli/ResultTexts.h"

#include <string>

#include "text/UTF8.h"

namespace Vexil::Cli {

using namespace FlatBuffers;

namespace {

// The texts of each record. Records of other operating systems have none that this library writes.

template <typename Visit>
void ForEachText(MonitorT& monitor, const Visit& visit) {
  for (std::string* text : {&monitor.gpu_id, &monitor.name, &monitor.monitor_id, &monitor.device_name}) visit(*text);
}

template <typename Visit>
void ForEachText(SystemT& system, const Visit& visit) {
  for (std::string* text : {&system.os_version, &system.model, &system.cpu_name, &system.system_id,
                            &system.amd_driver_version, &system.intel_driver_version}) {
    visit(*text);
  }
}

template <typename Visit>
void ForEachText(GPUT& gpu, const Visit& visit) {
  for (std::string* text : {&gpu.id, &gpu.name, &gpu.hardware_id, &gpu.pci_location}) visit(*text);
}

template <typename Visit>
void ForEachText(OpenCLGPUT& gpu, const Visit& visit) {
  for (std::string* text : {&gpu.platform_name, &gpu.vendor, &gpu.name, &gpu.driver_version}) visit(*text);
}

template <typename Visit>
void ForEachText(CUDAGPUT& gpu, const Visit& visit) {
  visit(gpu.name);
}

template <typename Records, typename Visit>
void ForEachTextOfAll(Records& records, const Visit& visit) {
  for (auto& record : records) ForEachText(*record, visit);
}

template <typename Visit>
void ForEachText(EnumDisplayDevicesGPUT& gpu, const Visit& visit) {
  for (std::string* text : {&gpu.key, &gpu.driver, &gpu.device_id, &gpu.provider, &gpu.name}) visit(*text);
  for (std::string& text : gpu.device_names) visit(text);
  ForEachTextOfAll(gpu.monitors, visit);
}

template <typename Visit>
void ForEachText(NvAPIGPUT& gpu, const Visit& visit) {
  visit(gpu.name);
  visit(gpu.vbios_version);
  for (std::string& text : gpu.display_names) visit(text);
}

template <typename Visit>
void ForEachText(AMDDLGPUT& gpu, const Visit& visit) {
  for (std::string* text : {&gpu.name, &gpu.second_name, &gpu.hardware_id}) visit(*text);
  for (std::string& text : gpu.display_names) visit(text);
}

template <typename Visit>
void ForEachText(NVMLGPUT& gpu, const Visit& visit) {
  visit(gpu.vbios_version);
}

template <typename Visit>
void ForEachText(DirectXGPUT& gpu, const Visit& visit) {
  visit(gpu.name);
  for (std::string& text : gpu.output_names) visit(text);
  ForEachTextOfAll(gpu.monitors, visit);
}

/// Visits every record: those of the sources, and those that were matched.
template <typename Visit>
void ForEachRecord(DetectionResultT& records, const Visit& visit) {
  const auto visit_one = [&](const auto& record) {
    if (record != nullptr) visit(*record);
  };
  const auto visit_all = [&](const auto& list) {
    for (const auto& record : list) visit_one(record);
  };
  visit_one(records.system);
  visit_all(records.monitors);
  if (records.detectors_output != nullptr) {
    const DetectorsOutputT& raw = *records.detectors_output;
    visit_all(raw.opencl);
    visit_all(raw.cuda);
    visit_all(raw.win32);
    visit_all(raw.nvapi);
    visit_all(raw.amddl);
    visit_all(raw.nvml);
    visit_all(raw.directx);
  }
  for (const auto& matched : records.gpus) {
    if (matched == nullptr) continue;
    visit_one(matched->gpu);
    visit_one(matched->opencl);
    visit_one(matched->cuda);
    visit_one(matched->win32);
    visit_one(matched->nvapi);
    visit_one(matched->amddl);
    visit_one(matched->nvml);
    visit_one(matched->directx);
  }
}

void Forget(SystemT& system) { system.system_id.clear(); }
void Forget(MonitorT& monitor) { monitor.monitor_id.clear(); }
void Forget(EnumDisplayDevicesGPUT& gpu) {
  gpu.key.clear();
  for (const auto& monitor : gpu.monitors) Forget(*monitor);
}
void Forget(DirectXGPUT& gpu) {
  for (const auto& monitor : gpu.monitors) Forget(*monitor);
}
template <typename Record>
void Forget(Record& /*record*/) {}

}  // namespace

bool ConvertTexts(DetectionResultT& records, unsigned code_page) {
  bool has_changed = false;
  const auto convert = [&](std::string& text) {
    std::string converted = AsUTF8(text, code_page);
    has_changed = has_changed || converted != text;
    text = std::move(converted);
  };
  ForEachRecord(records, [&](auto& record) { ForEachText(record, convert); });
  convert(records.library_version);
  return has_changed;
}

void Anonymize(DetectionResultT& records) {
  ForEachRecord(records, [](auto& record) { Forget(record); });
}

}  // namespace Vexil::Cli
