// A driver that does not survive its own start, as the environment variable VEXIL_TEST_FAULT has it.

#include <windows.h>

#include <cstdio>
#include <cstring>

// Level Zero's functions.
extern "C" {

__declspec(dllexport) int zeInit(unsigned /*flags*/) {
  char fault[16] = {};
  GetEnvironmentVariableA("VEXIL_TEST_FAULT", fault, sizeof(fault));
  if (std::strcmp(fault, "crash") == 0)
    RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  if (std::strcmp(fault, "hang") == 0) Sleep(INFINITE);
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
