// What GCC's stack protector, and its checks of buffers whose size it knows, call in a mingw build. The compiler's own
// library for it opens a provider of random numbers while a DLL is loaded, which loads three more DLLs under the
// loader's lock.

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

// NOLINTBEGIN(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp): the compiler chose the names.
extern "C" {

extern std::uintptr_t __stack_chk_guard;
[[noreturn]] void __stack_chk_fail();
[[noreturn]] void __chk_fail();
void* __memcpy_chk(void* to, const void* from, std::size_t size, std::size_t room);
void* __memmove_chk(void* to, const void* from, std::size_t size, std::size_t room);
void* __memset_chk(void* to, int byte, std::size_t size, std::size_t room);
}

namespace {

/// Another value in every process, from what an attacker outside of it does not know.
std::uintptr_t MakeGuard() noexcept {
  LARGE_INTEGER counter = {};
  QueryPerformanceCounter(&counter);
  FILETIME time = {};
  GetSystemTimeAsFileTime(&time);
  std::uint64_t guard = 0;
  for (const std::uint64_t part : {static_cast<std::uint64_t>(counter.QuadPart), std::uint64_t{time.dwLowDateTime},
                                   std::uint64_t{GetCurrentProcessId()}, std::uint64_t{GetCurrentThreadId()},
                                   std::uint64_t{reinterpret_cast<std::uintptr_t>(&counter)},
                                   std::uint64_t{reinterpret_cast<std::uintptr_t>(&__stack_chk_guard)}}) {
    guard = (guard ^ part) * 0x9E3779B97F4A7C15;
    guard ^= guard >> 29;
  }
  // A NUL among its bytes stops texts that run over their buffers.
  return static_cast<std::uintptr_t>(guard << 8);
}

[[noreturn]] void Die() {
  constexpr UINT kStackBufferOverrun = 0xC0000409;
  TerminateProcess(GetCurrentProcess(), kStackBufferOverrun);
  for (;;) {
  }
}

}  // namespace

std::uintptr_t __stack_chk_guard = MakeGuard();
void __stack_chk_fail() { Die(); }
void __chk_fail() { Die(); }

void* __memcpy_chk(void* to, const void* from, std::size_t size, std::size_t room) {
  if (size > room) Die();
  return std::memcpy(to, from, size);
}

void* __memmove_chk(void* to, const void* from, std::size_t size, std::size_t room) {
  if (size > room) Die();
  return std::memmove(to, from, size);
}

void* __memset_chk(void* to, int byte, std::size_t size, std::size_t room) {
  if (size > room) Die();
  return std::memset(to, byte, size);
}
// NOLINTEND(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
