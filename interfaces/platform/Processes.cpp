#include "interfaces/platform/Processes.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <ratio>

namespace Vexil::Interfaces {
namespace {

struct Close {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, Close>;

using Clock = std::chrono::steady_clock;

/// More than any answer has.
constexpr std::size_t kMostOutput = std::size_t{1} << 22;

/// One argument as a program's C library takes command lines apart.
void AppendQuoted(std::string& line, const std::string& argument) {
  if (!line.empty()) line += ' ';
  if (!argument.empty() && argument.find_first_of(" \t\n\v\"") == std::string::npos) {
    line += argument;
    return;
  }
  line += '"';
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') line.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    line += c;
  }
  line.append(backslashes, '\\');
  line += '"';
}

std::filesystem::path FileOf(HMODULE module) {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

/// Windows' own unit of time.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

std::int64_t Count(const FILETIME& time) {
  return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

/// A process that inherits nothing but its streams.
class Child {
 public:
  Child(const std::filesystem::path& program, const std::vector<std::string>& arguments, HANDLE job, HANDLE nothing) {
    if (!Start(program, arguments, job, nothing)) m_end = {ProcessEnd::NotStarted, GetLastError()};
  }

  bool IsRunning() const { return m_process != nullptr && WaitForSingleObject(m_process.get(), 0) == WAIT_TIMEOUT; }

  /// What is in the pipe now. The end of the pipe says nothing: others may hold it.
  void Drain() {
    DWORD available = 0;
    while (m_pipe != nullptr && PeekNamedPipe(m_pipe.get(), nullptr, 0, nullptr, &available, nullptr) != FALSE &&
           available > 0) {
      char block[4096];
      DWORD size = 0;
      if (ReadFile(m_pipe.get(), block, std::min<DWORD>(available, sizeof(block)), &size, nullptr) == FALSE) break;
      if (m_end.output.size() < kMostOutput) m_end.output.append(block, size);
    }
  }

  void Stop() {
    m_end.kind = ProcessEnd::TimedOut;
    TerminateProcess(m_process.get(), 1);
  }

  ProcessEnd TakeEnd() {
    Drain();
    DWORD code = 0;
    if (m_end.kind == ProcessEnd::Ended && GetExitCodeProcess(m_process.get(), &code) != FALSE) m_end.code = code;
    FILETIME created = {};
    FILETIME ended = {};
    FILETIME in_kernel = {};
    FILETIME in_program = {};
    if (m_end.kind == ProcessEnd::Ended &&
        GetProcessTimes(m_process.get(), &created, &ended, &in_kernel, &in_program) != FALSE) {
      m_end.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Ticks(Count(ended) - Count(created)));
    }
    return std::move(m_end);
  }

 private:
  bool Start(const std::filesystem::path& program, const std::vector<std::string>& arguments, HANDLE job,
             HANDLE nothing) {
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    // A child that announces many calls need not wait for its reader.
    constexpr DWORD kPipeSize = 65536;
    if (CreatePipe(&read, &write, &inheritable, kPipeSize) == FALSE) return false;
    m_pipe.reset(read);
    const Handle write_end(write);
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);

    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    std::vector<unsigned char> buffer(size);
    auto* const attributes = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(buffer.data());
    HANDLE streams[] = {nothing, write};
    if (InitializeProcThreadAttributeList(attributes, 1, 0, &size) == FALSE) return false;
    UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, streams, sizeof(streams), nullptr,
                              nullptr);

    std::string line = "vexil";
    for (const std::string& argument : arguments) AppendQuoted(line, argument);
    std::wstring wide_line(line.begin(), line.end());
    STARTUPINFOEXW start = {};
    start.StartupInfo.cb = sizeof(start);
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = nothing;
    start.StartupInfo.hStdOutput = write;
    start.StartupInfo.hStdError = nothing;
    start.lpAttributeList = attributes;
    PROCESS_INFORMATION process = {};
    const BOOL started = CreateProcessW(program.c_str(), wide_line.data(), nullptr, nullptr, TRUE,
                                        EXTENDED_STARTUPINFO_PRESENT | CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr,
                                        nullptr, &start.StartupInfo, &process);
    DeleteProcThreadAttributeList(attributes);
    if (started == FALSE) return false;
    m_process.reset(process.hProcess);
    const Handle thread(process.hThread);
    AssignProcessToJobObject(job, process.hProcess);
    return ResumeThread(process.hThread) != static_cast<DWORD>(-1);
  }

  Handle m_pipe;
  Handle m_process;
  ProcessEnd m_end = {ProcessEnd::Ended, 0};
};

/// Goes with this process, and its processes with it.
Handle MakeJob() {
  Handle job(CreateJobObjectA(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  return job;
}

}  // namespace

std::filesystem::path ThisProgram() { return FileOf(nullptr); }

std::filesystem::path OwnFolder() {
  // Any address in this module.
  static const char address = 0;
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, &address,
                     &module);
  return FileOf(module).parent_path();
}

std::vector<ProcessEnd> RunAtOnce(
    const std::filesystem::path& program, const std::vector<std::vector<std::string>>& arguments,
    std::chrono::milliseconds limit, const std::function<void(std::size_t child)>& waits_for,
    const std::function<std::string(const std::vector<std::string>& arguments)>& /*in_this_process*/) {
  const Handle job = MakeJob();
  SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
  const Handle nothing(CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                   &inheritable, OPEN_EXISTING, 0, nullptr));
  const auto deadline = Clock::now() + limit;
  std::vector<std::unique_ptr<Child>> children;
  children.reserve(arguments.size());
  for (const auto& of_child : arguments) {
    children.push_back(std::make_unique<Child>(program, of_child, job.get(), nothing.get()));
  }
  const auto is_running = [](const auto& child) { return child->IsRunning(); };
  while (Clock::now() < deadline) {
    const auto running = std::find_if(children.begin(), children.end(), is_running);
    if (running == children.end()) break;
    waits_for(static_cast<std::size_t>(running - children.begin()));
    for (const auto& child : children) child->Drain();
    Sleep(5);
  }
  std::vector<ProcessEnd> ends;
  for (const auto& child : children) {
    if (child->IsRunning()) child->Stop();
    ends.push_back(child->TakeEnd());
  }
  return ends;
}

void BecomeChild() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX); }

ProcessEnd RunProgram(const std::vector<std::string>& command_line) {
  std::string line;
  for (const std::string& argument : command_line) AppendQuoted(line, argument);
  STARTUPINFOA start = {};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process = {};
  // Whether Control-C ends the program is the program's decision.
  SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process) == FALSE) {
    return {ProcessEnd::NotStarted, GetLastError()};
  }
  const Handle thread(process.hThread);
  const Handle handle(process.hProcess);
  DWORD code = 0;
  WaitForSingleObject(process.hProcess, INFINITE);
  GetExitCodeProcess(process.hProcess, &code);
  return {ProcessEnd::Ended, code};
}

}  // namespace Vexil::Interfaces
