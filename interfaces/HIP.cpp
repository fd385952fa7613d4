#include <algorithm>
#include <bit>
#include <cstring>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

/// Where the properties of version 6 and later hold what is needed here. No driver has more than the room after them.
struct Properties {
  char name[256];
  char uuid[16];
  char luid[8];
  unsigned node_mask;
  char rest[4096 - 284];
};
static_assert(sizeof(Properties) == 4096);

/// AMD's HIP runtime. Its file is named after its major version.
class HIP : public VendorLibrary {
 public:
  explicit HIP(const char* file_name) : VendorLibrary(file_name) {}

  bool Start() { return Open() && Resolve() == nullptr && Starts(hipInit, 0U); }

  Entry<int(unsigned flags)> hipInit{*this, "hipInit"};
  Entry<int(int* count)> hipGetDeviceCount{*this, "hipGetDeviceCount"};
  Entry<int(int* device, int ordinal)> hipDeviceGet{*this, "hipDeviceGet"};
  Entry<int(char* name, int length, int device)> hipDeviceGetName{*this, "hipDeviceGetName", Need::Optional};
  Entry<int(char* text, int length, int device)> hipDeviceGetPCIBusId{*this, "hipDeviceGetPCIBusId", Need::Optional};
  Entry<int(char* uuid, int device)> hipDeviceGetUuid{*this, "hipDeviceGetUuid", Need::Optional};
  Entry<int(Properties*, int ordinal)> hipGetDevicePropertiesR0600{*this, "hipGetDevicePropertiesR0600",
                                                                   Need::Optional};
};

/// Digits as newer runtimes write them; of older ones, whose bytes are numbers, hexadecimal.
std::string HIPUUIDText(const char (&uuid)[16]) {
  const auto is_printable = [](char c) { return c > ' ' && c < 127; };
  if (std::all_of(std::begin(uuid), std::end(uuid), is_printable)) return {uuid, sizeof(uuid)};
  unsigned char bytes[sizeof(uuid)] = {};
  std::memcpy(bytes, uuid, sizeof(uuid));
  return UUIDText(bytes);
}

Device Describe(HIP& hip, int handle, int ordinal) {
  Device device;
  device.number = std::to_string(ordinal);
  char text[256] = {};
  if (hip.hipDeviceGetName && hip.Tells("name", hip.hipDeviceGetName, text, static_cast<int>(sizeof(text)), handle)) {
    device.name = TextInBuffer(text);
  }
  char place[32] = {};
  if (hip.hipDeviceGetPCIBusId &&
      hip.Tells("pci", hip.hipDeviceGetPCIBusId, place, static_cast<int>(sizeof(place)), handle)) {
    device.pci = ParsePCIText(TextInBuffer(place));
  }
  char uuid[16] = {};
  if (hip.hipDeviceGetUuid && hip.Tells("uuid", hip.hipDeviceGetUuid, uuid, handle)) device.uuid = HIPUUIDText(uuid);
  Properties properties = {};
  if (hip.hipGetDevicePropertiesR0600 && hip.Tells("luid", hip.hipGetDevicePropertiesR0600, &properties, ordinal)) {
    device.luid = ToLUID(properties.luid);
    // No node mask of Direct3D, but a bit at the place at which HIP_VISIBLE_DEVICES counts the device.
    if (std::has_single_bit(properties.node_mask)) {
      device.more.emplace_back("visible_index", std::to_string(std::countr_zero(properties.node_mask)));
    }
  }
  return device;
}

Findings Ask(HIP& hip) {
  std::vector<Device> devices;
  int count = 0;
  if (hip.Start() && hip.Lists(hip.hipGetDeviceCount, &count)) {
    for (int ordinal = 0; ordinal < std::min(count, static_cast<int>(kMaxItems)); ++ordinal) {
      hip.TheAccount().About("device", ordinal);
      int handle = 0;
      if (hip.Tells("", hip.hipDeviceGet, &handle, ordinal)) devices.push_back(Describe(hip, handle, ordinal));
    }
  }
  // Where the driver has one device it sets no bit.
  if (count == 1 && devices.size() == 1 && devices[0].More("visible_index").empty()) {
    devices[0].more.emplace_back("visible_index", "0");
  }
  return MakeFindings(std::move(devices), hip.TakeAccount());
}

}  // namespace

Findings AskHIP() {
  Findings findings;
  for (const char* file_name : {"amdhip64_7.dll", "amdhip64_6.dll", "amdhip64.dll"}) {
    HIP hip(file_name);
    findings = Ask(hip);
    if (findings.state != State::Absent || !findings.problems.empty()) break;
  }
  return findings;
}

}  // namespace Vexil::Interfaces
