#include "cli/Description.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "Vexil/Common/Text.h"

namespace Vexil::Cli {
namespace {

/// How many letters have to change, come or go.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

/// "'list', 'show'"
std::string Quoted(const std::vector<std::string>& texts) {
  std::vector<std::string> quoted;
  quoted.reserve(texts.size());
  for (const std::string& text : texts) quoted.push_back("'" + ReplaceAllNoCase(text, "'", "''") + "'");
  return Join(quoted, ", ");
}

/// "--json", "-h", "--help"
std::vector<std::string> NamesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  return names;
}

/// The line of the script's table that tells what may follow a command, or stand before one.
std::string TableLine(const std::string& command, const CLI::App& app, const std::vector<std::string>& first) {
  std::vector<std::string> names = first;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : NamesOf(*option)) names.push_back(name);
  }
  return fmt::format("    '{}' = @({})\n", command, Quoted(names));
}

}  // namespace

std::vector<std::string> CommandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::string Nearest(const std::vector<std::string>& names, const std::string& name) {
  // More would be another word.
  constexpr std::size_t kMostDifferent = 2;
  constexpr std::size_t kLongest = 32;
  if (name.size() > kLongest) return {};
  const auto closer = [&](const std::string& a, const std::string& b) { return Distance(a, name) < Distance(b, name); };
  const auto nearest = std::min_element(names.begin(), names.end(), closer);
  return nearest != names.end() && Distance(*nearest, name) <= kMostDifferent ? *nearest : std::string();
}

std::vector<std::string> ChoicesOf(const CLI::Option& option) {
  // Checks describe themselves as "{cmd,powershell}" behind the type's name.
  const std::string type = option.get_type_name();
  const auto begin = type.find('{');
  const auto end = type.find('}');
  if (begin == std::string::npos || end == std::string::npos) return {};
  return Split(type.substr(begin + 1, end - begin - 1), ',', EmptyPieces::Drop);
}

std::string PowerShellCompletion(const CLI::App& app) {
  std::string commands = TableLine("", app, CommandNames(app));
  std::string choices;
  for (const CLI::App* command : app.get_subcommands({})) {
    commands += TableLine(command->get_name(), *command, {});
    for (const CLI::Option* option : command->get_options()) {
      const auto names = ChoicesOf(*option);
      if (names.empty()) continue;
      for (const std::string& name : NamesOf(*option)) {
        choices += fmt::format("    '{} {}' = @({})\n", command->get_name(), name, Quoted(names));
      }
    }
  }
  return "# Completes the arguments of vexil. In a profile: vexil completion powershell | Out-String | "
         "Invoke-Expression\n"
         "Register-ArgumentCompleter -Native -CommandName vexil, vexil.exe -ScriptBlock {\n"
         "  param($word, $line, $position)\n"
         "  $words = @{\n" +
         commands +
         "  }\n"
         "  $choices = @{\n" +
         choices +
         "  }\n"
         "  $before = @($line.CommandElements | Select-Object -Skip 1 |\n"
         "    Where-Object { $_.Extent.EndOffset -lt $position } | ForEach-Object { $_.ToString() })\n"
         "  $command = [string](@($before | Where-Object { $words.ContainsKey($_) })[0])\n"
         "  $last = if ($before.Count) { $before[-1] } else { '' }\n"
         "  $fitting = $choices[\"$command $last\"]\n"
         "  if (-not $fitting) {\n"
         "    $fitting = $words[$command]\n"
         "    if ($command) { $fitting += $words[''] -like '-*' }\n"
         "  }\n"
         "  $fitting | Where-Object { $_ -like \"$word*\" } | Sort-Object -Unique |\n"
         "    ForEach-Object { [System.Management.Automation.CompletionResult]::new($_) }\n"
         "}\n";
}

}  // namespace Vexil::Cli
