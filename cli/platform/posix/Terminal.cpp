#include "cli/platform/Terminal.h"

#include <cerrno>

namespace Vexil::Cli {

std::vector<std::string> Arguments(int argc, const char* const* argv) { return {argv, argv + argc}; }

void UseUTF8Console() {}
void RestoreConsole() {}

bool IsReaderGone(int error_number) { return error_number == EPIPE; }

}  // namespace Vexil::Cli
