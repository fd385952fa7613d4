#include <cstddef>
#include <cstring>

#include "Driver.h"

namespace {
// By offsets, where the library goes by a structure.
constexpr int kRecordSize = 1572;
constexpr int kOutputs = 2;
constexpr int kFirstAdapter = 40;
constexpr int kError = -1;
constexpr int kFusion = 0x20;
bool is_up = false;

void PutNumber(char* record, int offset, int value) { std::memcpy(record + offset, &value, sizeof(value)); }
void PutText(char* record, int offset, const char* text) { std::memcpy(record + offset, text, std::strlen(text) + 1); }
}  // namespace

DRIVER_CALL int ADL_Main_Control_Create(void* (*allocate)(int), int connected_only) {
  is_up = allocate != nullptr && connected_only == 1;
  return is_up ? 0 : kError;
}
DRIVER_CALL int ADL_Main_Control_Destroy() {
  const bool was_up = is_up;
  is_up = false;
  return was_up ? 0 : kError;
}
DRIVER_CALL int ADL_Adapter_NumberOfAdapters_Get(int* count) {
  *count = kOutputs;
  return is_up ? 0 : kError;
}
DRIVER_CALL int ADL_Adapter_Primary_Get(int* adapter) {
  *adapter = kFirstAdapter;
  return 0;
}
DRIVER_CALL int ADL_Adapter_ASICFamilyType_Get(int adapter, int* types, int* valid) {
  if (adapter < kFirstAdapter) return kError;
  *types = kFusion;
  *valid = 0xFF;
  return 0;
}
DRIVER_CALL int ADL_Adapter_AdapterInfo_Get(char* records, int size) {
  if (size != kOutputs * kRecordSize) return kError;
  for (int output = 0; output < kOutputs; ++output) {
    char* record = records + std::ptrdiff_t{output} * kRecordSize;
    int record_size = 0;
    std::memcpy(&record_size, record, sizeof(record_size));
    if (record_size != kRecordSize) return kError;
    PutNumber(record, 4, kFirstAdapter + output);
    PutNumber(record, 264, 3);
    PutNumber(record, 268, 0);
    PutNumber(record, 272, 1);
    PutNumber(record, 276, 0x1002);
    PutText(record, 280, "AMD Radeon(TM) Graphics");
    PutText(record, 536, output == 0 ? "\\\\.\\DISPLAY2" : "\\\\.\\DISPLAY3");
    PutText(record, 1312, "PCI\\VEN_1002&DEV_164E&SUBSYS_88771043&REV_C1\\4&1");
  }
  return 0;
}
DRIVER_CALL int ADL_Graphics_Versions_Get(char* versions) {
  PutText(versions, 0, "23.10.01.41-230915a");
  return 0;
}
