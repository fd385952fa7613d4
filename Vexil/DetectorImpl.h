#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Common/InsertionOrderedMap.h"
#include "Vexil.h"

namespace Vexil {

enum class DetectionState : std::int32_t { NotRun = 0, Succeeded = 1, Failed = 2 };

/// What a Detector knows, and the run that finds it out. Every function expects the mutex to be held.
class Detector::Impl {
 public:
  Impl() { invalid_gpu.name = "Invalid"; }

  /// Runs a detection and replaces all results. True when a GPU was found.
  bool Detect();

  /// Runs the detection unless one has run. True when it found a GPU.
  bool EnsureResults();

  /// Everything as one record that shares what is stored.
  FlatBuffers::DetectionResultT ToResult();

  std::vector<FlatBuffers::GPUT> gpus;
  std::vector<FlatBuffers::MonitorT> monitors;
  FlatBuffers::SystemT system;
  std::mutex mutex;
  DetectionState state = DetectionState::NotRun;
  DetectOptions options;
  /// There while a run's options say KeepMarker.
  struct Marker {};
  std::unique_ptr<Marker> marker;
  std::string main_display_gpu_id;
  FlatBuffers::DetectorsOutputT detectors_output;
  /// By GPU identifier. Of two GPUs with the same identifier the later one stands here.
  InsertionOrderedMap<std::string, std::shared_ptr<FlatBuffers::MatchedGPUT>> matched_gpus;
  /// What every lookup that finds nothing returns.
  FlatBuffers::GPUT invalid_gpu;

 private:
  void Clear();
  void AskSources();
};

}  // namespace Vexil
