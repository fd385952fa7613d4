// Detects in a process of its own, so that a driver that crashes or hangs takes nothing else with it:
// runs "vexil save FILE" with a time limit and reads what it wrote.

#include <Vexil/Vexil.h>
#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using Vexil::FlatBuffers::DetectionResultT;

struct HandleCloser {
  void operator()(void* handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

/// Runs a command line and waits for it; a process that takes longer is ended. True when it ended by
/// itself with an exit code of 0 or 1, which is "no GPU found" and also leaves a result; otherwise tells why not.
bool RunWithin(DWORD milliseconds, std::string command_line) {
  STARTUPINFOA startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info = {};
  // The new process inherits it: a crash ends it at once, without a message box that waits for somebody.
  SetErrorMode(SEM_NOGPFAULTERRORBOX);
  if (CreateProcessA(nullptr, command_line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                     &startup, &info) == FALSE) {
    std::cerr << "vexil.exe could not be started.\n";
    return false;
  }
  const Handle process(info.hProcess);
  const Handle thread(info.hThread);
  if (WaitForSingleObject(process.get(), milliseconds) != WAIT_OBJECT_0) {
    TerminateProcess(process.get(), 3);
    WaitForSingleObject(process.get(), milliseconds);
    std::cerr << "vexil.exe hung.\n";
    return false;
  }
  DWORD exit_code = 0;
  if (GetExitCodeProcess(process.get(), &exit_code) == FALSE || exit_code > 1) {
    std::cerr << "vexil.exe crashed or failed.\n";
    return false;
  }
  return true;
}

/// The result in a file; nothing where it is no whole result.
std::optional<DetectionResultT> ReadResult(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  flatbuffers::Verifier verifier(data, bytes.size());
  if (!Vexil::FlatBuffers::VerifyDetectionResultBuffer(verifier)) return std::nullopt;
  DetectionResultT result;
  Vexil::FlatBuffers::GetDetectionResult(data)->UnPackTo(&result);
  return result;
}

}  // namespace

// isolated_detection [SECONDS]
int main(int count, char** arguments) {
  char folder[MAX_PATH] = {};
  char path[MAX_PATH] = {};
  if (GetTempPathA(sizeof(folder), folder) == 0 || GetTempFileNameA(folder, "vxl", 0, path) == 0) return 2;

  const DWORD seconds = count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 30;
  const bool finished = RunWithin(seconds * 1000, "vexil.exe save \"" + std::string(path) + "\"");
  const auto result = finished ? ReadResult(path) : std::nullopt;
  DeleteFileA(path);
  if (!result) {
    std::cerr << "There is no result.\n";
    return 2;
  }
  for (const auto& matched : result->gpus) {
    if (matched->gpu == nullptr) continue;
    std::cout << EnumNameVendor(matched->gpu->vendor) << " " << matched->gpu->name << '\n';
  }
  return result->gpus.empty() ? 1 : 0;
}
