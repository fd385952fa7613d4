#include "cli/FileOutput.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "cli/FileName.h"
#include "cli/ResultFile.h"

namespace Vexil::Cli {

namespace fs = std::filesystem;

namespace {

using Bytes = std::span<const std::uint8_t>;

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  throw Error("cannot write \"" + path + "\"" + (reason.empty() ? "" : ": " + reason));
}

/// Reads no more than it takes to know.
bool Holds(const fs::path& path, Bytes bytes) {
  std::ifstream file(path, std::ios::binary);
  const auto is_same = [](char in_file, std::uint8_t byte) { return static_cast<std::uint8_t>(in_file) == byte; };
  return std::equal(std::istreambuf_iterator<char>(file), {}, bytes.begin(), bytes.end(), is_same);
}

/// The reason why the file does not hold the bytes; empty where it does.
std::string Write(const fs::path& path, Bytes bytes) {
  errno = 0;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) return std::generic_category().message(errno);
  return Holds(path, bytes) ? "" : "not all of it arrived";
}

/// Writes beside the file and takes its place, so that a failure leaves what was there.
void Replace(const fs::path& target, Bytes bytes) {
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
  Fail(NameOf(target), reason);
}

}  // namespace

void WriteFileWhole(const std::string& name, std::span<const std::uint8_t> bytes) {
  if (name.find('\0') != std::string::npos) Fail(name, "a NUL in its name");
  const fs::path path = PathOf(name);
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    // A device or a pipe, in whose place no file may come.
    const std::string reason = Write(path, bytes);
    if (!reason.empty()) Fail(name, reason);
    return;
  }
  // A link stays, and what it points to is replaced.
  const fs::path target = fs::is_symlink(path, error) ? fs::canonical(path, error) : path;
  Replace(target.empty() ? path : target, bytes);
}

void WriteFileWhole(const std::string& name, std::string_view text) {
  WriteFileWhole(name, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace Vexil::Cli
