#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "c_interface/vexil_c.h"
#include "cli/Numbers.h"
#include "cli/ResultFile.h"

namespace Vexil::C {

enum class Origin { ThisProcess, Elsewhere };

/// One detection's results, as hosts are given them.
class Snapshot {
 public:
  Snapshot(Cli::Results results, Origin origin, std::optional<Cli::Numbers> numbers = {});

  const std::vector<vexil_gpu>& GPUs() const { return m_gpus; }
  const std::vector<vexil_monitor>& Monitors() const { return m_monitors; }
  const vexil_system& System() const { return m_system; }
  const std::vector<std::uint8_t>& Buffer() const { return m_results.buffer; }

  const std::string& JSON() const;
  /// Null where the numbers were not asked for.
  const std::string* IdsJSON() const;

  /// What every source said of a GPU. Null where drivers of this process do not know its handles.
  const FlatBuffers::MatchedGPUT* Handles(std::size_t index) const;

 private:
  const char* Keep(const std::string& text);
  vexil_gpu MakeGPU(const FlatBuffers::GPUT& gpu);
  vexil_monitor MakeMonitor(const FlatBuffers::MonitorT& monitor);
  vexil_system MakeSystem(const FlatBuffers::SystemT& system);
  void AddNumbers(const std::vector<Interfaces::Known>& known, vexil_gpu& gpu);

  Cli::Results m_results;
  Origin m_origin;
  std::optional<Cli::Numbers> m_numbers;
  /// Those that the structs point to.
  std::deque<std::string> m_texts;
  std::vector<vexil_gpu> m_gpus;
  std::vector<vexil_monitor> m_monitors;
  vexil_system m_system;
  // Made when they are first asked for.
  mutable std::mutex m_mutex;
  mutable std::string m_json;
  mutable std::string m_ids_json;
};

/// The host's handle of a snapshot: a number that no other snapshot is ever given.
vexil_snapshot* Register(std::shared_ptr<const Snapshot> snapshot);
/// Throws where there is none.
std::shared_ptr<const Snapshot> Find(vexil_snapshot* handle);
void Forget(vexil_snapshot* handle);

}  // namespace Vexil::C
