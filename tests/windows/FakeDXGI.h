#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Vexil::Tests {

struct FakeAdapter {
  std::wstring name;
  std::uint32_t vendor_id = 0;
  std::uint32_t device_id = 0;
  std::uint32_t subsys_id = 0;
  std::uint32_t revision = 0;
  std::uint64_t dedicated_video_memory = 0;
  std::uint64_t shared_system_memory = 0;
  std::uint64_t luid = 0;
  std::uint32_t flags = 0;
  std::vector<std::wstring> outputs = {};
  bool has_adapter2 = true;
};

/// Takes the place of DXGI in this program, as long as this lives. Without adapters to show, it has no
/// factory either.
class FakeDXGI {
 public:
  explicit FakeDXGI(std::vector<FakeAdapter> adapters);
  ~FakeDXGI();
  FakeDXGI(const FakeDXGI&) = delete;
  FakeDXGI& operator=(const FakeDXGI&) = delete;

  /// References to interfaces that were handed out and not yet released.
  static int References();
};

}  // namespace Vexil::Tests
