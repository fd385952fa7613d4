#include "AMD/AMDDisplayLibrary.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "Common/InsertionOrderedMap.h"
#include "Common/Limits.h"
#include "Common/Log.h"
#include "Common/Patterns.h"
#include "Common/Text.h"
#include "Common/Unknown.h"

namespace Vexil {

using FlatBuffers::AMDDLGPUT;
using FlatBuffers::GPUType;

namespace {

constexpr int kHighestPCIBus = 255;

void* Allocate(int size) { return std::malloc(static_cast<std::size_t>(size)); }

bool Succeeded(int result) { return result == ADL_OK || result == ADL_OK_WARNING; }

bool IsFromAMD(const AdapterInfo& adapter) {
  // Some drivers give the hexadecimal id's digits as a decimal number.
  constexpr std::array kVendorIDs = {0x1002, 0x1022, 1002, 1022};
  return std::find(kVendorIDs.begin(), kVendorIDs.end(), adapter.iVendorID) != kVendorIDs.end();
}

/// Virtual machines put the GPU on a bus that cannot exist; CUDA, OpenCL and DXGI see it at 0:0.0.
void CorrectVirtualLocation(AMDDLGPUT& gpu) {
  if (gpu.pci_bus <= kHighestPCIBus) return;
  LOG_WARN("AMD VM workaround: set PCI {}:{}.{} to 0:0.0", gpu.pci_bus, gpu.pci_device, gpu.pci_function);
  gpu.pci_bus = 0;
  gpu.pci_device = 0;
  gpu.pci_function = 0;
}

}  // namespace

AMDDisplayLibrary::~AMDDisplayLibrary() {
  if (m_initialized) {
    ADL_Main_Control_Destroy();
  } else {
    LeaveOpen();
  }
}

bool AMDDisplayLibrary::Initialize() {
  if (m_initialized) return true;
  if (!Open(kFileName)) return false;
  if (ResolveAll() != nullptr) {
    Unload();
    return false;
  }
  constexpr int kConnectedAdaptersOnly = 1;
  const int status = ADL_Main_Control_Create(Allocate, kConnectedAdaptersOnly);
  m_start_status = status;
  m_initialized = Succeeded(status);
  if (!m_initialized) LOG_WARN("Failed to initialize, control create error.");
  return m_initialized;
}

void AMDDisplayLibrary::Unload() {
  if (m_initialized) ADL_Main_Control_Destroy();
  // Those by which anything starts; the next Initialize resolves all of them anew.
  ADL_Main_Control_Create.Forget();
  ADL_Main_Control_Destroy.Forget();
  ADL_Adapter_NumberOfAdapters_Get.Forget();
  Close();
  m_initialized = false;
}

bool AMDDisplayLibrary::EnumerateGPUs(std::vector<AMDDLGPUT>& gpus) {
  if (!Initialize()) return false;
  gpus.clear();
  std::vector<AdapterInfo> adapters;
  int primary_adapter = -1;
  if (!ReadAdapters(adapters, primary_adapter)) return false;

  // The library lists a GPU once per output.
  InsertionOrderedMap<std::pair<int, int>, AMDDLGPUT> gpu_at;
  for (const AdapterInfo& adapter : adapters) {
    if (!IsFromAMD(adapter)) continue;
    const std::pair location(adapter.iBusNumber, adapter.iDeviceNumber);
    if (gpu_at.Find(location) == nullptr) gpu_at[location] = MakeGPU(adapter, primary_adapter);
    gpu_at[location].display_names.push_back(TextInBuffer(adapter.strDisplayName));
  }
  for (auto& [location, gpu] : gpu_at) gpus.push_back(std::move(gpu));
  if (gpus.size() == 1) CorrectVirtualLocation(gpus.front());
  return true;
}

bool AMDDisplayLibrary::ReadAdapters(std::vector<AdapterInfo>& adapters, int& primary_adapter) {
  int count = 0;
  if (!Succeeded(ADL_Adapter_NumberOfAdapters_Get(&count))) {
    LOG_WARN("Failed to enumerate, adapter enumeration error.");
    return false;
  }
  if (count == 0) {
    LOG_WARN("Failed to enumerate, no adapters found.");
    return false;
  }
  int primary = -1;
  if (ADL_Adapter_Primary_Get && Succeeded(ADL_Adapter_Primary_Get(&primary))) primary_adapter = primary;

  // The buffer is as large as the library is told, so that it cannot write past it.
  const bool credible = count > 0 && count <= static_cast<int>(kMaxItems);
  if (credible) {
    AdapterInfo empty = {};
    empty.iSize = sizeof(empty);
    adapters.assign(static_cast<std::size_t>(count), empty);
  }
  if (!credible ||
      !Succeeded(ADL_Adapter_AdapterInfo_Get(adapters.data(), count * static_cast<int>(sizeof(AdapterInfo))))) {
    LOG_WARN("Failed to enumerate adapters.");
    return false;
  }
  return true;
}

AMDDLGPUT AMDDisplayLibrary::MakeGPU(const AdapterInfo& adapter, int primary_adapter) const {
  AMDDLGPUT gpu;
  gpu.name = TextInBuffer(adapter.strAdapterName);
  gpu.pci_bus = adapter.iBusNumber;
  gpu.pci_device = adapter.iDeviceNumber;
  gpu.pci_function = adapter.iFunctionNumber;
  gpu.is_primary = adapter.iAdapterIndex == primary_adapter;
  gpu.type = ReadGPUType(adapter.iAdapterIndex);
  gpu.hardware_id = FindPCIHardwareID(TextInBuffer(adapter.strPNPString));
  return gpu;
}

GPUType AMDDisplayLibrary::ReadGPUType(int adapter) const {
  int types = 0;
  int valid_types = 0;
  if (!Succeeded(ADL_Adapter_ASICFamilyType_Get(adapter, &types, &valid_types))) return GPUType::Unknown;
  return (types & (ADL_ASIC_INTEGRATED | ADL_ASIC_FUSION)) != 0 ? GPUType::Integrated : GPUType::Discrete;
}

bool AMDDisplayLibrary::GetDriverVersion(std::string& version, std::int32_t& major, std::int32_t& minor) {
  version.clear();
  major = kUnknown;
  minor = kUnknown;
  if (!Initialize()) return false;
  ADLVersionsInfo versions = {};
  if (!Succeeded(ADL_Graphics_Versions_Get(&versions))) return false;
  version = TextInBuffer(versions.strDriverVer);
  if (const auto numbers = FindVersion(version, 2)) {
    major = numbers->at(0);
    minor = numbers->at(1);
  }
  return true;
}

std::vector<AMDDLGPUT> GetAMDDLGPUs() {
  AMDDisplayLibrary library;
  std::vector<AMDDLGPUT> gpus;
  library.EnumerateGPUs(gpus);
  return gpus;
}

bool GetAMDDriverVersion(std::string& version, std::int32_t& major, std::int32_t& minor) {
  AMDDisplayLibrary library;
  return library.GetDriverVersion(version, major, minor);
}

}  // namespace Vexil
