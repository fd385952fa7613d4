#include "cli/Selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <regex>
#include <string_view>

#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/Results/Queries.h"
#include "cli/ExitStatus.h"
#include "cli/KnownAs.h"
#include "cli/Printing.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;

namespace {

/// The identifiers that each filter leaves, one set per filter.
std::vector<GPUIDs> Apply(const std::vector<GPUT>& gpus, const Filter& filter) {
  std::vector<GPUIDs> answers;
  if (filter.vendor) answers.push_back(GetGPUIDsByVendor(gpus, *filter.vendor));
  if (filter.type) answers.push_back(GetGPUIDsByType(gpus, *filter.type));
  if (filter.api) answers.push_back(GetGPUIDsByAPI(gpus, *filter.api));
  if (filter.text) answers.push_back(FindGPUIDs(gpus, *filter.text));
  return answers;
}

}  // namespace

std::vector<const MatchedGPUT*> SelectGPUs(const Session& session, const Filter& filter) {
  const auto answers = Apply(session.results.gpus, filter);
  std::vector<const MatchedGPUT*> selected;
  for (const MatchedGPUT& matched : session.results.matched) {
    const auto has_it = [&](const GPUIDs& ids) { return ids.contains(matched.gpu->id); };
    if (std::all_of(answers.begin(), answers.end(), has_it)) selected.push_back(&matched);
  }
  return selected;
}

namespace {

using Chosen = std::vector<const MatchedGPUT*>;

template <typename Fits>
Chosen ThoseThat(const Session& session, const Fits& fits) {
  Chosen chosen;
  for (const MatchedGPUT& matched : session.results.matched) {
    if (fits(matched)) chosen.push_back(&matched);
  }
  return chosen;
}

bool EqualNoCase(const std::string& a, const std::string& b) { return a.size() == b.size() && ContainsNoCase(a, b); }

Chosen ByNumber(const Session& session, const std::string& text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number < session.results.matched.size() ? Chosen{&session.results.matched[number]} : Chosen();
}

/// "41:00.0" and "0000:41:00.0" are hexadecimal, as tools print them; "65:0" and "PCI:65:0.0" decimal, as this one
/// does.
Chosen ByPlace(const Session& session, const std::string& text) {
  static const std::regex hexadecimal("(?:[0-9a-fA-F]{4,8}:)?([0-9a-fA-F]{2}):([0-9a-fA-F]{2})[.]([0-7])");
  static const std::regex decimal("(?:[Pp][Cc][Ii]:)?([0-9]{1,5}):([0-9]{1,2})(?:[.]([0-7]))?");
  constexpr std::size_t kLongest = 32;
  std::smatch parts;
  int base = 16;
  if (text.size() > kLongest) return {};
  if (!std::regex_match(text, parts, hexadecimal)) {
    base = 10;
    if (!std::regex_match(text, parts, decimal)) return {};
  }
  const int bus = std::stoi(parts[1], nullptr, base);
  const int device = std::stoi(parts[2], nullptr, base);
  const int function = parts[3].matched ? std::stoi(parts[3]) : kUnknown;
  return ThoseThat(session, [&](const MatchedGPUT& matched) {
    const GPUT& gpu = *matched.gpu;
    const bool may_be_function = function == kUnknown || gpu.pci_function == kUnknown || gpu.pci_function == function;
    return gpu.pci_bus == bus && gpu.pci_device == device && may_be_function;
  });
}

template <typename Record>
bool HasDisplay(const std::shared_ptr<Record>& record, std::vector<std::string> Record::*names,
                const std::string& wanted) {
  if (record == nullptr) return false;
  const auto& list = (*record).*names;
  return std::any_of(list.begin(), list.end(), [&](const std::string& name) { return EqualNoCase(name, wanted); });
}

Chosen ByDisplay(const Session& session, const std::string& text) {
  const std::string wanted = text.rfind(R"(\\.\)", 0) == 0 ? text : R"(\\.\)" + text;
  auto windows = ThoseThat(session, [&](const MatchedGPUT& m) {
    return HasDisplay(m.directx, &FlatBuffers::DirectXGPUT::output_names, wanted) ||
           HasDisplay(m.win32, &FlatBuffers::EnumDisplayDevicesGPUT::device_names, wanted);
  });
  if (!windows.empty()) return windows;
  return ThoseThat(session, [&](const MatchedGPUT& m) {
    return HasDisplay(m.nvapi, &FlatBuffers::NvAPIGPUT::display_names, wanted) ||
           HasDisplay(m.amddl, &FlatBuffers::AMDDLGPUT::display_names, wanted);
  });
}

/// By what CUDA_VISIBLE_DEVICES takes, a beginning of it included.
Chosen ByUUID(const Session& session, const std::string& text) {
  constexpr std::string_view kStart = "GPU-";
  if (text.size() <= kStart.size() || text.rfind(kStart, 0) != 0) return {};
  if (!session.IsThisMachine()) throw Error(kOnlyOfARunningMachine);
  const auto& known = FindNumbers(session).joined.gpus;
  return ThoseThat(session, [&](const MatchedGPUT& matched) {
    const auto& of_gpu = known[IndexOf(session, matched)];
    return std::any_of(of_gpu.begin(), of_gpu.end(), [&](const Interfaces::Known& k) {
      return k.device.has_shared_uuid && k.device.uuid.rfind(text, 0) == 0;
    });
  });
}

/// The first of the ways in which the text means a GPU.
Chosen Find(const Session& session, const std::string& text) {
  Chosen chosen = ThoseThat(session, [&](const MatchedGPUT& m) { return m.gpu->id == text; });
  if (chosen.empty() && EqualNoCase(text, "main")) {
    chosen = ThoseThat(session, [](const MatchedGPUT& m) { return m.gpu->is_main_display; });
  }
  for (const auto way : {ByNumber, ByPlace, ByDisplay, ByUUID}) {
    if (chosen.empty()) chosen = way(session, text);
  }
  // Never the identifier, whose digits mean nothing.
  const auto has_in_name = [&](const MatchedGPUT& m) { return ContainsNoCase(FullName(*m.gpu), text); };
  return chosen.empty() ? ThoseThat(session, has_in_name) : chosen;
}

}  // namespace

