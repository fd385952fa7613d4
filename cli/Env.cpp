#include "cli/Env.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Printing.h"
#include "interfaces/platform/Environment.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::Vendor;
using Interfaces::Device;
using Interfaces::Findings;
using Interfaces::Known;
using Interfaces::State;

namespace {

constexpr const char* kHidden = "-1";

/// Where an interface has a GPU.
struct Reach {
  enum Kind { Nowhere, There, Unclear } kind = Nowhere;
  const Device* device = nullptr;
  std::string reason;  ///< Why it is unclear.
};

class Guide {
 public:
  Guide(const Session& session, const Numbers& numbers, std::size_t gpu)
      : m_numbers(numbers), m_known(numbers.joined.gpus[gpu]), m_vendor(session.results.gpus[gpu].vendor) {}

  Guidance Make() {
    GuideCUDA();
    GuideHIP();
    GuideVulkan();
    GuideLevelZero();
    NameOptions();
    return std::move(m_guidance);
  }

 private:
  Reach Find(std::string_view interface) const {
    const Findings* findings = m_numbers.Of(interface);
    if (findings == nullptr || findings->state == State::Absent) return {};
    const auto unclear = [&](const std::string& why) {
      return Reach{Reach::Unclear, nullptr, std::string(interface) + " " + why};
    };
    if (findings->state == State::Failed) {
      return unclear(findings->problems.empty() ? "failed" : findings->problems.front());
    }
    Reach reach;
    for (const Known& known : m_known) {
      if (known.interface != interface) continue;
      if (known.is_disputed) return unclear("contradicts itself about this GPU");
      // Of several the first is the maker's own driver.
      if (reach.device == nullptr) reach = {Reach::There, &known.device, {}};
    }
    const auto& others = m_numbers.joined.others;
    const bool may_be_this = std::any_of(others.begin(), others.end(), [&](const Interfaces::Other& other) {
      const Device& device = other.device;
      return other.interface == interface && !device.luid && !device.pci && device.More("type") != "cpu";
    });
    if (reach.kind == Reach::Nowhere && may_be_this) return unclear("has a device that may be this GPU or not");
    return reach;
  }

  void Set(const char* name, const std::string& value) { m_guidance.variables.emplace_back(name, value); }
  void Miss(const std::string& why) { m_guidance.unknown.push_back(why); }

  void GuideCUDA() {
    const Reach reach = m_vendor == Vendor::NVIDIA ? Find("CUDA") : Reach();
    if (reach.kind == Reach::Unclear) return Miss(reach.reason);
    if (reach.kind == Reach::There && !reach.device->has_shared_uuid) return Miss("CUDA does not tell the GPU's UUID");
    Set("CUDA_VISIBLE_DEVICES", reach.kind == Reach::There ? reach.device->uuid : kHidden);
  }

  void GuideHIP() {
    // Also where there is no HIP: it takes CUDA's variable for its own where this one is missing.
    const Reach reach = m_vendor == Vendor::AMD ? Find("HIP") : Reach();
    if (reach.kind == Reach::Unclear) return Miss(reach.reason);
    if (reach.kind == Reach::Nowhere) return Set("HIP_VISIBLE_DEVICES", kHidden);
    // HIP's own count, which also has devices that programs do not see.
    const std::string index = reach.device->More("visible_index");
    if (index.empty()) return Miss("HIP does not tell at which place HIP_VISIBLE_DEVICES counts the GPU");
    Set("HIP_VISIBLE_DEVICES", index);
    Set("GPU_DEVICE_ORDINAL", index);
  }

  void GuideVulkan() {
    const Reach reach = Find("Vulkan");
    if (reach.kind == Reach::Unclear) return Miss(reach.reason);
    const Findings* findings = m_numbers.Of("Vulkan");
    if (reach.kind == Reach::There) {
      Set("GGML_VK_VISIBLE_DEVICES", reach.device->number);
      // The number holds only for a program that gets no layers either.
      for (const auto& [name, value] : Interfaces::VariablesWithoutLayers()) Set(name, value);
    } else if (findings != nullptr && !findings->devices.empty()) {
      m_guidance.remarks.emplace_back("Vulkan does not show this GPU, and no variable hides all others from it");
    }
  }

  void GuideLevelZero() {
    const Findings* findings = m_numbers.Of("Level Zero");
    if (m_vendor != Vendor::Intel) {
      if (findings != nullptr && !findings->devices.empty()) {
        m_guidance.remarks.emplace_back("no variable hides all GPUs from Level Zero");
      }
      return;
    }
    const Reach reach = Find("Level Zero");
    if (reach.kind == Reach::Unclear) return Miss(reach.reason);
    if (reach.kind == Reach::Nowhere) return;
    const auto is_of_another_driver = [](const Device& device) { return device.number.rfind("0:", 0) != 0; };
    if (std::any_of(findings->devices.begin(), findings->devices.end(), is_of_another_driver)) {
      return Miss("Level Zero has several drivers, each of which counts its devices from 0");
    }
    Set("ZE_AFFINITY_MASK", reach.device->number.substr(2));
  }

  void AddOption(const char* program, const std::string& number) { m_guidance.options.emplace_back(program, number); }

