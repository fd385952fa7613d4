#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "interfaces/ChildProcess.h"
#include "interfaces/Device.h"

namespace Vexil::Interfaces {

// Each asks its interface on this machine, starts what has to be started and shuts it down again.
Findings AskDXGI();
Findings AskCUDA();
Findings AskNVML();
Findings AskNVAPI();
Findings AskOpenCL();
Findings AskVulkan();
Findings AskHIP();
Findings AskLevelZero();
Findings AskWindows();
Findings AskDisplays();

/// One interface.
struct Interface {
  const char* name = nullptr;
  Findings (*ask)() = nullptr;
  /// Asked with the variables that hide and reorder devices as they are set, and only where CUDA's are.
  bool keeps_variables = false;
};

inline constexpr const char* kCUDAAsSet = "CUDA as set";

/// All interfaces, in the order in which they are shown.
inline constexpr std::array kInterfaces = {
    Interface{"DXGI", AskDXGI},       Interface{"CUDA", AskCUDA},        Interface{kCUDAAsSet, AskCUDA, true},
    Interface{"NVML", AskNVML},       Interface{"NVAPI", AskNVAPI},      Interface{"OpenCL", AskOpenCL},
    Interface{"Vulkan", AskVulkan},   Interface{"HIP", AskHIP},          Interface{"Level Zero", AskLevelZero},
    Interface{"Windows", AskWindows}, Interface{"Display", AskDisplays},
};

/// Variables that hide devices from a program, or bring them into another order.
std::span<const char* const> HidingVariables();
/// With these Vulkan's loader puts no layer between a program and its devices.
std::span<const std::pair<const char*, const char*>> VariablesWithoutLayers();

/// What an interface knows, by its name, in this process: clears the variables first.
Json AnswerFor(const std::string& name);
inline constexpr ChildWork kInterfaceWork = {"interface", AnswerFor};

/// What one interface told through a child process.
struct Told {
  const char* name = nullptr;
  Findings findings;
  ChildFault::Kind fault = ChildFault::None;
};

/// Asks each interface in a child process of its own, all at once. What a child that died leaves unknown is a failure
/// of its interface.
std::vector<Told> AskInterfaces(const Helper& helper = {});

}  // namespace Vexil::Interfaces
