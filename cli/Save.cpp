#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "Commands.h"
#include "Json.h"
#include "Printing.h"

namespace Vexil::Program {
namespace {

bool Write(const Session& session, const std::string& path) {
  if (session.IsLive()) return session.detector->SaveToFile(path);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  const auto& buffer = session.results.buffer;
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
  if (!Write(session, path)) throw Error("cannot write \"" + path + "\"");
  // Whether all of it arrived, nobody has told yet.
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

}  // namespace Vexil::Program
