#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/Printing.h"

namespace Vexil::Cli {

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<std::uint8_t>;

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  throw Error("cannot write \"" + path + "\"" + (reason.empty() ? "" : ": " + reason));
}

/// Reads no more than it takes to know.
bool Holds(const fs::path& path, const Bytes& bytes) {
  std::ifstream file(path, std::ios::binary);
  const auto is_same = [](char in_file, std::uint8_t byte) { return static_cast<std::uint8_t>(in_file) == byte; };
  return std::equal(std::istreambuf_iterator<char>(file), {}, bytes.begin(), bytes.end(), is_same);
}

/// The reason why the file does not hold the bytes; empty where it does.
std::string Write(const fs::path& path, const Bytes& bytes) {
  errno = 0;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) return std::generic_category().message(errno);
  return Holds(path, bytes) ? "" : "not all of it arrived";
}

/// Writes beside the file and takes its place, so that a failure leaves what was there.
void Replace(const fs::path& target, const Bytes& bytes) {
  fs::path beside = target;
  beside += ".part";
  std::string reason = Write(beside, bytes);
  std::error_code error;
  if (reason.empty()) {
    fs::rename(beside, target, error);
    if (error) reason = error.message();
  }
  if (reason.empty()) return;
  if (fs::is_regular_file(beside, error)) fs::remove(beside, error);
  Fail(target.string(), reason);
}

void SaveTo(const std::string& path, const Bytes& bytes) {
  if (path.find('\0') != std::string::npos) Fail(path, "a NUL in its name");
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    // A device or a pipe, in whose place no file may come.
    const std::string reason = Write(path, bytes);
    if (!reason.empty()) Fail(path, reason);
    return;
  }
  // A link stays, and what it points to is replaced.
  const fs::path target = fs::is_symlink(path, error) ? fs::canonical(path, error) : fs::path(path);
  Replace(target.empty() ? fs::path(path) : target, bytes);
}

}  // namespace

int Save(const Session& session, const std::string& path) {
  const Results& results = session.results;
  SaveTo(path, results.buffer);
  if (session.json) {
    Json document = Document("save");
    document.update({{"file", path}, {"gpus", results.gpus.size()}, {"bytes", results.buffer.size()}});
    PrintJson(session.out, document);
  } else {
    PrintLine(session.out, fmt::format("Saved {} and {} to \"{}\", {} bytes.", Counted(results.gpus.size(), "GPU"),
                                       Counted(results.monitors.size(), "monitor"), path, results.buffer.size()));
  }
  return FoundStatus(session, !results.gpus.empty());
}

}  // namespace Vexil::Cli
