#pragma once

#include <string>
#include <vector>

#include "Common/PCILocation.h"
#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The window system's display adapters, in the order in which it first names them. An adapter without
/// a driver is logged and left out.
std::vector<FlatBuffers::EnumDisplayDevicesGPUT> GetEnumDisplayDevicesGPUs();

/// True when some adapter belongs to a Citrix remote session.
bool HasCitrixIndirectDisplay();

/// What the registry holds for the adapter with this key; empty where it cannot be read.
std::string GetAdapterDriverKey(const std::string& device_key);
std::string GetAdapterProviderName(const std::string& device_key);

/// Where the display-class device with this driver key sits; unknown where there is none.
PCILocation GetAdapterPCILocation(const std::string& driver_key);

}  // namespace Vexil
