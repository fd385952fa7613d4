#include <windows.h>

#include <cstdlib>
#include <string>

// Takes the place of vexil.exe and fares as badly as VEXIL_TEST_FAULT says.
int main() {
  if (std::getenv("VEXIL_TEST_FAULT") == std::string("hang")) Sleep(INFINITE);
  RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}
