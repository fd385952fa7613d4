#include <cstddef>
#include <cstdlib>

#include "simulation/SimulatedLibraries.h"

// atiadlxx.dll

namespace Vexil::Simulation {
namespace {

constexpr int kOK = 0;
constexpr int kError = -1;
constexpr int kNotInitialized = -2;
constexpr int kInvalidParameter = -3;
constexpr int kInvalidSize = -4;

constexpr const char* kName = "atiadlxx.dll";

struct AdapterRecord {
  int size;
  int index;
  char udid[256];
  int bus;
  int device;
  int function;
  int vendor_id;
  char adapter_name[256];
  char display_name[256];
  int present;
  int exists;
  char driver_path[256];
  char driver_path_ext[256];
  char pnp[256];
  int os_display_index;
};
static_assert(sizeof(AdapterRecord) == 1572 && offsetof(AdapterRecord, pnp) == 1312);

struct Versions {
  char driver[256];
  char catalyst[256];
  char web_link[256];
};

/// Why a call cannot be answered; 0 where it can.
int Refusal(const char* call, std::int64_t adapter = kNoDevice) {
  if (EntryFails(SimulatedADL(), call, {}, adapter)) return kError;
  return IsUp(kName) ? kOK : kNotInitialized;
}

int ADL_Main_Control_Create(void* (*allocate)(int size), int connected_adapters_only) {
  if (EntryFails(SimulatedADL(), "ADL_Main_Control_Create")) return kError;
  if (allocate == nullptr || connected_adapters_only != 1) return kInvalidParameter;
  // What the driver gets there must be memory of the C heap: its callers free it.
  std::free(allocate(16));
  CountUp(kName, 1);
  return kOK;
}

int ADL_Main_Control_Destroy() { return CountDown(kName, Refusal("ADL_Main_Control_Destroy")); }

int ADL_Adapter_NumberOfAdapters_Get(int* count) {
  if (const int refusal = Refusal("ADL_Adapter_NumberOfAdapters_Get")) return refusal;
  *count = Count<int>(TheMachine().adl->claimed_count, TheMachine().adl->adapters);
  return kOK;
}

void Write(const ADLAdapter& from, AdapterRecord& to) {
  to.index = from.index;
  to.bus = static_cast<int>(from.pci.bus);
  to.device = static_cast<int>(from.pci.device);
  to.function = static_cast<int>(from.pci.function);
  to.vendor_id = from.vendor_id;
  WriteText(from.name, to.adapter_name, sizeof(to.adapter_name));
  WriteText(from.display, to.display_name, sizeof(to.display_name));
  WriteText(from.pnp, to.pnp, sizeof(to.pnp));
  to.present = 1;
  to.exists = 1;
}

int ADL_Adapter_AdapterInfo_Get(AdapterRecord* records, int bytes) {
  if (const int refusal = Refusal("ADL_Adapter_AdapterInfo_Get")) return refusal;
  const auto& adapters = TheMachine().adl->adapters;
  const std::size_t room = static_cast<std::size_t>(bytes) / sizeof(AdapterRecord);
  if (records == nullptr || static_cast<std::size_t>(bytes) % sizeof(AdapterRecord) != 0) return kInvalidSize;
  for (std::size_t index = 0; index < std::min(room, adapters.size()); ++index) {
    if (records[index].size != sizeof(AdapterRecord)) return kInvalidSize;
    Write(adapters[index], records[index]);
  }
  return kOK;
}

int ADL_Adapter_ASICFamilyType_Get(int adapter, int* types, int* valid_types) {
  if (const int refusal = Refusal("ADL_Adapter_ASICFamilyType_Get", adapter)) return refusal;
  for (const ADLAdapter& candidate : TheMachine().adl->adapters) {
    if (candidate.index != adapter || !candidate.asic_types) continue;
    *types = *candidate.asic_types;
    *valid_types = 0x3F;
    return kOK;
  }
  return kInvalidParameter;
}

int ADL_Graphics_Versions_Get(Versions* versions) {
  if (const int refusal = Refusal("ADL_Graphics_Versions_Get")) return refusal;
  WriteText(TheMachine().adl->driver_version, versions->driver, sizeof(versions->driver));
  return kOK;
}

int ADL_Adapter_Primary_Get(int* adapter) {
  if (const int refusal = Refusal("ADL_Adapter_Primary_Get")) return refusal;
  if (!TheMachine().adl->primary_adapter) return kError;
  *adapter = *TheMachine().adl->primary_adapter;
  return kOK;
}

}  // namespace

const SimulatedLibrary& SimulatedADL() {
  static const SimulatedLibrary library = {
      kName,
      [] { return Installed(TheMachine().adl); },
      {{"ADL_Main_Control_Create", ToSymbol<ADL_Main_Control_Create>()},
       {"ADL_Main_Control_Destroy", ToSymbol<ADL_Main_Control_Destroy>()},
       {"ADL_Adapter_NumberOfAdapters_Get", ToSymbol<ADL_Adapter_NumberOfAdapters_Get>()},
       {"ADL_Adapter_AdapterInfo_Get", ToSymbol<ADL_Adapter_AdapterInfo_Get>()},
       {"ADL_Adapter_ASICFamilyType_Get", ToSymbol<ADL_Adapter_ASICFamilyType_Get>()},
       {"ADL_Graphics_Versions_Get", ToSymbol<ADL_Graphics_Versions_Get>()},
       {"ADL_Adapter_Primary_Get", ToSymbol<ADL_Adapter_Primary_Get>()}}};
  return library;
}

}  // namespace Vexil::Simulation
