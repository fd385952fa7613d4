#pragma once

#include <filesystem>
#include <string>

namespace Vexil::Cli {

/// The file with this name, which is UTF-8 as all texts of the program are.
inline std::filesystem::path PathOf(const std::string& name) { return {std::u8string(name.begin(), name.end())}; }

/// The name of a file.
inline std::string NameOf(const std::filesystem::path& path) {
  const std::u8string name = path.u8string();
  return {name.begin(), name.end()};
}

}  // namespace Vexil::Cli
