#pragma once

#include <optional>
#include <string>

namespace Vexil::Interfaces {

struct LibraryFile {
  std::string path;
  std::string version;  ///< "31.0.15.3713"; empty where the file tells none.
};

/// The library's file in Windows' own folder, the only one where the programs look for libraries. Runs none of its
/// code. Nothing where there is no such file.
std::optional<LibraryFile> FindLibraryFile(const std::string& file_name);

}  // namespace Vexil::Interfaces
