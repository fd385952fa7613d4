#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <system_error>

#include "Vexil/Common/Log.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Version.h"
#include "cli/Commands.h"
#include "cli/Description.h"
#include "cli/Detection.h"
#include "cli/ExitStatus.h"
#include "cli/FileName.h"
#include "cli/Printing.h"
#include "cli/Waiting.h"
#include "cli/platform/Terminal.h"
#include "interfaces/platform/Crash.h"
#include "text/CodePage.h"

namespace Vexil::Cli {
namespace {

using Command = std::function<int(const Sessions&)>;

/// What was asked for.
struct Request {
  std::vector<std::string> from;
  bool json = false;
  bool verbose = false;
  bool anonymous = false;
  std::optional<unsigned> code_page;
  Filter filter;
  std::optional<std::string> id;
  std::string path;
  std::string shell = "cmd";
  std::vector<std::string> program;
  bool raw = false;
  MemoryOptions memory;
  Pictures pictures;
  bool is_apart = false;  ///< Each source is to be asked in a process of its own.
};

/// A schema enumeration's names, which end with a null.
std::vector<std::string> Names(const char* const* names) {
  std::vector<std::string> list;
  for (; *names != nullptr; ++names) list.emplace_back(*names);
  return list;
}

/// An option that takes one of these names, in any letter case, as the value at its index. Those of other operating
/// systems' GPUs are not offered.
template <typename Enum>
void AddNameOption(CLI::App& command, const char* option, std::optional<Enum>& value, const char* const* names,
                   const char* description) {
  const std::vector<std::string> all = Names(names);
  std::vector<std::string> offered = all;
  std::erase_if(offered, [](const std::string& name) { return name == "Apple" || name == "Metal"; });
  const auto set = [&value, all](const std::string& name) {
    value = static_cast<Enum>(std::find(all.begin(), all.end(), name) - all.begin());
  };
  command.add_option_function<std::string>(option, set, description)
      ->transform(CLI::IsMember(offered, CLI::ignore_case));
}

void AddFilterOptions(CLI::App& command, Filter& filter) {
  AddNameOption(command, "--vendor", filter.vendor, FlatBuffers::EnumNamesVendor(), "Only this vendor's");
  AddNameOption(command, "--type", filter.type, FlatBuffers::EnumNamesGPUType(), "Only those of this type");
  AddNameOption(command, "--api", filter.api, FlatBuffers::EnumNamesComputeAPI(),
                "Only GPUs reachable through this interface");
  command.add_option("--find", filter.text, "Only those with this in identifier, vendor, name or type")
      ->type_name("TEXT");
}

/// A check that a number is in a range, which people have to understand.
CLI::Validator Within(double least, double most, const std::string& in_words) {
  const auto check = [=](const std::string& text) {
    const double number = std::strtod(text.c_str(), nullptr);
    // Also false for "nan".
    const bool is_within = number >= least && number <= most;
    return is_within ? std::string() : "must be " + in_words + ", which " + text + " is not";
  };
  return {check, ""};
}

constexpr const char* kGeneral = "General options";

void AddGeneralOptions(CLI::App& app, Request& request) {
  app.set_help_flag("-h,--help", "This help; \"vexil help COMMAND\" tells of a command");
  app.set_version_flag("-V,--version", std::string("vexil ") + kLibraryVersion);
  app.add_option("--from", request.from,
                 "Answer from a saved result instead of this machine; list takes several, and folders of them")
      ->type_name("FILE")
      ->expected(1)
      ->take_all();
  app.add_option(
         "--codepage", request.code_page,
         "The code page of the texts in saved results that are not UTF-8 [1252]; 932 is Japanese, 1251 Cyrillic")
      ->type_name("NUMBER");
  app.add_flag("--anonymous", request.anonymous,
               "Leave out what tells this machine from others like it, such as its identifier and serial numbers");
  app.add_flag("--json", request.json, "JSON for programs; records have the schema's names");
  app.add_flag("--verbose", request.verbose, "Print the log, with timings, on standard error");
  for (CLI::Option* option : app.get_options()) option->group(kGeneral);
}

/// For commands that answer about one result.
const Session& TheOne(const Sessions& sessions) {
  if (sessions.size() != 1) throw Error("this command takes one saved result; list and rematch take several");
  return sessions.front();
}

/// Parsing a command sets `chosen` to what it does.
void AddCommands(CLI::App& app, Request& request, Command& chosen) {
  const auto add_for_several = [&](const char* name, const char* description, Command command) {
    CLI::App* added = app.add_subcommand(name, description);
    added->fallthrough();
    added->footer([&app] { return CLI::Formatter().make_groups(&app, CLI::AppFormatMode::Normal); });
    added->callback([&chosen, command = std::move(command)] { chosen = command; });
    return added;
  };
  const auto add = [&](const char* name, const char* description, std::function<int(const Session&)> command) {
    return add_for_several(name, description,
                           [command = std::move(command)](const Sessions& all) { return command(TheOne(all)); });
  };

  CLI::App* list =
      add_for_several("list", "One line per GPU", [&](const Sessions& all) { return List(all, request.filter); });
  AddFilterOptions(*list, request.filter);

  CLI::App* show = add("show", "What people ask about one GPU, and what other interfaces call it",
                       [&](const Session& s) { return Show(s, *request.id, request.raw); });
  const char* id_description =
      "Identifier, number in the list, PCI place (65:0, 41:00.0), output (DISPLAY2), main, UUID, or a part of one name";
  show->add_option("ID", request.id, id_description)->required();
  show->add_flag("--raw", request.raw, "Also the raw records of every source");

  add("monitors", "The monitors, their modes and where they stand", [](const Session& s) { return Monitors(s); });

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

  CLI::App* topo = add("topo", "What is linked to what, and how each GPU is connected",
                       [&](const Session& s) { return Topo(s, request.pictures); });
  topo->add_option("--svg", request.pictures.svg, "Draw the machine to this file instead")->type_name("FILE");
  topo->add_option("--html", request.pictures.html, "Write a page with the drawing to this file instead")
      ->type_name("FILE");

  CLI::App* memory = add("memory", "Memory in use at this moment",
                         [&](const Session& s) { return Memory(s, request.id, request.filter, request.memory); });
  memory->add_option("ID", request.id, id_description);
  AddFilterOptions(*memory, request.filter);
  CLI::Option* watch = memory->add_option("--watch", request.memory.seconds, "Repeat every SECONDS until interrupted");
  watch->type_name("SECONDS")->check(Within(0.01, 86400.0, "between 0.01 and 86400 seconds"));
  memory->add_option("--count", request.memory.count, "Stop after this many readings")
      ->type_name("NUMBER")
      ->check(Within(1, std::numeric_limits<unsigned>::max(), "at least 1"))
      ->needs(watch);
  memory->add_flag("--openmetrics", request.memory.is_openmetrics, "For Prometheus' textfile collectors")
      ->excludes(watch);

  CLI::App* save = add("save", "Save the result to a file", [&](const Session& s) { return Save(s, request.path); });
  save->add_option("FILE", request.path, "The file, replaced if it exists")->required();

  CLI::App* rematch =
      add_for_several("rematch", "Match the raw records of saved results again, and print what would differ", Rematch);
  rematch->add_option("FILE", request.from, "The saved results, or folders of them")->required();
  rematch->excludes(app.get_option("--from"));

  add("doctor", "Why something is not found: what each source answers, and what keeps others from it",
      [](const Session& s) { return Doctor(s); })
      ->parse_complete_callback([&request] { request.is_apart = true; });
}

/// The files that were named, and those in the folders that were.
std::vector<std::string> FilesOf(const std::vector<std::string>& names) {
  namespace fs = std::filesystem;
  std::vector<std::string> files;
  for (const std::string& name : names) {
    std::error_code error;
    if (!fs::is_directory(PathOf(name), error)) {
      files.push_back(name);
      continue;
    }
    const std::size_t first = files.size();
    for (const fs::directory_entry& entry : fs::directory_iterator(PathOf(name), error)) {
      if (entry.is_regular_file(error)) files.push_back(NameOf(entry.path()));
    }
    if (error) throw Error("cannot read the folder \"" + name + "\": " + error.message());
    std::sort(files.begin() + static_cast<std::ptrdiff_t>(first), files.end());
  }
  if (files.empty()) throw Error("there is no file in \"" + Join(names, "\", \"") + "\"");
  return files;
}

Session OpenSaved(const Request& request, const std::string& file, std::ostream& out, std::ostream& err) {
  Results results = UnpackResults(ReadFile(file), "\"" + file + "\"");
  results = Adapt(std::move(results), request.code_page.value_or(kWestern), request.anonymous);
  return {file, std::move(results), nullptr, request.json, request.anonymous, out, err};
}

Session OpenThisMachine(const Request& request, std::ostream& out, std::ostream& err) {
  const WaitingLine waiting(err);
  std::optional<DetectionApart> apart;
  if (request.is_apart) apart = DetectApart();
  const auto run = apart ? apart->run : std::make_shared<Detector::Impl>();
  Results results = apart ? ResultsOf(*run) : DetectHere(*run);
  results = Adapt(std::move(results), SystemCodePage(), request.anonymous);
  return {{}, std::move(results), run, request.json, request.anonymous, out, err, {}, std::move(apart)};
}

int Execute(const Request& request, const Command& command, std::ostream& out, std::ostream& err) {
  SetUpLogging();
  const LogSilencer silencer(!request.verbose);
  FollowProgress();
  Interfaces::ExplainCrashes(WriteCrashMessage, kCannot);
  Sessions sessions;
  bool has_all = true;
  if (request.from.empty()) {
    sessions.push_back(OpenThisMachine(request, out, err));
    return command(sessions);
  }
  const auto files = FilesOf(request.from);
  for (const std::string& file : files) {
    try {
      sessions.push_back(OpenSaved(request, file, out, err));
    } catch (const Error& error) {
      if (files.size() == 1) throw;
      // One of many does not keep the others from being read.
      PrintLine(err, std::string("vexil: ") + error.what());
      has_all = false;
    }
  }
  if (sessions.empty()) return kCannot;
  const int status = command(sessions);
  return has_all ? status : kCannot;
}

/// The usual ways to ask for help, as the one that the parser knows, which expects arguments in reverse.
std::vector<std::string> ToParse(std::vector<std::string> arguments) {
  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  std::replace_if(
      arguments.begin(), end, [](const std::string& a) { return a == "/?" || a == "-?"; }, std::string("--help"));
  if (!arguments.empty() && arguments.front() == "help") {
    arguments.erase(arguments.begin());
    arguments.emplace_back("--help");
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

/// Empty where it is not the command that is unknown.
std::string UnknownCommand(const CLI::App& app) {
  const auto remaining = app.remaining(true);
  const bool has_word = !remaining.empty() && remaining.front().rfind('-', 0) != 0;
  if (!has_word || !app.get_subcommands().empty()) return {};
  const auto commands = CommandNames(app);
  const std::string nearest = Nearest(commands, remaining.front());
  return "there is no command \"" + remaining.front() + "\"" +
         (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?") + "\nCommands: " + Join(commands, ", ");
}

int Parse(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
  CLI::App app("Finds the GPUs of a machine. Without a command: a report of all that was found.", "vexil");
  app.footer(
      "Exit status: 0 when GPUs were found, 1 when none, 2 on misuse, or where input or output fails, 3 when\n"
      "rematch finds a difference.");
  app.require_subcommand(0, 1);
  // A name may begin with "/".
  app.allow_windows_style_options(false);

  Request request;
  Command command = [](const Sessions& all) { return Report(TheOne(all)); };
  AddGeneralOptions(app, request);
  AddCommands(app, request, command);
  CLI::App* completion = app.add_subcommand("completion", "A script that completes arguments of vexil in a shell");
  std::string shell;
  completion->add_option("SHELL", shell, "powershell")->required()->check(CLI::IsMember({"powershell"}));
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    const std::string unknown = UnknownCommand(*failed);
    return "vexil: " + (unknown.empty() ? error.what() : unknown) + "\nSee vexil --help.\n";
  });
  try {
    app.parse(ToParse({arguments.begin() + 1, arguments.end()}));
  } catch (const CLI::ParseError& error) {
    return app.exit(error, out, err) == 0 ? kFoundGPUs : kCannot;
  }
  if (completion->parsed()) {
    out << PowerShellCompletion(app);
    return kFoundGPUs;
  }
  return Execute(request, command, out, err);
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
  try {
    // So that the reason of a failure is known.
    out.exceptions(std::ios::badbit);
    const int status = Parse(arguments, out, err);
    out.flush();
    return status;
  } catch (const std::ios_base::failure&) {
    const int reason = errno;
    if (!IsReaderGone(reason))
      err << "vexil: cannot write the output: " << std::generic_category().message(reason) << '\n';
    return kCannot;
  } catch (const std::exception& error) {
    out.flush();
    PrintLine(err, std::string("vexil: ") + error.what());
    return kCannot;
  }
}

}  // namespace Vexil::Cli
