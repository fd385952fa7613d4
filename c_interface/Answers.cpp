#include "c_interface/Border.h"
#include "c_interface/DriversInUse.h"
#include "c_interface/Snapshot.h"
#include "c_interface/Struct.h"
#include "cli/MemoryUse.h"

// What is asked of a snapshot.

namespace Vexil::C {
namespace {

template <typename List>
std::uint32_t Count(vexil_snapshot* snapshot, const List& list) {
  std::uint32_t count = 0;
  Guarded([&] { count = static_cast<std::uint32_t>((*Find(snapshot).*list)().size()); });
  return count;
}

template <typename Element>
const Element& At(const std::vector<Element>& list, std::uint32_t index) {
  if (index >= list.size()) {
    throw Failure{VEXIL_INVALID_ARGUMENT,
                  "the index " + std::to_string(index) + " is not below " + std::to_string(list.size())};
  }
  return list[index];
}

void GiveUse(const std::optional<Cli::MemoryUse>& use, vexil_memory* memory) {
  if (!use) throw Failure{VEXIL_UNKNOWN, "neither Windows nor a driver tells"};
  vexil_memory figures = {};
  figures.free_bytes = use->free;
  figures.total_bytes = use->total;
  Give(figures, memory);
}

}  // namespace
}  // namespace Vexil::C

using namespace Vexil::C;

uint32_t vexil_gpu_count(vexil_snapshot* snapshot) { return Count(snapshot, &Snapshot::GPUs); }
uint32_t vexil_monitor_count(vexil_snapshot* snapshot) { return Count(snapshot, &Snapshot::Monitors); }

vexil_status vexil_get_gpu(vexil_snapshot* snapshot, uint32_t index, vexil_gpu* gpu) {
  return Guarded([&] {
    Require(gpu, "gpu");
    Give(At(Find(snapshot)->GPUs(), index), gpu);
  });
}

vexil_status vexil_get_monitor(vexil_snapshot* snapshot, uint32_t index, vexil_monitor* monitor) {
  return Guarded([&] {
    Require(monitor, "monitor");
    Give(At(Find(snapshot)->Monitors(), index), monitor);
  });
}

vexil_status vexil_get_system(vexil_snapshot* snapshot, vexil_system* system) {
  return Guarded([&] {
    Require(system, "system");
    Give(Find(snapshot)->System(), system);
  });
}

vexil_status vexil_get_json(vexil_snapshot* snapshot, const char** json) {
  return Guarded([&] {
    Require(json, "json");
    *json = Find(snapshot)->JSON().c_str();
  });
}

vexil_status vexil_get_ids_json(vexil_snapshot* snapshot, const char** json) {
  return Guarded([&] {
    Require(json, "json");
    const std::string* text = Find(snapshot)->IdsJSON();
    if (text == nullptr) throw Failure{VEXIL_UNKNOWN, "VEXIL_NUMBERS was not asked for"};
    *json = text->c_str();
  });
}

vexil_status vexil_get_buffer(vexil_snapshot* snapshot, const void** data, size_t* size) {
  return Guarded([&] {
    Require(data, "data");
    Require(size, "size");
    const auto& buffer = Find(snapshot)->Buffer();
    *data = buffer.data();
    *size = buffer.size();
  });
}

vexil_status vexil_get_system_memory(vexil_memory* memory) {
  return Guarded([&] {
    Require(memory, "memory");
    GiveUse(Vexil::Cli::AskSystemMemory(), memory);
  });
}

vexil_status vexil_get_gpu_memory(vexil_snapshot* snapshot, uint32_t index, vexil_memory* memory) {
  return Guarded([&] {
    Require(memory, "memory");
    const auto found = Find(snapshot);
    At(found->GPUs(), index);
    const auto* handles = found->Handles(index);
    if (handles == nullptr) throw Failure{VEXIL_UNKNOWN, "the GPU was not detected in this process"};
    const DriversInUse drivers;
    GiveUse(Vexil::Cli::AskGPUMemory(*handles), memory);
  });
}
