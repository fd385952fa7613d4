#include "Vexil/Platform/DisplayClass.h"

#include <windows.h>

#include <devpropdef.h>
#include <setupapi.h>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Progress.h"
#include "Vexil/Common/Text.h"

namespace Vexil {
namespace {

constexpr GUID kDisplayClass = {0x4d36e968, 0xe325, 0x11ce, {0xbf, 0xc1, 0x08, 0x00, 0x2b, 0xe1, 0x03, 0x18}};

constexpr DEVPROPKEY kAdapterLUID = {{0x60b193cb, 0x5276, 0x4d0f, {0x96, 0xfc, 0xf1, 0x73, 0xab, 0xad, 0x3e, 0xc6}}, 2};
constexpr GUID kDeviceProperties = {0xa45c254e, 0xdf1c, 0x4efd, {0x80, 0x20, 0x67, 0xd1, 0x46, 0xa8, 0x50, 0xe0}};
constexpr DEVPROPKEY kBusNumber = {kDeviceProperties, 23};
constexpr DEVPROPKEY kAddress = {kDeviceProperties, 30};

HDEVINFO ListPresentDevices() {
  NoteCall("SetupDiGetClassDevsA");
  return SetupDiGetClassDevsA(&kDisplayClass, nullptr, nullptr, DIGCF_PRESENT);
}

}  // namespace

struct DisplayClassDevices::Walk {
  Walk() : list(ListPresentDevices()) {}
  ~Walk() {
    if (list != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(list);
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  std::optional<std::uint32_t> RegistryNumber(DWORD property) {
    std::uint32_t value = 0;
    if (SetupDiGetDeviceRegistryPropertyA(list, &device, property, nullptr, reinterpret_cast<BYTE*>(&value),
                                          sizeof(value), nullptr) == FALSE) {
      return std::nullopt;
    }
    return value;
  }

  template <typename Number>
  std::optional<Number> Property(const DEVPROPKEY& key) {
    Number value = 0;
    DEVPROPTYPE type = DEVPROP_TYPE_EMPTY;
    constexpr DEVPROPTYPE kType = sizeof(Number) == 8 ? DEVPROP_TYPE_UINT64 : DEVPROP_TYPE_UINT32;
    if (SetupDiGetDevicePropertyW(list, &device, &key, &type, reinterpret_cast<BYTE*>(&value), sizeof(value), nullptr,
                                  0) == FALSE ||
        type != kType) {
      return std::nullopt;
    }
    return value;
  }

  HDEVINFO list;
  SP_DEVINFO_DATA device = {};
  DWORD next = 0;
};

DisplayClassDevices::DisplayClassDevices() : m_walk(std::make_unique<Walk>()) {}
DisplayClassDevices::~DisplayClassDevices() = default;

bool DisplayClassDevices::Next() {
  if (m_walk->list == INVALID_HANDLE_VALUE || m_walk->next >= kMaxItems) return false;
  m_walk->device = {};
  m_walk->device.cbSize = sizeof(m_walk->device);
  return SetupDiEnumDeviceInfo(m_walk->list, m_walk->next++, &m_walk->device) != FALSE;
}

std::optional<std::string> DisplayClassDevices::DriverKey() const {
  char buffer[4096] = {};
  if (SetupDiGetDeviceRegistryPropertyA(m_walk->list, &m_walk->device, SPDRP_DRIVER, nullptr,
                                        reinterpret_cast<BYTE*>(buffer), sizeof(buffer), nullptr) == FALSE) {
    return std::nullopt;
  }
  return TextInBuffer(buffer);
}

std::optional<std::uint32_t> DisplayClassDevices::BusNumber() const { return m_walk->RegistryNumber(SPDRP_BUSNUMBER); }
std::optional<std::uint32_t> DisplayClassDevices::Address() const { return m_walk->RegistryNumber(SPDRP_ADDRESS); }

std::optional<std::uint64_t> DisplayClassDevices::AdapterLUID() const {
  return m_walk->Property<std::uint64_t>(kAdapterLUID);
}
std::optional<std::uint32_t> DisplayClassDevices::BusNumberProperty() const {
  return m_walk->Property<std::uint32_t>(kBusNumber);
}
std::optional<std::uint32_t> DisplayClassDevices::AddressProperty() const {
  return m_walk->Property<std::uint32_t>(kAddress);
}

}  // namespace Vexil
