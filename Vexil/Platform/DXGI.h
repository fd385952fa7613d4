#pragma once

#include <cstdint>
#include <functional>
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

/// An HRESULT: negative where a call fails.
using DXGIStatus = std::int32_t;
inline constexpr auto kDXGINotFound = static_cast<DXGIStatus>(0x887A0002);

/// One adapter, during a walk over all of them.
class DXGIAdapter {
 public:
  /// What the adapter says before it fails stays.
  virtual DXGIStatus Describe(DXGIAdapterDescription& description) = 0;
  /// The device name of an output, such as "\\.\DISPLAY1", empty where it has none. kDXGINotFound past the last one.
  virtual DXGIStatus NameOutput(std::uint32_t index, std::string& name) = 0;
  /// The adapter's interface, for other libraries that take one.
  virtual void* Interface() = 0;

 protected:
  ~DXGIAdapter() = default;
};

/// The call that ended a walk, and why: EnumAdapters1 past the last adapter, unless something failed.
struct DXGIEnd {
  const char* call;
  DXGIStatus status;
};

/// Visits the adapters with the places at which DXGI enumerates them. Null stands for one that is too old to be asked.
DXGIEnd ForEachDXGIAdapter(const std::function<void(std::uint32_t index, DXGIAdapter*)>& visit);

}  // namespace Vexil
