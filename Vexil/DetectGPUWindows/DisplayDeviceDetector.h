#pragma once

#include <string>

#include "Vexil/Common/Account.h"
#include "Vexil/Common/PCILocation.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The window system's display adapters, in the order in which it first names them. An adapter without
/// a driver is logged and left out.
Answer<FlatBuffers::EnumDisplayDevicesGPUT> GetEnumDisplayDevicesGPUs();

/// True when some adapter belongs to a Citrix remote session.
bool HasCitrixIndirectDisplay();

/// What the registry holds for the adapter with this key; empty where it cannot be read.
std::string GetAdapterDriverKey(const std::string& device_key);
std::string GetAdapterProviderName(const std::string& device_key);

/// Where the display-class device with this driver key sits; unknown where there is none, which the account tells.
PCILocation GetAdapterPCILocation(const std::string& driver_key, Account& account);

}  // namespace Vexil
