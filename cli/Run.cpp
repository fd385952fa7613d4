#include <algorithm>

#include "Vexil/Common/Text.h"
#include "Vexil/Platform/OpenLibrary.h"
#include "cli/Commands.h"
#include "cli/Env.h"
#include "cli/ExitStatus.h"
#include "cli/platform/Terminal.h"
#include "interfaces/platform/Environment.h"
#include "interfaces/platform/Processes.h"

namespace Vexil::Cli {

int Run(const Session& session, const std::string& id, const std::vector<std::string>& command_line) {
  RequireNumbers(session);
  const FlatBuffers::MatchedGPUT* matched = SelectGPU(session, id);
  // A status that is not the program's has to be told from those that are.
  if (matched == nullptr) return kCannot;
  const Guidance guidance = GuideTo(session, FindNumbers(session), IndexOf(session, *matched));
  if (!guidance.unknown.empty()) {
    throw Error("not started, because it could find another GPU: " + Join(guidance.unknown, "; "));
  }
  for (const char* name : Interfaces::HidingVariables()) {
    if (Interfaces::GetVariable(name)) Interfaces::SetVariable(name, "");
  }
  for (const auto& [name, value] : guidance.variables) Interfaces::SetVariable(name, value);
  session.out.flush();
  RestoreConsole();
  const Interfaces::ProcessEnd end = Interfaces::RunProgram(command_line);
  if (end.kind == Interfaces::ProcessEnd::NotStarted) {
    throw Error("cannot start \"" + command_line.front() + "\": " + SystemErrorText(end.code));
  }
  session.out << end.output;
  return static_cast<int>(end.code);
}

}  // namespace Vexil::Cli
