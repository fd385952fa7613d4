#include "interfaces/platform/Adapters.h"

#include <windows.h>

#include <devpropdef.h>
#include <dxgi1_6.h>
#include <setupapi.h>
#include <wrl/client.h>

#include <fmt/format.h>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"

namespace Vexil::Interfaces {
namespace {

using Microsoft::WRL::ComPtr;

constexpr GUID kDisplayClass = {0x4d36e968, 0xe325, 0x11ce, {0xbf, 0xc1, 0x08, 0x00, 0x2b, 0xe1, 0x03, 0x18}};
constexpr GUID kAdapter = {0x60b193cb, 0x5276, 0x4d0f, {0x96, 0xfc, 0xf1, 0x73, 0xab, 0xad, 0x3e, 0xc6}};
constexpr GUID kDriver = {0xa8b865dd, 0x2e3d, 0x4094, {0xad, 0x97, 0xe5, 0x93, 0xa7, 0x0c, 0x75, 0xd6}};
constexpr GUID kDevice = {0xa45c254e, 0xdf1c, 0x4efd, {0x80, 0x20, 0x67, 0xd1, 0x46, 0xa8, 0x50, 0xe0}};
constexpr DEVPROPKEY kAdapterLUID = {kAdapter, 2};
constexpr DEVPROPKEY kPhysicalIndex = {kAdapter, 3};
constexpr DEVPROPKEY kDriverDate = {kDriver, 2};
constexpr DEVPROPKEY kDriverVersion = {kDriver, 3};
constexpr DEVPROPKEY kBusNumber = {kDevice, 23};
constexpr DEVPROPKEY kAddress = {kDevice, 30};

/// The list of Windows' display class.
class Nodes {
 public:
  Nodes() : m_list(SetupDiGetClassDevsA(&kDisplayClass, nullptr, nullptr, DIGCF_PRESENT)) {}
  ~Nodes() {
    if (m_list != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(m_list);
  }
  Nodes(const Nodes&) = delete;
  Nodes& operator=(const Nodes&) = delete;

  bool Go(DWORD index) {
    m_device = {};
    m_device.cbSize = sizeof(m_device);
    return m_list != INVALID_HANDLE_VALUE && SetupDiEnumDeviceInfo(m_list, index, &m_device) != FALSE;
  }

  std::string Instance() {
    char buffer[1024] = {};
    SetupDiGetDeviceInstanceIdA(m_list, &m_device, buffer, sizeof(buffer), nullptr);
    return TextInBuffer(buffer);
  }

  std::string Description() {
    char buffer[1024] = {};
    SetupDiGetDeviceRegistryPropertyA(m_list, &m_device, SPDRP_DEVICEDESC, nullptr, reinterpret_cast<BYTE*>(buffer),
                                      sizeof(buffer), nullptr);
    return TextInBuffer(buffer);
  }

  template <typename Value>
  std::optional<Value> Property(const DEVPROPKEY& key, DEVPROPTYPE wanted) {
    Value value = {};
    DEVPROPTYPE type = DEVPROP_TYPE_EMPTY;
    const BOOL told = SetupDiGetDevicePropertyW(m_list, &m_device, &key, &type, reinterpret_cast<BYTE*>(&value),
                                                sizeof(value), nullptr, 0);
    return told != FALSE && type == wanted ? std::optional(value) : std::nullopt;
  }

  std::string TextProperty(const DEVPROPKEY& key) {
    wchar_t buffer[256] = {};
    DEVPROPTYPE type = DEVPROP_TYPE_EMPTY;
    const BOOL told = SetupDiGetDevicePropertyW(m_list, &m_device, &key, &type, reinterpret_cast<BYTE*>(buffer),
                                                sizeof(buffer), nullptr, 0);
    return told != FALSE && type == DEVPROP_TYPE_STRING ? NarrowTextInBuffer(buffer, std::size(buffer)) : std::string();
  }

 private:
  HDEVINFO m_list;
  SP_DEVINFO_DATA m_device = {};
};

std::string DateText(const FILETIME& time) {
  SYSTEMTIME date = {};
  if (FileTimeToSystemTime(&time, &date) == FALSE) return {};
  return fmt::format("{:04}-{:02}-{:02}", date.wYear, date.wMonth, date.wDay);
}

}  // namespace

std::optional<std::vector<std::uint64_t>> GetAdaptersByPerformance() {
  ComPtr<IDXGIFactory6> factory;
  if (FAILED(CreateDXGIFactory(IID_PPV_ARGS(&factory))) || factory == nullptr) return std::nullopt;
  std::vector<std::uint64_t> luids;
  for (UINT rank = 0; rank < kMaxItems; ++rank) {
    ComPtr<IDXGIAdapter1> adapter;
    const HRESULT status =
        factory->EnumAdapterByGpuPreference(rank, DXGI_GPU_PREFERENCE_HIGH_PERFORMANCE, IID_PPV_ARGS(&adapter));
    DXGI_ADAPTER_DESC1 description = {};
    if (FAILED(status) || adapter == nullptr) break;
    adapter->GetDesc1(&description);
    const LUID& luid = description.AdapterLuid;
    luids.push_back(std::uint64_t{static_cast<std::uint32_t>(luid.HighPart)} << 32 | luid.LowPart);
  }
  return luids;
}

std::vector<DisplayNode> GetDisplayNodes() {
  std::vector<DisplayNode> found;
  Nodes nodes;
  for (DWORD index = 0; index < kMaxItems && nodes.Go(index); ++index) {
    DisplayNode& node = found.emplace_back();
    node.instance = nodes.Instance();
    node.name = nodes.Description();
    node.luid = nodes.Property<std::uint64_t>(kAdapterLUID, DEVPROP_TYPE_UINT64);
    node.physical_index = nodes.Property<std::uint32_t>(kPhysicalIndex, DEVPROP_TYPE_UINT32);
    node.bus = nodes.Property<std::uint32_t>(kBusNumber, DEVPROP_TYPE_UINT32);
    node.address = nodes.Property<std::uint32_t>(kAddress, DEVPROP_TYPE_UINT32);
    node.driver_version = nodes.TextProperty(kDriverVersion);
    if (const auto date = nodes.Property<FILETIME>(kDriverDate, DEVPROP_TYPE_FILETIME)) {
      node.driver_date = DateText(*date);
    }
  }
  return found;
}

}  // namespace Vexil::Interfaces
