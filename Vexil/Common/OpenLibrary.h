#pragma once

namespace Vexil {

/// A function of a library before its caller gives it back its type.
using Symbol = void (*)();

/// The one door to libraries that are found at run time. A handle stays valid until closed as often as
/// it was opened; null means that there is no such library.
void* OpenLibrary(const char* file_name);
Symbol FindSymbol(void* library, const char* name);
void CloseLibrary(void* library);

}  // namespace Vexil
