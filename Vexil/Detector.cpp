#include <ostream>

#include "Vexil/DetectorImpl.h"
#include "Vexil/Results/LiveMemory.h"
#include "Vexil/Results/Queries.h"
#include "Vexil/Results/ResultOutput.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::GPUType;
using FlatBuffers::Vendor;

Detector::Detector() : m_impl(std::make_unique<Impl>()) {}
Detector::~Detector() = default;

int Detector::GetVersion() const { return 1; }

bool Detector::Detect(const DetectOptions& options) {
  const Impl::Lock lock(*m_impl);
  m_impl->options = options;
  m_impl->state = m_impl->Detect() ? DetectionState::Succeeded : DetectionState::Failed;
  return m_impl->state == DetectionState::Succeeded;
}

GPUIDs Detector::GetGPUIDs() {
  const Impl::Lock lock(*m_impl);
  if (!m_impl->EnsureResults()) return {};
  return Vexil::GetGPUIDs(m_impl->gpus);
}

GPUIDs Detector::GetGPUIDsByVendor(Vendor vendor) {
  const Impl::Lock lock(*m_impl);
  if (!m_impl->EnsureResults()) return {};
  return Vexil::GetGPUIDsByVendor(m_impl->gpus, vendor);
}

GPUIDs Detector::GetGPUIDsByAPI(ComputeAPI api) {
  const Impl::Lock lock(*m_impl);
  if (!m_impl->EnsureResults()) return {};
  return Vexil::GetGPUIDsByAPI(m_impl->gpus, api);
}

GPUIDs Detector::GetGPUIDsByType(GPUType type) {
  const Impl::Lock lock(*m_impl);
  if (!m_impl->EnsureResults()) return {};
  return Vexil::GetGPUIDsByType(m_impl->gpus, type);
}

GPUIDs Detector::FindGPUIDs(const std::string& text) {
  const Impl::Lock lock(*m_impl);
  if (!m_impl->EnsureResults()) return {};
  return Vexil::FindGPUIDs(m_impl->gpus, text);
}

std::string Detector::GetMainDisplayGPUID() {
  const Impl::Lock lock(*m_impl);
  return m_impl->EnsureResults() ? m_impl->main_display_gpu_id : std::string();
}

const GPUT& Detector::GetMainDisplayGPU() { return GetGPU(GetMainDisplayGPUID()); }

GPUIDs Detector::GetPeerGPUIDs(const std::string& gpu_id, ComputeAPI api) {
  const Impl::Lock lock(*m_impl);
  if (!m_impl->EnsureResults()) return {};
  const auto peers = FindPeers(m_impl->gpus, gpu_id, api);
  return {peers.begin(), peers.end()};
}

const GPUT& Detector::GetGPU(const std::string& gpu_id) {
  const Impl::Lock lock(*m_impl);
  const GPUT* gpu = m_impl->EnsureResults() ? FindGPUByID(m_impl->gpus, gpu_id) : nullptr;
  return gpu != nullptr ? *gpu : m_impl->invalid_gpu;
}

const std::vector<GPUT>& Detector::GetGPUs() {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  return m_impl->gpus;
}

const std::vector<FlatBuffers::MonitorT>& Detector::GetMonitors() {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  return m_impl->monitors;
}

const FlatBuffers::SystemT& Detector::GetSystem() {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  return m_impl->system;
}

bool Detector::GetSystemMemory(std::uint64_t& available, std::uint64_t& total) {
  return QuerySystemMemory(available, total);
}

bool Detector::GetGPUMemory(const std::string& gpu_id, std::uint64_t& free, std::uint64_t& total) {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  const auto* matched = m_impl->matched_gpus.Find(gpu_id);
  return matched != nullptr && QueryGPUMemory(**matched, free, total);
}

void Detector::Reserved() {}

bool Detector::SaveToFile(const std::string& path) {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  return SaveResult(m_impl->ToResult(), path);
}

bool Detector::WriteTo(std::ostream& stream) {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  return WriteResult(m_impl->ToResult(), stream);
}

bool Detector::Serialize(std::vector<std::uint8_t>& buffer) {
  const Impl::Lock lock(*m_impl);
  m_impl->EnsureResults();
  PackResult(m_impl->ToResult(), buffer);
  return true;
}

}  // namespace Vexil
