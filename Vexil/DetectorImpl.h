#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Vexil/Common/Account.h"
#include "Vexil/Common/InsertionOrderedMap.h"
#include "Vexil/Sources/Sources.h"
#include "Vexil/Vexil.h"

namespace Vexil {

enum class DetectionState : std::int32_t { NotRun = 0, Succeeded = 1, Failed = 2 };

/// What is asked before the sources, by the name that the progress has for it: the drivers' versions are part of it.
inline constexpr const char* kSystemInformation = "system information";

/// What happened in a run.
struct RunAccount {
  Account system;
  /// One for each of kSources, in their order.
  std::array<Account, kSourceCount> sources;
  /// Where the sources had not settled which GPU drives the main display.
  std::vector<std::string> main_display_remarks;
};

/// What a Detector knows, and the run that finds it out. Every function expects the mutex to be held.
class Detector::Impl {
 public:
  /// Holds the mutex. Throws std::system_error where this thread holds it already: a log appender of the host's runs
  /// under it, and might ask the Detector.
  class Lock {
   public:
    explicit Lock(Impl& impl);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    Impl& m_impl;
  };

  Impl() { invalid_gpu.name = "Invalid"; }

  /// Runs a detection and replaces all results. True when a GPU was found.
  bool Detect();

  /// The part of a run that asks nobody: decides which of the sources' records are one GPU, and stores the results.
  /// Lists all GPUs, also those whose identifier another has. True when there is one.
  bool MatchRecords(std::vector<FlatBuffers::MatchedGPUT>& matched);

  /// Runs the detection unless one has run. True when it found a GPU.
  bool EnsureResults();

  /// Everything as one record that shares what is stored.
  FlatBuffers::DetectionResultT ToResult();

  std::vector<FlatBuffers::GPUT> gpus;
  std::vector<FlatBuffers::MonitorT> monitors;
  FlatBuffers::SystemT system;
  std::mutex mutex;
  /// The thread that holds the mutex.
  std::atomic<std::thread::id> owner;
  DetectionState state = DetectionState::NotRun;
  DetectOptions options;
  /// Made by each run whose options have KeepMarker set, deleted by the next run.
  struct Marker {};
  std::unique_ptr<Marker> marker;
  std::string main_display_gpu_id;
  FlatBuffers::DetectorsOutputT detectors_output;
  /// By GPU identifier. Of two GPUs with the same identifier the later one stands here.
  InsertionOrderedMap<std::string, std::shared_ptr<FlatBuffers::MatchedGPUT>> matched_gpus;
  /// What every lookup that finds nothing returns.
  FlatBuffers::GPUT invalid_gpu;
  RunAccount account;

 private:
  void Clear();
  void AskSources();
};

}  // namespace Vexil
