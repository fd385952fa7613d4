#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Vexil/Common/Account.h"

namespace Vexil::Interfaces {

/// A place on the PCI bus, as far as an interface tells it.
struct PCIPlace {
  std::optional<std::uint32_t> domain;
  std::uint32_t bus = 0;
  std::uint32_t device = 0;
  std::optional<std::uint32_t> function;

  bool operator==(const PCIPlace&) const = default;
};

/// A device as one interface knows it.
struct Device {
  std::string number;  ///< By which programs ask for it: an index, or several with colons between.
  std::string name;

  // What identifies it. What the interface does not tell, or tells as zeros, is nothing.
  std::optional<std::uint64_t> luid;
  std::optional<std::uint32_t> node_mask;
  std::optional<PCIPlace> pci;
  std::string uuid;              ///< In the form in which the interface's programs take it.
  bool has_shared_uuid = false;  ///< NVIDIA's, which several interfaces tell alike.

  /// What else is told, with the names under which programs find it.
  std::vector<std::pair<std::string, std::string>> more;

  /// One of these; empty where there is none.
  std::string More(std::string_view wanted) const;
};

enum class State {
  Answered,
  Absent,  ///< Not installed, or it does not start, for this program as for any other.
  Failed,  ///< It is there, but what it knows could not be learned.
};

/// What one interface answered.
struct Findings {
  State state = State::Answered;
  std::vector<Device> devices;
  std::vector<std::string> problems;
  /// Variables, with their values, that would have hidden or reordered devices and were cleared.
  std::vector<std::string> cleared;
};

/// The answer of an interface to which this happened.
Findings MakeFindings(std::vector<Device> devices, const Account& account);

// What drivers tell, as devices hold it.

/// Nothing for zero, which is no adapter's.
std::optional<std::uint64_t> ToLUID(const void* bytes);
/// "8-4-4-4-12" hexadecimal digits in lower case; empty where all bytes are zero.
std::string UUIDText(const unsigned char* bytes);
/// Gives the device this UUID; NVIDIA's in the form that its interfaces share.
void SetUUID(Device& device, const unsigned char* bytes, bool is_from_nvidia);
/// "0000:41:00.0", hexadecimal; the domain may have eight digits or be missing.
std::optional<PCIPlace> ParsePCIText(std::string_view text);
/// The same form back, without what is unknown.
std::string PCIText(const PCIPlace& place);
std::string LUIDText(std::uint64_t luid);

}  // namespace Vexil::Interfaces
