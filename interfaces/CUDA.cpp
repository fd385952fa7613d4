#include <algorithm>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

/// The CUDA driver interface. Nothing here makes a context.
class CUDA : public VendorLibrary {
 public:
  CUDA() : VendorLibrary("nvcuda.dll") {}

  bool Start() { return Open() && Resolve() == nullptr && Starts(cuInit, 0U); }

  Entry<int(unsigned flags)> cuInit{*this, "cuInit"};
  Entry<int(int* count)> cuDeviceGetCount{*this, "cuDeviceGetCount"};
  Entry<int(int* device, int ordinal)> cuDeviceGet{*this, "cuDeviceGet"};
  Entry<int(char* name, int length, int device)> cuDeviceGetName{*this, "cuDeviceGetName"};
  Entry<int(char* text, int length, int device)> cuDeviceGetPCIBusId{*this, "cuDeviceGetPCIBusId", Need::Optional};
  using GetUuid = int(unsigned char* uuid, int device);
  Entry<GetUuid> cuDeviceGetUuid_v2{*this, "cuDeviceGetUuid_v2", Need::Optional};
  Entry<GetUuid> cuDeviceGetUuid{*this, "cuDeviceGetUuid", Need::Optional};
  Entry<int(char* luid, unsigned* node_mask, int device)> cuDeviceGetLuid{*this, "cuDeviceGetLuid", Need::Optional};
};

void Identify(CUDA& cuda, int handle, Device& device) {
  char place[32] = {};
  if (cuda.cuDeviceGetPCIBusId &&
      cuda.Tells("pci", cuda.cuDeviceGetPCIBusId, place, static_cast<int>(sizeof(place)), handle)) {
    device.pci = ParsePCIText(TextInBuffer(place));
  }
  unsigned char uuid[16] = {};
  const auto& get_uuid = cuda.cuDeviceGetUuid_v2 ? cuda.cuDeviceGetUuid_v2 : cuda.cuDeviceGetUuid;
  if (get_uuid && cuda.Tells("uuid", get_uuid, uuid, handle)) SetUUID(device, uuid, true);
  char luid[8] = {};
  unsigned node_mask = 0;
  if (cuda.cuDeviceGetLuid && cuda.Tells("luid", cuda.cuDeviceGetLuid, luid, &node_mask, handle)) {
    device.luid = ToLUID(luid);
    if (device.luid) device.node_mask = node_mask;
  }
}

}  // namespace

Findings AskCUDA() {
  CUDA cuda;
  std::vector<Device> devices;
  int count = 0;
  if (cuda.Start() && cuda.Lists(cuda.cuDeviceGetCount, &count)) {
    for (int ordinal = 0; ordinal < std::min(count, static_cast<int>(kMaxItems)); ++ordinal) {
      cuda.TheAccount().About("device", ordinal);
      int handle = 0;
      if (!cuda.Tells("", cuda.cuDeviceGet, &handle, ordinal)) continue;
      Device& device = devices.emplace_back();
      device.number = std::to_string(ordinal);
      char name[256] = {};
      if (cuda.Tells("name", cuda.cuDeviceGetName, name, static_cast<int>(sizeof(name)), handle)) {
        device.name = TextInBuffer(name);
      }
      Identify(cuda, handle, device);
    }
  }
  return MakeFindings(std::move(devices), cuda.TakeAccount());
}

}  // namespace Vexil::Interfaces
