#include "interfaces/platform/Crash.h"

#include <windows.h>

#include <iterator>

namespace Vexil::Interfaces {
namespace {

CrashMessage the_message = nullptr;
int the_exit_status = 0;

LONG WINAPI Explain(EXCEPTION_POINTERS* fault) {
  char text[256];
  const std::size_t length = the_message(fault->ExceptionRecord->ExceptionCode, text, std::size(text));
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(the_exit_status));
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void ExplainCrashes(CrashMessage message, int exit_status) {
  the_message = message;
  the_exit_status = exit_status;
  SetUnhandledExceptionFilter(Explain);
}

}  // namespace Vexil::Interfaces
