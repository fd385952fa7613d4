#include <fmt/format.h>

#include <fstream>

#include "Commands.h"
#include "TextTable.h"

namespace Vexil::Program {
namespace {

bool Write(const Session& session, const std::string& path) {
  if (session.IsLive()) return session.detector->SaveToFile(path);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  const auto& buffer = session.results.buffer;
  file.write(reinterpret_cast<const char*>(buffer.data()), static_cast<std::streamsize>(buffer.size()));
  return file.is_open();
}

}  // namespace

int Save(const Session& session, const std::string& path) {
  if (!Write(session, path)) throw Error("cannot write \"" + path + "\"");
  // Whether all of it arrived, nobody has told yet.
  if (ReadFile(path) != session.results.buffer) throw Error("\"" + path + "\" could not be written completely");
  if (!session.json) {
    session.out << fmt::format("Saved {} and {} to \"{}\", {} bytes.\n", Counted(session.results.gpus.size(), "GPU"),
                               Counted(session.results.monitors.size(), "monitor"), path,
                               session.results.buffer.size());
  }
  return session.results.gpus.empty() ? kFoundNone : kFoundGPUs;
}

}  // namespace Vexil::Program
