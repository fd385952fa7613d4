// A driver that does not survive its own start, as the environment variable VEXIL_TEST_FAULT has it: Level Zero's, or
// where the fault's name begins with "nvml-", NVML.

#include <windows.h>

#include <cstdio>
#include <cstring>

namespace {

char fault[16];

void Suffer(const char* crash, const char* hang) {
  GetEnvironmentVariableA("VEXIL_TEST_FAULT", fault, sizeof(fault));
  if (std::strcmp(fault, crash) == 0) RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  if (std::strcmp(fault, hang) == 0) Sleep(INFINITE);
}

}  // namespace

extern "C" {

__declspec(dllexport) int nvmlInit_v2() {
  Suffer("nvml-crash", "nvml-hang");
  return 999;
}
__declspec(dllexport) int nvmlShutdown() { return 1; }
__declspec(dllexport) const char* nvmlErrorString(int) { return ""; }
__declspec(dllexport) int nvmlSystemGetDriverVersion(char*, unsigned) { return 1; }
__declspec(dllexport) int nvmlDeviceGetCount_v2(unsigned*) { return 1; }
__declspec(dllexport) int nvmlDeviceGetHandleByIndex_v2(unsigned, void**) { return 1; }
__declspec(dllexport) int nvmlDeviceGetPciInfo_v3(void*, void*) { return 1; }

__declspec(dllexport) int zeInit(unsigned /*flags*/) {
  Suffer("crash", "hang");
  if (std::strcmp(fault, "rubbish") == 0) {
    std::printf("{\"state\": \"answered\"}\n\x1E{\"state\": 3, \n");
    std::fflush(stdout);
    ExitProcess(0);
  }
  // Chatter does no harm.
  std::printf("ze: \x1E no device\n");
  std::fflush(stdout);
  return 0x78000001;
}

__declspec(dllexport) int zeDriverGet(unsigned*, void**) { return 0x78000001; }
__declspec(dllexport) int zeDeviceGet(void*, unsigned*, void**) { return 0x78000001; }
__declspec(dllexport) int zeDeviceGetProperties(void*, void*) { return 0x78000001; }
}
