#include "Vexil/DetectorImpl.h"

#include <system_error>

#include "Vexil/Version.h"

namespace Vexil {

Detector::Impl::Lock::Lock(Impl& impl) : m_impl(impl) {
  if (impl.owner == std::this_thread::get_id()) {
    throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
  }
  impl.mutex.lock();
  impl.owner = std::this_thread::get_id();
}

Detector::Impl::Lock::~Lock() {
  m_impl.owner = std::thread::id();
  m_impl.mutex.unlock();
}

bool Detector::Impl::EnsureResults() {
  if (state == DetectionState::NotRun) state = Detect() ? DetectionState::Succeeded : DetectionState::Failed;
  return state == DetectionState::Succeeded;
}

FlatBuffers::DetectionResultT Detector::Impl::ToResult() {
  FlatBuffers::DetectionResultT result;
  result.detectors_output = std::make_shared<FlatBuffers::DetectorsOutputT>(detectors_output);
  for (const auto& [id, matched] : matched_gpus) result.gpus.push_back(matched);
  result.system = std::make_shared<FlatBuffers::SystemT>(system);
  for (const auto& monitor : monitors) result.monitors.push_back(std::make_shared<FlatBuffers::MonitorT>(monitor));
  result.library_version = kLibraryVersion;
  return result;
}

}  // namespace Vexil
