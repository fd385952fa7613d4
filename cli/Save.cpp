#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/Printing.h"

namespace Vexil::Cli {
namespace {

bool Write(const std::vector<std::uint8_t>& buffer, const std::string& path) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(buffer.data()), static_cast<std::streamsize>(buffer.size()));
  return file.is_open();
}

/// Reads no more than it takes to know.
bool Holds(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ifstream file(path, std::ios::binary);
  const auto is_same = [](char in_file, std::uint8_t byte) { return static_cast<std::uint8_t>(in_file) == byte; };
  return std::equal(std::istreambuf_iterator<char>(file), {}, bytes.begin(), bytes.end(), is_same);
}

}  // namespace

int Save(const Session& session, const std::string& path) {
  if (!Write(session.results.buffer, path)) throw Error("cannot write \"" + path + "\"");
  // Writing to a stream does not report all that can go wrong on the way to the disk.
  if (!Holds(path, session.results.buffer)) throw Error("\"" + path + "\" could not be written completely");
  const Results& results = session.results;
  if (session.json) {
    PrintJson(session.out, {{"file", path}, {"gpus", results.gpus.size()}, {"bytes", results.buffer.size()}});
  } else {
    PrintLine(session.out, fmt::format("Saved {} and {} to \"{}\", {} bytes.", Counted(results.gpus.size(), "GPU"),
                                       Counted(results.monitors.size(), "monitor"), path, results.buffer.size()));
  }
  return FoundStatus(session, !results.gpus.empty());
}

}  // namespace Vexil::Cli
