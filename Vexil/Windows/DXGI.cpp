#include "Windows/DXGI.h"

#include <windows.h>

#include <dxgi1_2.h>
#include <wrl/client.h>

#include <iterator>

#include "Common/Limits.h"
#include "Common/Text.h"

namespace Vexil {
namespace {

using Microsoft::WRL::ComPtr;

template <std::size_t Size>
std::string Narrow(const wchar_t (&text)[Size]) {
  return NarrowTextInBuffer(text, Size);
}

class ComAdapter final : public DXGIAdapter {
 public:
  explicit ComAdapter(ComPtr<IDXGIAdapter2> adapter) : m_adapter(std::move(adapter)) {}

  DXGIAdapterDescription Description() override {
    DXGI_ADAPTER_DESC2 from = {};
    m_adapter->GetDesc2(&from);
    DXGIAdapterDescription to;
    to.name = Narrow(from.Description);
    to.vendor_id = from.VendorId;
    to.device_id = from.DeviceId;
    to.subsys_id = from.SubSysId;
    to.revision = from.Revision;
    to.dedicated_video_memory = from.DedicatedVideoMemory;
    to.shared_system_memory = from.SharedSystemMemory;
    to.luid = std::uint64_t{static_cast<std::uint32_t>(from.AdapterLuid.HighPart)} << 32 | from.AdapterLuid.LowPart;
    to.is_software = (from.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0;
    return to;
  }

  std::optional<std::string> OutputName(std::uint32_t index) override {
    ComPtr<IDXGIOutput> output;
    if (FAILED(m_adapter->EnumOutputs(index, &output)) || output == nullptr) return std::nullopt;
    DXGI_OUTPUT_DESC description = {};
    output->GetDesc(&description);
    return Narrow(description.DeviceName);
  }

  void* Interface() override { return m_adapter.Get(); }

 private:
  ComPtr<IDXGIAdapter2> m_adapter;
};

}  // namespace

DXGIStatus ForEachDXGIAdapter(const std::function<void(std::uint32_t index, DXGIAdapter&)>& visit) {
  ComPtr<IDXGIFactory2> factory;
  const HRESULT status = CreateDXGIFactory(IID_PPV_ARGS(&factory));
  if (factory == nullptr) return status;
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    ComPtr<IDXGIAdapter1> adapter;
    if (FAILED(factory->EnumAdapters1(index, &adapter)) || adapter == nullptr) break;
    ComPtr<IDXGIAdapter2> adapter2;
    if (FAILED(adapter.As(&adapter2)) || adapter2 == nullptr) continue;
    ComAdapter visited(std::move(adapter2));
    visit(index, visited);
  }
  return status;
}

}  // namespace Vexil
