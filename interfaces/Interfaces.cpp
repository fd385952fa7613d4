#include "interfaces/Interfaces.h"

#include <algorithm>

#include "interfaces/FindingsJson.h"
#include "interfaces/platform/Environment.h"

namespace Vexil::Interfaces {
namespace {

constexpr std::array kHidingVariables = {
    "CUDA_VISIBLE_DEVICES",
    "CUDA_DEVICE_ORDER",
    "HIP_VISIBLE_DEVICES",
    "ROCR_VISIBLE_DEVICES",
    "GPU_DEVICE_ORDINAL",
    "ZE_AFFINITY_MASK",
    "ZE_ENABLE_PCI_ID_DEVICE_ORDER",
    "ONEAPI_DEVICE_SELECTOR",
    "GGML_VK_VISIBLE_DEVICES",
    "VK_LOADER_VENDOR_ID_FILTER",
    "VK_LOADER_DEVICE_ID_FILTER",
    "VK_LOADER_DRIVER_ID_FILTER",
    "VK_INSTANCE_LAYERS",
};

constexpr std::array<std::pair<const char*, const char*>, 3> kWithoutLayers = {{
    {"VK_LOADER_LAYERS_DISABLE", "~implicit~"},
    // What also works where the loader does not trust the environment.
    {"DISABLE_LAYER_AMD_SWITCHABLE_GRAPHICS_1", "1"},
    {"DISABLE_LAYER_NV_OPTIMUS_1", "1"},
}};

std::vector<std::string> ClearVariables() {
  std::vector<std::string> cleared;
  for (const char* name : kHidingVariables) {
    const auto value = GetVariable(name);
    if (!value) continue;
    cleared.push_back(std::string(name) + "=" + *value);
    SetVariable(name, "");
  }
  for (const auto& [name, value] : kWithoutLayers) SetVariable(name, value);
  return cleared;
}

bool IsAsked(const Interface& interface) {
  return !interface.keeps_variables || GetVariable("CUDA_VISIBLE_DEVICES") || GetVariable("CUDA_DEVICE_ORDER");
}

}  // namespace

std::span<const char* const> HidingVariables() { return kHidingVariables; }
std::span<const std::pair<const char*, const char*>> VariablesWithoutLayers() { return kWithoutLayers; }

Json AnswerFor(const std::string& name) {
  const auto asked = std::find_if(kInterfaces.begin(), kInterfaces.end(),
                                  [&](const Interface& interface) { return interface.name == name; });
  if (asked == kInterfaces.end()) return {};
  std::vector<std::string> cleared;
  if (!asked->keeps_variables) cleared = ClearVariables();
  Findings findings = asked->ask();
  findings.cleared = std::move(cleared);
  return ToJson(findings);
}

std::vector<Told> AskInterfaces(const Helper& helper) {
  std::vector<Told> told;
  std::vector<const char*> names;
  for (const Interface& interface : kInterfaces) {
    if (!IsAsked(interface)) continue;
    told.push_back({interface.name, {}});
    names.push_back(interface.name);
  }
  const auto results = RunChildren(helper, names, kInterfaceWork);
  for (std::size_t i = 0; i < told.size(); ++i) {
    ChildFault fault = results[i].fault;
    const auto findings = fault.kind == ChildFault::None ? FromJson(results[i].answer) : std::nullopt;
    if (!findings && fault.kind == ChildFault::None) fault = {ChildFault::NoAnswer, kNoAnswer};
    told[i].findings = findings.value_or(Findings{State::Failed, {}, {fault.text}, {}});
    told[i].fault = fault.kind;
  }
  return told;
}

}  // namespace Vexil::Interfaces
