#pragma once

#include <cstdint>
#include <string>

namespace Vexil {

/// A function of a library before its caller gives it back its type.
using Symbol = void (*)();

/// The only way to libraries that are found at run time. A handle stays valid until it is closed as often as it was
/// opened. Null where the library does not load; `error` is then Windows' error number.
void* OpenLibrary(const char* file_name, std::uint32_t& error);
Symbol FindSymbol(void* library, const char* name);
void CloseLibrary(void* library);

/// Windows' text for one of its error numbers, without a line end; empty where it has none.
std::string SystemErrorText(std::uint32_t error);

}  // namespace Vexil
