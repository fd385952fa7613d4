#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Vexil {

struct DXGIAdapterDescription {
  std::string name;
  std::uint32_t vendor_id = 0;
  std::uint32_t device_id = 0;
  std::uint32_t subsys_id = 0;
  std::uint32_t revision = 0;
  std::uint64_t dedicated_video_memory = 0;  ///< Bytes.
  std::uint64_t shared_system_memory = 0;    ///< Bytes.
  std::uint64_t luid = 0;
  bool is_software = false;
};

/// One adapter, during a walk over all of them.
class DXGIAdapter {
 public:
  virtual DXGIAdapterDescription Description() = 0;
  /// The device name of an output, such as "\\.\DISPLAY1"; nothing past the last one.
  virtual std::optional<std::string> OutputName(std::uint32_t index) = 0;
  /// The adapter's interface, for other libraries that take one.
  virtual void* Interface() = 0;

 protected:
  ~DXGIAdapter() = default;
};

/// What CreateDXGIFactory answers; negative where it fails.
using DXGIStatus = std::int32_t;

/// Visits the adapters with the places at which DXGI enumerates them; none where DXGI does not start.
DXGIStatus ForEachDXGIAdapter(const std::function<void(std::uint32_t index, DXGIAdapter&)>& visit);

}  // namespace Vexil