const MatchedGPUT* SelectGPU(const Session& session, const std::string& text) {
  const auto found = Find(session, text);
  if (found.size() > 1) {
    std::string message = "\"" + text + "\" could be any of";
    for (const MatchedGPUT* matched : found) {
      const GPUT& gpu = *matched->gpu;
      message += "\n  " + Printable(fmt::format("{}  {}  {}  {}", IndexOf(session, *matched), gpu.id, FullName(gpu),
                                                gpu.pci_location));
    }
    throw Error(message);
  }
  if (!found.empty()) return found.front();
  PrintLine(session.err, "vexil: there is no GPU \"" + text + "\"");
  return nullptr;
}

std::string FullName(const GPUT& gpu) {
  const std::string vendor = EnumNameVendor(gpu.vendor);
  return vendor.empty() ? gpu.name : vendor + " " + gpu.name;
}

int FoundStatus(const Session& session, bool has_found) {
  if (has_found) return kFoundGPUs;
  const bool has_gpus = !session.results.gpus.empty();
  session.err << (has_gpus ? "vexil: no GPU matches\n"
                           : "vexil: no GPU was found; \"vexil doctor\" prints the status of each source\n");
  return kFoundNone;
}

int FoundStatus(const Sessions& sessions, bool has_found) {
  if (has_found || sessions.size() == 1) return FoundStatus(sessions.front(), has_found);
  sessions.front().err << "vexil: no GPU matches in any of these files\n";
  return kFoundNone;
}

}  // namespace Vexil::Cli
