#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vexil {

// What regular expressions would find, by hand: std::regex recurses once per character on common
// implementations, and these texts come from drivers and the registry, which may be of any length.
// Each function names the ECMAScript expression whose first match it returns.

/// (\{.*\}): from the first "{" to the last "}" of its line, braces included; empty where there is none.
std::string BracedText(std::string_view text);

/// \{(.*)\}: the same without the braces.
std::string TextInBraces(std::string_view text);

/// (\d+)\.(\d+) for two numbers, (\d+)\.(\d+)\.(\d+)\.(\d+) for four, and so on, after `prefix`.
/// A number that no int can hold throws std::out_of_range.
std::optional<std::vector<int>> FindVersion(std::string_view text, std::size_t numbers, std::string_view prefix = {});

/// (PCI\\VEN_[0-9a-zA-Z]+&DEV_[0-9a-zA-Z]+&SUBSYS_[0-9a-zA-Z]+&REV_[0-9a-zA-Z]+), empty where there is none.
std::string FindPCIHardwareID(std::string_view text);

/// \s\d+-Core: every match removed.
std::string RemoveCoreCount(std::string_view text);

/// (System\\CurrentControlSet\\.*): empty where there is none.
std::string CurrentControlSetPath(std::string_view key);

/// (System\\CurrentControlSet\\.*)\\\d+: the first group, empty where there is none.
std::string CurrentControlSetParentPath(std::string_view key);

}  // namespace Vexil
