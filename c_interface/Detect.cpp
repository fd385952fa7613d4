#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "Vexil/DetectorImpl.h"
#include "Vexil/Platform/OpenLibrary.h"
#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Version.h"
#include "c_interface/Border.h"
#include "c_interface/DriversInUse.h"
#include "c_interface/Log.h"
#include "c_interface/Snapshot.h"
#include "c_interface/Struct.h"
#include "cli/Detection.h"
#include "cli/FileName.h"
#include "text/CodePage.h"

namespace Vexil::C {

using Cli::Numbers;
using Cli::Results;
using Interfaces::ChildFault;
using Interfaces::Helper;

namespace {

Helper HelperOf(const vexil_options& options) {
  constexpr std::uint32_t kUsualLimit = 30'000;
  const std::uint32_t limit = options.time_limit_ms != 0 ? options.time_limit_ms : kUsualLimit;
  const auto program = options.helper != nullptr ? Cli::PathOf(options.helper) : Interfaces::OwnFolder() / "vexil.exe";
  return {program, std::chrono::milliseconds(limit)};
}

vexil_status StatusOf(ChildFault::Kind fault) {
  switch (fault) {
    case ChildFault::None: return VEXIL_OK;
    case ChildFault::NotStarted: return VEXIL_HELPER_MISSING;
    case ChildFault::Hung: return VEXIL_HELPER_TIMED_OUT;
    case ChildFault::Crashed: return VEXIL_HELPER_CRASHED;
    default: return VEXIL_HELPER_NO_ANSWER;
  }
}

/// What a detection leaves that found nothing and could not even ask.
Results NoResults() {
  FlatBuffers::DetectionResultT nothing;
  nothing.system = std::make_shared<FlatBuffers::SystemT>();
  nothing.detectors_output = std::make_shared<FlatBuffers::DetectorsOutputT>();
  nothing.library_version = kLibraryVersion;
  std::vector<std::uint8_t> buffer;
  PackResult(nothing, buffer);
  return Cli::UnpackOwnResults(std::move(buffer));
}

Results InUTF8(Results results, unsigned code_page) { return Cli::Adapt(std::move(results), code_page, false); }

/// A detection, step by step. What a step could not learn the later ones do without.
class Detection {
 public:
  explicit Detection(const vexil_options& options) : m_options(options), m_helper(HelperOf(options)) {}

  void FindGPUs() {
    if ((m_options.flags & VEXIL_ISOLATED) == 0) {
      const DriversInUse drivers;
      OpenFromSystemFolderOnly();
      const LogTo log(m_options.log, m_options.log_context);
      Detector::Impl run;
      m_results = InUTF8(Cli::DetectHere(run), SystemCodePage());
      return;
    }
    auto isolated = Cli::DetectInChild(m_helper);
    Note(isolated.fault.kind, isolated.fault.text);
    m_results = isolated.results ? InUTF8(std::move(*isolated.results), SystemCodePage()) : NoResults();
  }

  void FindNumbers() {
    if ((m_options.flags & VEXIL_NUMBERS) == 0) return;
    m_numbers = Cli::AskNumbers(m_results.gpus, m_helper);
    // One child fails with its driver, all of them with the helper.
    const auto& told = m_numbers->told;
    const auto& first = told.front();
    if (std::all_of(told.begin(), told.end(), [](const auto& t) { return t.fault != ChildFault::None; })) {
      Note(first.fault, first.findings.problems.front());
    }
  }

  std::shared_ptr<const Snapshot> TakeSnapshot() {
    const auto origin = (m_options.flags & VEXIL_ISOLATED) == 0 ? Origin::ThisProcess : Origin::Elsewhere;
    return std::make_shared<const Snapshot>(std::move(m_results), origin, std::move(m_numbers));
  }

  void ThrowFault() const {
    if (m_fault.status != VEXIL_OK) throw Failure(m_fault);
  }

 private:
  void Note(ChildFault::Kind fault, const std::string& text) {
    if (fault == ChildFault::None || m_fault.status != VEXIL_OK) return;
    m_fault = {StatusOf(fault), "the helper \"" + Cli::NameOf(m_helper.program) + "\": " + text};
  }

  const vexil_options m_options;
  const Helper m_helper;
  Results m_results;
  std::optional<Numbers> m_numbers;
  Failure m_fault = {VEXIL_OK, {}};
};

vexil_options OptionsOf(const vexil_options* given) {
  const vexil_options options = given != nullptr ? Take(given) : vexil_options{};
  constexpr std::uint32_t kFlags = VEXIL_ISOLATED | VEXIL_NUMBERS;
  if ((options.flags & ~kFlags) != 0 || options.reserved != 0) {
    throw Failure{VEXIL_INVALID_ARGUMENT, "an option that this version does not know"};
  }
  return options;
}

vexil_snapshot* Load(std::vector<std::uint8_t> bytes, const std::string& name) {
  try {
    return Register(std::make_shared<const Snapshot>(InUTF8(Cli::UnpackResults(std::move(bytes), name), kWestern),
                                                     Origin::Elsewhere));
  } catch (const Cli::Error& error) {
    throw Failure{VEXIL_DAMAGED, error.what()};
  }
}

std::vector<std::uint8_t> Read(const char* path) {
  try {
    return Cli::ReadFile(path);
  } catch (const Cli::Error& error) {
    throw Failure{VEXIL_UNREADABLE, error.what()};
  }
}

}  // namespace
}  // namespace Vexil::C

using namespace Vexil::C;

vexil_status vexil_detect(const vexil_options* options, vexil_snapshot** snapshot) {
  return Guarded([&] {
    Require(snapshot, "snapshot");
    *snapshot = nullptr;
    Detection detection(OptionsOf(options));
    detection.FindGPUs();
    detection.FindNumbers();
    *snapshot = Register(detection.TakeSnapshot());
    detection.ThrowFault();
  });
}

vexil_status vexil_load(const char* path, vexil_snapshot** snapshot) {
  return Guarded([&] {
    Require(snapshot, "snapshot");
    *snapshot = nullptr;
    Require(path, "path");
    *snapshot = Load(Read(path), "\"" + std::string(path) + "\"");
  });
}

vexil_status vexil_load_buffer(const void* data, size_t size, vexil_snapshot** snapshot) {
  return Guarded([&] {
    Require(snapshot, "snapshot");
    *snapshot = nullptr;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    Require(bytes, "data");
    // Before it is copied.
    if (size > Vexil::Cli::kLargestFile) throw Failure{VEXIL_DAMAGED, "the buffer is too large for a saved result"};
    *snapshot = Load({bytes, bytes + size}, "the buffer");
  });
}

vexil_status vexil_release(vexil_snapshot* snapshot) {
  return Guarded([&] {
    if (snapshot != nullptr) Forget(snapshot);
  });
}
