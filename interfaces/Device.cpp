#include "interfaces/Device.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "Vexil/Common/Text.h"

namespace Vexil::Interfaces {
namespace {

std::string ProblemText(const FailedCall& call) {
  std::string text = call.subject.empty() ? call.call : call.subject + ": " + call.call;
  if (!call.status) return text;
  // Those of some interfaces are known by their bits.
  constexpr std::int64_t kLargest = 0x40000000;
  const bool is_large = *call.status > kLargest || *call.status < -kLargest;
  text += is_large ? fmt::format(" returned 0x{:08X}", static_cast<std::uint32_t>(*call.status))
                   : fmt::format(" returned {}", *call.status);
  return text;
}

State StateAfter(const Account& account) {
  switch (account.state) {
    case SourceState::Answered: return State::Answered;
    case SourceState::LibraryMissing:
    case SourceState::StartFailed: return State::Absent;
    default: return State::Failed;
  }
}

}  // namespace

std::string Device::More(std::string_view wanted) const {
  const auto found = std::find_if(more.begin(), more.end(), [&](const auto& entry) { return entry.first == wanted; });
  return found != more.end() ? found->second : std::string();
}

Findings MakeFindings(std::vector<Device> devices, const Account& account) {
  Findings findings;
  findings.state = StateAfter(account);
  findings.devices = std::move(devices);
  constexpr std::int64_t kModuleNotFound = 126;
  for (const FailedCall& call : account.failed_calls) {
    const bool is_not_installed = account.state == SourceState::LibraryMissing && call.status == kModuleNotFound;
    if (!is_not_installed) findings.problems.push_back(ProblemText(call));
  }
  for (const std::string& name : account.missing_required) findings.problems.push_back(name + " is missing");
  return findings;
}

std::optional<std::uint64_t> ToLUID(const void* bytes) {
  std::uint64_t luid = 0;
  std::memcpy(&luid, bytes, sizeof(luid));
  return luid != 0 ? std::optional(luid) : std::nullopt;
}

std::string UUIDText(const unsigned char* bytes) {
  constexpr std::size_t kSize = 16;
  if (std::all_of(bytes, bytes + kSize, [](unsigned char byte) { return byte == 0; })) return {};
  std::string text;
  for (std::size_t i = 0; i < kSize; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += fmt::format("{:02x}", bytes[i]);
  }
  return text;
}

void SetUUID(Device& device, const unsigned char* bytes, bool is_from_nvidia) {
  device.uuid = UUIDText(bytes);
  device.has_shared_uuid = is_from_nvidia && !device.uuid.empty();
  if (device.has_shared_uuid) device.uuid = "GPU-" + device.uuid;
}

std::optional<PCIPlace> ParsePCIText(std::string_view text) {
  const auto number = [](std::string_view digits) -> std::optional<std::uint32_t> {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
  };
  std::vector<std::string> parts = Split(text, ':', EmptyPieces::Keep);
  if (parts.size() == 2) parts.insert(parts.begin(), "");
  if (parts.size() != 3) return std::nullopt;
  const std::vector<std::string> slot = Split(parts[2], '.', EmptyPieces::Keep);
  const auto bus = number(parts[1]);
  const auto device = number(slot.front());
  const auto function = slot.size() == 2 ? number(slot[1]) : std::nullopt;
  if (!bus || !device || slot.size() > 2 || (slot.size() == 2 && !function)) return std::nullopt;
  if (!parts[0].empty() && !number(parts[0])) return std::nullopt;
  return PCIPlace{number(parts[0]), *bus, *device, function};
}

std::string PCIText(const PCIPlace& place) {
  std::string text = place.domain ? fmt::format("{:04x}:", *place.domain) : std::string();
  text += fmt::format("{:02x}:{:02x}", place.bus, place.device);
  if (place.function) text += fmt::format(".{}", *place.function);
  return text;
}

std::string LUIDText(std::uint64_t luid) { return fmt::format("0x{:08X}", luid); }

}  // namespace Vexil::Interfaces