  std::size_t DevicesOf(std::string_view interface) const {
    const Findings* findings = m_numbers.Of(interface);
    return findings != nullptr ? findings->devices.size() : 0;
  }

  /// All of one count: CUDA's devices, then HIP's, then those of OpenCL.
  void NameForHashcat() {
    const auto number = [](const std::string& text) { return std::stoull(text) + 1; };
    const Reach cuda = Find("CUDA");
    const Reach hip = Find("HIP");
    const Reach opencl = Find("OpenCL");
    if (cuda.kind == Reach::There) {
      AddOption("hashcat -d, likely", std::to_string(number(cuda.device->number)));
    } else if (hip.kind == Reach::There) {
      AddOption("hashcat -d, likely", std::to_string(DevicesOf("CUDA") + number(hip.device->number)));
    } else if (opencl.kind == Reach::There) {
      const auto position = number(opencl.device->More("position"));
      AddOption("hashcat -d, likely", std::to_string(DevicesOf("CUDA") + DevicesOf("HIP") + position));
    }
  }

  void NameOptions() {
    const Reach dxgi = Find("DXGI");
    if (dxgi.kind == Reach::There) AddOption("DirectML and ONNX Runtime, device id", dxgi.device->number);
    for (const Known& known : m_known) {
      if (known.interface != std::string_view("OpenCL") || known.is_disputed) continue;
      AddOption("clinfo -d and PYOPENCL_CTX, platform:device", known.device.number);
      AddOption("OpenCL programs that list GPUs only", known.device.More("number_among_gpus"));
    }
    NameForHashcat();
  }

  const Numbers& m_numbers;
  const std::vector<Known>& m_known;
  Vendor m_vendor;
  Guidance m_guidance;
};

struct ShellSyntax {
  const char* name;
  const char* set;  ///< Of name and value, neither of which has anything to quote.
  const char* unset;
  const char* comment;
};

constexpr std::array kShells = {
    ShellSyntax{"cmd", "set \"{}={}\"", "set \"{}=\"", "rem "},
    ShellSyntax{"powershell", "$env:{} = '{}'", "$env:{} = $null", "# "},
    ShellSyntax{"sh", "export {}='{}'", "unset {}", "# "},
};

/// Variables that lead elsewhere and that the guidance does not set.
std::vector<std::string> Misleading(const Guidance& guidance) {
  std::vector<std::string> names;
  for (const char* name : Interfaces::HidingVariables()) {
    const auto is_it = [&](const auto& variable) { return variable.first == name; };
    const bool is_set = std::any_of(guidance.variables.begin(), guidance.variables.end(), is_it);
    if (!is_set && Interfaces::GetVariable(name)) names.emplace_back(name);
  }
  return names;
}

void PrintFor(const ShellSyntax& shell, const Guidance& guidance, std::ostream& out) {
  const auto comment = [&](const std::string& text) { PrintLine(out, shell.comment + text); };
  for (const std::string& name : Misleading(guidance)) PrintLine(out, fmt::format(fmt::runtime(shell.unset), name));
  for (const auto& [name, value] : guidance.variables) {
    PrintLine(out, fmt::format(fmt::runtime(shell.set), name, value));
  }
  for (const std::string& why : guidance.unknown) comment("unknown: " + why);
  for (const std::string& remark : guidance.remarks) comment(remark);
  if (!guidance.options.empty()) comment("For programs that take an option, where these variables are not set:");
  for (const auto& [program, number] : guidance.options) comment(fmt::format("{}: {}", program, number));
}

Json ToJson(const Guidance& guidance) {
  Json variables = Json::object();
  Json options = Json::object();
  for (const auto& [name, value] : guidance.variables) variables[name] = value;
  for (const auto& [program, number] : guidance.options) options[program] = number;
  Json document = Document("env");
  document.update({{"set", variables},
                   {"unset", Misleading(guidance)},
                   {"options", options},
                   {"remarks", guidance.remarks},
                   {"unknown", guidance.unknown}});
  return document;
}

}  // namespace

void RequireNumbers(const Session& session) {
  if (!session.IsThisMachine()) throw Error(kOnlyOfARunningMachine);
  if (session.is_anonymous) throw Error("programs are led by UUIDs, which --anonymous takes out");
}

Guidance GuideTo(const Session& session, const Numbers& numbers, std::size_t gpu) {
  return Guide(session, numbers, gpu).Make();
}

int Env(const Session& session, const std::string& id, const std::string& shell) {
  RequireNumbers(session);
  const MatchedGPUT* matched = SelectGPU(session, id);
  if (matched == nullptr) return kFoundNone;
  const Guidance guidance = GuideTo(session, FindNumbers(session), IndexOf(session, *matched));
  const auto syntax =
      std::find_if(kShells.begin(), kShells.end(), [&](const ShellSyntax& s) { return s.name == shell; });
  if (session.json || syntax == kShells.end()) {
    PrintJson(session.out, ToJson(guidance));
  } else {
    PrintFor(*syntax, guidance, session.out);
  }
  return kFoundGPUs;
}

}  // namespace Vexil::Cli
