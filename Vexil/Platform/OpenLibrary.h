#pragma once

#include <cstdint>
#include <string>

namespace Vexil {

/// A function of a library before its caller gives it back its type.
using Symbol = void (*)();

/// The only way to libraries that are found at run time. A handle stays valid until it is closed as often as it was
/// opened. Null where the library does not load, about which no dialog opens; `error` is then Windows' error number.
void* OpenLibrary(const char* file_name, std::uint32_t& error);
Symbol FindSymbol(void* library, const char* name);
void CloseLibrary(void* library);

/// Keeps the code of a library that is open for the life of the process, such as where hosts are given handles that
/// point into it. Once more does nothing.
void PinLibrary(const char* file_name);

/// From now on this process finds libraries in Windows' own folder only, not beside the program, in the current folder
/// or on PATH, where anybody might have put one.
void TrustSystemFolderOnly();

/// The same for OpenLibrary alone: how the rest of the process finds its libraries is not changed. Windows 7 without
/// its update KB2533623 then opens none.
void OpenFromSystemFolderOnly();

/// Windows' text for one of its error numbers, without a line end; empty where it has none.
std::string SystemErrorText(std::uint32_t error);

}  // namespace Vexil
