#include "interfaces/Join.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "Vexil/Common/Text.h"

namespace Vexil::Interfaces {
namespace {

/// What is known to identify a GPU. Each is one, or not known yet.
struct Identity {
  std::optional<std::uint64_t> luid;
  std::optional<PCIPlace> place;
  std::string uuid;
};

enum Way { ByLUID, ByPCI, ByUUID };
constexpr std::array kWays = {ByLUID, ByPCI, ByUUID};
constexpr std::array kWayNames = {"LUID", "PCI", "UUID"};

template <typename Value>
bool MayBeEqual(const std::optional<Value>& a, const std::optional<Value>& b) {
  return !a || !b || a == b;
}

bool Fits(const Identity& gpu, const Device& device, Way way) {
  switch (way) {
    case ByLUID: return device.luid && gpu.luid == device.luid;
    case ByPCI:
      return device.pci && gpu.place && gpu.place->bus == device.pci->bus && gpu.place->device == device.pci->device &&
             MayBeEqual(gpu.place->function, device.pci->function) && MayBeEqual(gpu.place->domain, device.pci->domain);
    default: return device.has_shared_uuid && gpu.uuid == device.uuid;
  }
}

std::string WayText(const Device& device, Way way) {
  switch (way) {
    case ByLUID: return "LUID " + LUIDText(*device.luid);
    case ByPCI: return "PCI place " + PCIText(*device.pci);
    default: return "UUID " + device.uuid;
  }
}

class Joiner {
 public:
  Joiner(const std::vector<std::optional<PCIPlace>>& gpus, const std::vector<Told>& told) {
    for (const auto& place : gpus) m_gpus.push_back({std::nullopt, place, {}});
    for (const Told& interface : told) {
      for (const Device& device : interface.findings.devices) m_entries.push_back({interface.name, &device});
    }
  }

  Joined Run() {
    // Windows decides which LUID is at which place: adapters that are linked may share one.
    for (Entry& entry : m_entries) {
      if (entry.interface != std::string_view("Windows")) continue;
      const auto fits = GPUsThatFit(*entry.device, ByPCI);
      if (fits.size() != 1) continue;
      entry.gpu = fits.front();
      entry.way = ByPCI;
      m_gpus[fits.front()].luid = entry.device->luid;
    }
    while (JoinByFirstWayThatTells()) continue;
    return Result();
  }

 private:
  struct Entry {
    const char* interface;
    const Device* device;
    std::optional<std::size_t> gpu = {};
    Way way = ByLUID;
  };

  std::vector<std::size_t> GPUsThatFit(const Device& device, Way way) const {
    std::vector<std::size_t> fits;
    for (std::size_t i = 0; i < m_gpus.size(); ++i) {
      if (Fits(m_gpus[i], device, way)) fits.push_back(i);
    }
    return fits;
  }

  bool JoinByFirstWayThatTells() {
    for (const Way way : kWays) {
      bool has_joined = false;
      for (Entry& entry : m_entries) {
        if (entry.gpu) continue;
        const auto fits = GPUsThatFit(*entry.device, way);
        if (fits.size() != 1) continue;
        entry.gpu = fits.front();
        entry.way = way;
        Learn(m_gpus[fits.front()], *entry.device);
        has_joined = true;
      }
      if (has_joined) return true;
    }
    return false;
  }

  /// What was not known of the GPU, unless it is another GPU's.
  void Learn(Identity& gpu, const Device& device) const {
    if (!gpu.luid && GPUsThatFit(device, ByLUID).empty()) gpu.luid = device.luid;
    if (!gpu.place && GPUsThatFit(device, ByPCI).empty()) gpu.place = device.pci;
    if (gpu.uuid.empty() && device.has_shared_uuid && GPUsThatFit(device, ByUUID).empty()) gpu.uuid = device.uuid;
  }

  Joined Result() const {
    Joined result;
    result.gpus.resize(m_gpus.size());
    for (const Entry& entry : m_entries) {
      if (!entry.gpu) {
        result.others.push_back({entry.interface, *entry.device});
        continue;
      }
      Known known = {entry.interface, *entry.device, kWayNames.at(entry.way)};
      std::vector<Known> elsewhere(m_gpus.size());
      for (const Way way : kWays) {
        const auto fits = GPUsThatFit(*entry.device, way);
        if (fits.empty() || std::find(fits.begin(), fits.end(), *entry.gpu) != fits.end()) continue;
        known.is_disputed = true;
        result.contradictions.push_back(fmt::format("{} {} is GPU {} by its {}, but GPU {} by its {}", entry.interface,
                                                    entry.device->number, *entry.gpu, WayText(*entry.device, entry.way),
                                                    fits.front(), WayText(*entry.device, way)));
        for (const std::size_t gpu : fits) elsewhere[gpu] = {entry.interface, *entry.device, kWayNames.at(way), true};
      }
      for (std::size_t gpu = 0; gpu < m_gpus.size(); ++gpu) {
        if (gpu == *entry.gpu) {
          result.gpus[gpu].push_back(known);
        } else if (elsewhere[gpu].is_disputed) {
          result.gpus[gpu].push_back(elsewhere[gpu]);
        }
      }
    }
    return result;
  }

  std::vector<Identity> m_gpus;
  std::vector<Entry> m_entries;
};

}  // namespace

Joined Join(const std::vector<std::optional<PCIPlace>>& gpus, const std::vector<Told>& told) {
  return Joiner(gpus, told).Run();
}

}  // namespace Vexil::Interfaces
