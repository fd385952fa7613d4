// What loading the library costs, and a whole process of the companion program.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <optional>
#include <string>

namespace {

void BM_LoadLibrary(benchmark::State& state) {
  for (auto _ : state) {
    const HMODULE module = LoadLibraryA("vexil.dll");
    if (module == nullptr) return state.SkipWithError("vexil.dll does not load");
    FreeLibrary(module);
  }
}
BENCHMARK(BM_LoadLibrary)->Unit(benchmark::kMillisecond);

/// Starts a program with its output thrown away, and waits for its end. Its exit code; nothing where it does not
/// start.
std::optional<DWORD> RunToEnd(std::string command_line) {
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  HANDLE nowhere = CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                               OPEN_EXISTING, 0, nullptr);
  STARTUPINFOA startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = startup.hStdOutput = startup.hStdError = nowhere;
  PROCESS_INFORMATION process = {};
  const BOOL started =
      CreateProcessA(nullptr, command_line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  DWORD exit_code = 0;
  if (started != FALSE) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &exit_code);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
  }
  CloseHandle(nowhere);
  return started != FALSE ? std::optional(exit_code) : std::nullopt;
}

void BM_Process(benchmark::State& state, const char* command_line) {
  for (auto _ : state) {
    // 1 where the machine has no GPU.
    if (RunToEnd(command_line).value_or(2) > 1) return state.SkipWithError("vexil.exe fails");
  }
}
BENCHMARK_CAPTURE(BM_Process, version, "vexil.exe --version")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Process, report, "vexil.exe")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
