#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdlib>

#include "Vexil/Common/Log.h"
#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Version.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"

namespace Vexil::Cli {
namespace {

using Command = std::function<int(const Session&)>;

/// What was asked for.
struct Request {
  std::optional<std::string> from;
  bool json = false;
  bool verbose = false;
  Filter filter;
  std::optional<std::string> id;
  std::string path;
  std::string shell = "cmd";
  std::vector<std::string> program;
  Watch watch;
};

/// A schema enumeration's names, which end with a null.
std::vector<std::string> Names(const char* const* names) {
  std::vector<std::string> list;
  for (; *names != nullptr; ++names) list.emplace_back(*names);
  return list;
}

/// An option that takes one of these names, in any letter case, as the value at its index.
template <typename Enum>
void AddNameOption(CLI::App& command, const char* option, std::optional<Enum>& value, const char* const* names,
                   const char* description) {
  const auto set = [&value, list = Names(names)](const std::string& name) {
    const auto index = std::find(list.begin(), list.end(), name) - list.begin();
    value = static_cast<Enum>(index);
  };
  command.add_option_function<std::string>(option, set, description)
      ->transform(CLI::IsMember(Names(names), CLI::ignore_case));
}

/// A check for CLI::Range, which takes "nan" for a number in its range.
std::string IsNumber(const std::string& text) {
  return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is not a number" : std::string();
}

void AddGeneralOptions(CLI::App& app, Request& request) {
  app.set_version_flag("--version", std::string("vexil ") + kLibraryVersion);
  app.add_option("--from", request.from, "Answer from a saved result instead of this machine")->type_name("FILE");
  app.add_flag("--json", request.json, "JSON for programs; records have the schema's names");
  app.add_flag("--verbose", request.verbose, "Print the log, with timings, on standard error");
}

/// Parsing a command sets `chosen` to what it does.
void AddCommands(CLI::App& app, Request& request, Command& chosen) {
  const auto add = [&](const char* name, const char* description, Command command) {
    CLI::App* added = app.add_subcommand(name, description);
    added->fallthrough();
    added->callback([&chosen, command = std::move(command)] { chosen = command; });
    return added;
  };

  CLI::App* list = add("list", "One line per GPU", [&](const Session& s) { return List(s, request.filter); });
  AddNameOption(*list, "--vendor", request.filter.vendor, FlatBuffers::EnumNamesVendor(), "Only this vendor's");
  AddNameOption(*list, "--type", request.filter.type, FlatBuffers::EnumNamesGPUType(), "Only those of this type");
  AddNameOption(*list, "--api", request.filter.api, FlatBuffers::EnumNamesComputeAPI(),
                "Only GPUs reachable through this interface");
  list->add_option("--find", request.filter.text, "Only those with this in identifier, vendor, name or type")
      ->type_name("TEXT");

  CLI::App* show = add("show", "All that is known of one GPU, and what other interfaces call it",
                       [&](const Session& s) { return Show(s, *request.id); });
  const char* id_description =
      "Identifier, number in the list, PCI place (65:0, 41:00.0), output (DISPLAY2), main, UUID, or a part of one name";
  show->add_option("ID", request.id, id_description)->required();

  CLI::App* ids =
      add("ids", "By which number each interface knows each GPU", [&](const Session& s) { return Ids(s, request.id); });
  ids->add_option("ID", request.id, id_description);

  CLI::App* env = add("env", "The variables that lead programs to one GPU and away from the others",
                      [&](const Session& s) { return Env(s, *request.id, request.shell); });
  env->add_option("ID", request.id, id_description)->required();
  env->add_option("--shell", request.shell, "cmd, powershell, sh or json")
      ->check(CLI::IsMember({"cmd", "powershell", "sh", "json"}));

  CLI::App* run = add("run", "Run a program with these variables: run ID -- PROGRAM [ARGUMENT...]",
                      [&](const Session& s) { return Cli::Run(s, *request.id, request.program); });
  run->add_option("ID", request.id, id_description)->required();
  run->add_option("PROGRAM", request.program, "The program and its arguments")->required();

  CLI::App* memory = add("memory", "Memory in use at this moment",
                         [&](const Session& s) { return Memory(s, request.id, request.watch); });
  memory->add_option("ID", request.id, id_description);
  CLI::Option* watch = memory->add_option("--watch", request.watch.seconds, "Repeat every SECONDS until interrupted");
  watch->type_name("SECONDS")->check(CLI::Range(0.01, 86400.0))->check(IsNumber);
  memory->add_option("--count", request.watch.count, "Stop after this many readings")
      ->check(CLI::PositiveNumber)
      ->needs(watch);

  CLI::App* save = add("save", "Save the result to a file", [&](const Session& s) { return Save(s, request.path); });
  save->add_option("FILE", request.path, "The file, replaced if it exists")->required();

  CLI::App* rematch = add("rematch", "Match the raw records of a saved result again, and print what would differ",
                          [&](const Session& s) { return Rematch(s); });
  rematch
      ->add_option_function<std::string>(
          "FILE", [&](const std::string& file) { request.from = file; }, "The saved result")
      ->required();
  rematch->excludes(app.get_option("--from"));

  add("doctor", "The status of each source, and what could not be matched", [](const Session& s) { return Doctor(s); });
}

/// What a run packs is read as a saved result is, so that both go the same way from here.
Session Open(const Request& request, std::ostream& out, std::ostream& err) {
  if (request.from) {
    return {UnpackResults(ReadFile(*request.from), "\"" + *request.from + "\""), nullptr, request.json, out, err};
  }
  const auto run = std::make_shared<Detector::Impl>();
  run->Detect();
  std::vector<std::uint8_t> buffer;
  PackResult(run->ToResult(), buffer);
  return {UnpackOwnResults(std::move(buffer)), run, request.json, out, err};
}

int Execute(const Request& request, const Command& command, std::ostream& out, std::ostream& err) {
  SetUpLogging();
  const LogSilencer silencer(!request.verbose);
  const int status = command(Open(request, out, err));
  if (!out.flush()) throw Error("cannot write the output");
  return status;
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  CLI::App app("Finds the GPUs of a machine. Without a command: a report of all that was found.", "vexil");
  app.footer("Exit status: 0 when GPUs were found, 1 when none, 2 on misuse, or where input or output fails.");
  app.require_subcommand(0, 1);
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "vexil: " + std::string(error.what()) + "\nSee vexil --help.\n";
  });

  Request request;
  Command command = Report;
  AddGeneralOptions(app, request);
  AddCommands(app, request, command);
  try {
    app.parse(argc, argv);
    return Execute(request, command, out, err);
  } catch (const CLI::ParseError& error) {
    const bool is_done = app.exit(error, out, err) == 0 && out.flush();
    return is_done ? kFoundGPUs : kCannot;
  } catch (const std::exception& error) {
    out.flush();
    err << "vexil: " << error.what() << '\n';
    return kCannot;
  }
}

}  // namespace Vexil::Cli
