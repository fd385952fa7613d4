#include "c_interface/Border.h"

#include <algorithm>
#include <cstring>

#include "Vexil/Version.h"

namespace Vexil::C {
namespace {

// Nothing that a thread would have to destroy when it ends: by then the DLL may be gone.
thread_local char t_error[1024];

}  // namespace

void SetError(const char* text) noexcept {
  std::size_t length = std::min(std::strlen(text), sizeof(t_error) - 1);
  // No half of a character at the cut.
  while (length > 0 && text[length] != '\0' && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80) --length;
  std::memcpy(t_error, text, length);
  t_error[length] = '\0';
}

const char* LastError() noexcept { return t_error; }

}  // namespace Vexil::C

uint32_t vexil_abi() { return VEXIL_ABI; }

const char* vexil_version() { return Vexil::kLibraryVersion; }

const char* vexil_status_text(vexil_status status) {
  switch (status) {
    case VEXIL_OK: return "success";
    case VEXIL_INVALID_ARGUMENT: return "invalid argument";
    case VEXIL_INVALID_SIZE: return "invalid size of a struct";
    case VEXIL_NO_SNAPSHOT: return "no such snapshot";
    case VEXIL_OUT_OF_MEMORY: return "out of memory";
    case VEXIL_BUSY: return "a detection is running in this thread";
    case VEXIL_UNREADABLE: return "the file cannot be read";
    case VEXIL_DAMAGED: return "not a result, or a damaged one";
    case VEXIL_UNKNOWN: return "not known";
    case VEXIL_FAILED: return "failed";
    case VEXIL_HELPER_MISSING: return "the helper program did not start";
    case VEXIL_HELPER_TIMED_OUT: return "the helper program took too long";
    case VEXIL_HELPER_CRASHED: return "the helper program crashed";
    case VEXIL_HELPER_NO_ANSWER: return "the helper program did not answer";
    default: return "unknown status";
  }
}

const char* vexil_last_error() { return Vexil::C::LastError(); }
