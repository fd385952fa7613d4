#include "cli/platform/Terminal.h"

#include <unistd.h>

#include <cerrno>

namespace Vexil::Cli {

std::vector<std::string> Arguments(int argc, const char* const* argv) { return {argv, argv + argc}; }

void UseUTF8Console() {}
void RestoreConsole() {}

bool IsErrorTerminal() { return isatty(STDERR_FILENO) != 0; }

bool IsReaderGone(int error_number) { return error_number == EPIPE; }

}  // namespace Vexil::Cli
