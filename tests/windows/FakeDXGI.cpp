#include "tests/windows/FakeDXGI.h"

#include <windows.h>

#include <dxgi1_2.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "tests/windows/ImportPatch.h"

namespace Vexil::Tests {
namespace {

// The interfaces by their binary form, a table of functions: implementing them as classes would take
// fifty functions that nobody calls. A call of a function that is not here ends the program.

using Method = void (*)();
using MethodTable = std::array<Method, 32>;

struct Interface {
  const MethodTable* methods;
  const FakeAdapter* adapter = nullptr;
  std::wstring output = {};
};

struct State {
  explicit State(std::vector<FakeAdapter> shown) : adapters(std::move(shown)) {}

  std::vector<FakeAdapter> adapters;
  std::vector<std::unique_ptr<Interface>> interfaces;
  int references = 0;
};
std::optional<State> state;

HRESULT HandOut(Interface interface_to_keep, void** result) {
  state->interfaces.push_back(std::make_unique<Interface>(std::move(interface_to_keep)));
  ++state->references;
  *result = state->interfaces.back().get();
  return S_OK;
}

ULONG STDMETHODCALLTYPE AddRef(Interface*) { return static_cast<ULONG>(++state->references); }
ULONG STDMETHODCALLTYPE Release(Interface*) { return static_cast<ULONG>(--state->references); }

template <std::size_t Size>
void Write(const std::wstring& text, wchar_t (&buffer)[Size]) {
  // As DXGI does with a long name: it fills its buffer, without a NUL.
  std::copy_n(text.begin(), std::min(text.size(), Size), buffer);
}

HRESULT STDMETHODCALLTYPE GetOutputDescription(Interface* output, DXGI_OUTPUT_DESC* description) {
  Write(output->output, description->DeviceName);
  return S_OK;
}

HRESULT STDMETHODCALLTYPE EnumOutputs(Interface* adapter, UINT index, void** output) {
  if (index >= adapter->adapter->outputs.size()) return DXGI_ERROR_NOT_FOUND;
  static const MethodTable methods = [] {
    MethodTable table = {};
    table[1] = reinterpret_cast<Method>(AddRef);
    table[2] = reinterpret_cast<Method>(Release);
    table[7] = reinterpret_cast<Method>(GetOutputDescription);
    return table;
  }();
  return HandOut({&methods, adapter->adapter, adapter->adapter->outputs[index]}, output);
}

HRESULT STDMETHODCALLTYPE GetAdapterDescription2(Interface* adapter, DXGI_ADAPTER_DESC2* description) {
  const FakeAdapter& from = *adapter->adapter;
  Write(from.name, description->Description);
  description->VendorId = from.vendor_id;
  description->DeviceId = from.device_id;
  description->SubSysId = from.subsys_id;
  description->Revision = from.revision;
  description->DedicatedVideoMemory = from.dedicated_video_memory;
  description->SharedSystemMemory = from.shared_system_memory;
  description->AdapterLuid.LowPart = static_cast<DWORD>(from.luid);
  description->AdapterLuid.HighPart = static_cast<LONG>(from.luid >> 32);
  description->Flags = from.flags;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE QueryAdapterInterface(Interface* adapter, const IID* id, void** result) {
  *result = nullptr;
  if (!adapter->adapter->has_adapter2 || !IsEqualIID(*id, __uuidof(IDXGIAdapter2))) return E_NOINTERFACE;
  return HandOut(*adapter, result);
}

HRESULT STDMETHODCALLTYPE EnumAdapters1(Interface*, UINT index, void** adapter) {
  if (index >= state->adapters.size()) return DXGI_ERROR_NOT_FOUND;
  static const MethodTable methods = [] {
    MethodTable table = {};
    table[0] = reinterpret_cast<Method>(QueryAdapterInterface);
    table[1] = reinterpret_cast<Method>(AddRef);
    table[2] = reinterpret_cast<Method>(Release);
    table[7] = reinterpret_cast<Method>(EnumOutputs);
    table[11] = reinterpret_cast<Method>(GetAdapterDescription2);
    return table;
  }();
  return HandOut({&methods, &state->adapters[index]}, adapter);
}

HRESULT WINAPI CreateFactory(REFIID id, void** factory) {
  *factory = nullptr;
  if (state->adapters.empty()) return DXGI_ERROR_UNSUPPORTED;
  if (!IsEqualIID(id, __uuidof(IDXGIFactory2))) return E_NOINTERFACE;
  static const MethodTable methods = [] {
    MethodTable table = {};
    table[1] = reinterpret_cast<Method>(AddRef);
    table[2] = reinterpret_cast<Method>(Release);
    table[12] = reinterpret_cast<Method>(EnumAdapters1);
    return table;
  }();
  return HandOut({&methods}, factory);
}

std::optional<ImportPatch<decltype(CreateFactory)>> patch;

}  // namespace

FakeDXGI::FakeDXGI(std::vector<FakeAdapter> adapters) {
  state.emplace(std::move(adapters));
  patch.emplace("CreateDXGIFactory", CreateFactory);
}

FakeDXGI::~FakeDXGI() { patch.reset(); }

int FakeDXGI::References() { return state->references; }

}  // namespace Vexil::Tests
