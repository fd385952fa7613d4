#include "Vexil/Platform/DXGI.h"

#include <windows.h>

#include <dxgi1_2.h>
#include <wrl/client.h>

#include <iterator>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Progress.h"
#include "Vexil/Common/Text.h"

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

  DXGIStatus Describe(DXGIAdapterDescription& to) override {
    DXGI_ADAPTER_DESC2 from = {};
    NoteCall("GetDesc2");
    const HRESULT status = m_adapter->GetDesc2(&from);
    to.name = Narrow(from.Description);
    to.vendor_id = from.VendorId;
    to.device_id = from.DeviceId;
    to.subsys_id = from.SubSysId;
    to.revision = from.Revision;
    to.dedicated_video_memory = from.DedicatedVideoMemory;
    to.shared_system_memory = from.SharedSystemMemory;
    to.luid = std::uint64_t{static_cast<std::uint32_t>(from.AdapterLuid.HighPart)} << 32 | from.AdapterLuid.LowPart;
    to.is_software = (from.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0;
    return status;
  }

  DXGIStatus NameOutput(std::uint32_t index, std::string& name) override {
    NoteCall("EnumOutputs");
    ComPtr<IDXGIOutput> output;
    const HRESULT status = m_adapter->EnumOutputs(index, &output);
    if (FAILED(status) || output == nullptr) return FAILED(status) ? status : kDXGINotFound;
    DXGI_OUTPUT_DESC description = {};
    output->GetDesc(&description);
    name = Narrow(description.DeviceName);
    return S_OK;
  }

  void* Interface() override { return m_adapter.Get(); }

 private:
  ComPtr<IDXGIAdapter2> m_adapter;
};

}  // namespace

DXGIEnd ForEachDXGIAdapter(const std::function<void(std::uint32_t index, DXGIAdapter*)>& visit) {
  ComPtr<IDXGIFactory2> factory;
  NoteCall("CreateDXGIFactory");
  const HRESULT created = CreateDXGIFactory(IID_PPV_ARGS(&factory));
  if (factory == nullptr) return {"CreateDXGIFactory", created};
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    NoteCall("EnumAdapters1");
    ComPtr<IDXGIAdapter1> adapter;
    const HRESULT status = factory->EnumAdapters1(index, &adapter);
    if (FAILED(status) || adapter == nullptr) return {"EnumAdapters1", FAILED(status) ? status : kDXGINotFound};
    ComPtr<IDXGIAdapter2> adapter2;
    if (FAILED(adapter.As(&adapter2)) || adapter2 == nullptr) {
      visit(index, nullptr);
      continue;
    }
    ComAdapter visited(std::move(adapter2));
    visit(index, &visited);
  }
  return {"EnumAdapters1", kDXGINotFound};
}

}  // namespace Vexil
