#include "cli/KnownAs.h"

#include <fmt/format.h>

#include <algorithm>

#include "Vexil/Common/Text.h"
#include "cli/Printing.h"
#include "cli/Waiting.h"

namespace Vexil::Cli {

using Interfaces::Device;
using Interfaces::Known;
using Interfaces::State;
using Interfaces::Told;

namespace {

/// What identifies one machine's device: UUIDs, serial numbers, and the last part of Windows' path to it.
void Anonymize(Device& device) {
  device.uuid.clear();
  device.has_shared_uuid = false;
  std::erase_if(device.more, [](const auto& named) { return named.first == "serial"; });
  if (device.number.rfind("PCI\\", 0) == 0) device.number.erase(device.number.rfind('\\'));
}

void Anonymize(Numbers& numbers) {
  for (std::string& text : numbers.joined.contradictions) {
    for (const Told& told : numbers.told) {
      for (const Device& device : told.findings.devices) {
        if (!device.uuid.empty()) text = ReplaceAllNoCase(text, device.uuid, "left out");
      }
    }
  }
  for (auto& of_gpu : numbers.joined.gpus) {
    for (Known& known : of_gpu) Anonymize(known.device);
  }
  for (auto& other : numbers.joined.others) Anonymize(other.device);
  for (Told& told : numbers.told) {
    for (Device& device : told.findings.devices) Anonymize(device);
    // Their values may be UUIDs.
    for (std::string& variable : told.findings.cleared) variable.erase(variable.find('='));
  }
}

/// What a number is good for, where the interface's name does not say it.
std::string Meaning(const Known& known) {
  if (known.interface == std::string_view("DXGI"))
    return "Direct3D 12's adapter, DirectML's and ONNX Runtime's device id";
  if (known.interface == std::string_view("OpenCL")) return "as clinfo counts, all types of devices";
  return {};
}

std::string Details(const Known& known) {
  const Device& device = known.device;
  std::vector<std::string> texts;
  const auto add = [&](const std::string& name, const std::string& value) {
    if (!value.empty()) texts.push_back(ReplaceAllNoCase(name, "_", " ") + " " + value);
  };
  if (known.is_disputed) texts.emplace_back("DISPUTED, see below");
  if (const std::string meaning = Meaning(known); !meaning.empty()) texts.push_back(meaning);
  for (const auto& [name, value] : device.more) add(name, value);
  add("UUID", device.uuid);
  add("LUID", device.luid ? Interfaces::LUIDText(*device.luid) : "");
  add("node mask", device.node_mask ? std::to_string(*device.node_mask) : "");
  add("PCI", device.pci ? Interfaces::PCIText(*device.pci) : "");
  return Join(texts, ", ");
}

}  // namespace

const Numbers& FindNumbers(const Session& session) {
  if (!session.numbers) {
    const WaitingLine waiting(session.err);
    session.numbers = AskNumbers(session.results.gpus);
    if (session.is_anonymous) Anonymize(*session.numbers);
  }
  return *session.numbers;
}

std::size_t IndexOf(const Session& session, const FlatBuffers::MatchedGPUT& matched) {
  return static_cast<std::size_t>(&matched - session.results.matched.data());
}

TextTable NumbersTable(const std::vector<Known>& known) {
  TextTable table;
  for (const Known& k : known) table.Add({k.interface, k.device.number, Details(k)});
  return table;
}

void PrintRemarks(std::ostream& out, const Numbers& numbers) {
  for (const std::string& text : numbers.joined.contradictions) PrintLine(out, "Contradiction: " + text + ".");
  for (const auto& other : numbers.joined.others) {
    const Known known = {other.interface, other.device, "", false};
    PrintLine(out, fmt::format("None of these GPUs: {} {} \"{}\" ({})", other.interface, other.device.number,
                               other.device.name, Details(known)));
  }
  std::vector<std::string> cleared;
  for (const Told& told : numbers.told) {
    const auto& problems = told.findings.problems;
    if (told.findings.state == State::Failed) {
      PrintLine(out, fmt::format("Unknown to {}: {}", told.name, Join(problems, "; ")));
    } else if (!problems.empty()) {
      PrintLine(out, fmt::format("{}: {}", told.name, Join(problems, "; ")));
    }
    if (!told.findings.cleared.empty()) cleared = told.findings.cleared;
  }
  if (!cleared.empty()) {
    PrintLine(out, "These numbers are those without the variables that are set here: " + Join(cleared, ", "));
  }
}

}  // namespace Vexil::Cli
