#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Vexil {

/// The present devices of Windows' display class, one after the other. What a device does not tell is
/// nothing.
class DisplayClassDevices {
 public:
  DisplayClassDevices();
  ~DisplayClassDevices();

  /// Goes to the next device, at first to the first one. False where there are no more.
  bool Next();

  /// Class GUID, backslash, four digits.
  std::optional<std::string> DriverKey() const;
  /// The bus, and device << 16 | function, in the registry's record of the device.
  std::optional<std::uint32_t> BusNumber() const;
  std::optional<std::uint32_t> Address() const;

  /// The number by which DXGI knows the adapter.
  std::optional<std::uint64_t> AdapterLUID() const;
  /// The bus and the address in the device's properties.
  std::optional<std::uint32_t> BusNumberProperty() const;
  std::optional<std::uint32_t> AddressProperty() const;

 private:
  struct Walk;
  std::unique_ptr<Walk> m_walk;
};

}  // namespace Vexil
