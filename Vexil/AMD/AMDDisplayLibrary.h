#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Vexil/AMD/ADL.h"
#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "Vexil/Platform/VendorLibrary.h"

namespace Vexil {

/// The AMD Display Library, atiadlxx.dll, which comes with AMD's graphics driver.
class AMDDisplayLibrary : public VendorLibrary {
 public:
  static constexpr const char* kFileName = "atiadlxx.dll";

  AMDDisplayLibrary();
  /// Where the library loaded but would not start, it stays loaded for the life of the process.
  ~AMDDisplayLibrary();

  /// Loads the library and starts it. True when it is ready, also from an earlier call.
  bool Initialize();
  void Unload();

  /// One record per physical GPU, in the order in which the library first names them.
  bool EnumerateGPUs(std::vector<FlatBuffers::AMDDLGPUT>& gpus);

  /// The graphics driver's version, such as "31.0.21912.14", and its first two numbers, which stay
  /// unknown where the text holds none.
  bool GetDriverVersion(std::string& version, std::int32_t& major, std::int32_t& minor);

  Entry<int(ADL_MAIN_MALLOC_CALLBACK* allocate, int connected_adapters_only)> ADL_Main_Control_Create{
      *this, "ADL_Main_Control_Create"};
  Entry<int()> ADL_Main_Control_Destroy{*this, "ADL_Main_Control_Destroy"};
  Entry<int(int* count)> ADL_Adapter_NumberOfAdapters_Get{*this, "ADL_Adapter_NumberOfAdapters_Get"};
  Entry<int(AdapterInfo* adapters, int bytes)> ADL_Adapter_AdapterInfo_Get{*this, "ADL_Adapter_AdapterInfo_Get"};
  Entry<int(int adapter, int* types, int* valid_types)> ADL_Adapter_ASICFamilyType_Get{
      *this, "ADL_Adapter_ASICFamilyType_Get"};
  Entry<int(ADLVersionsInfo* versions)> ADL_Graphics_Versions_Get{*this, "ADL_Graphics_Versions_Get"};
  Entry<int(int* adapter)> ADL_Adapter_Primary_Get{*this, "ADL_Adapter_Primary_Get", Need::Optional};

 private:
  bool ReadAdapters(std::vector<AdapterInfo>& adapters, int& primary_adapter);
  FlatBuffers::AMDDLGPUT MakeGPU(const AdapterInfo& adapter, int primary_adapter);
  FlatBuffers::GPUType ReadGPUType(int adapter);

  bool m_initialized = false;
};

/// The GPUs of the AMD Display Library; none where it is not installed.
Answer<FlatBuffers::AMDDLGPUT> GetAMDDLGPUs();

/// See AMDDisplayLibrary::GetDriverVersion. Calls that failed are added to the account.
bool GetAMDDriverVersion(std::string& version, std::int32_t& major, std::int32_t& minor, Account& account);

}  // namespace Vexil
