#pragma once

#include <string>
#include <vector>

namespace Vexil::Cli {

/// The arguments of the main function as UTF-8, whatever the system's code page is. The first is the program.
std::vector<std::string> Arguments(int argc, const char* const* argv);

/// From now on, until this process ends, a console takes what is written for UTF-8.
void UseUTF8Console();

/// Gives the console its former code page back, for other programs that write to it.
void RestoreConsole();

/// Whether somebody reads standard error as it is written.
bool IsErrorTerminal();

/// Whether the reason of the write that failed last is that nobody reads any more.
bool IsReaderGone(int error_number);

}  // namespace Vexil::Cli
