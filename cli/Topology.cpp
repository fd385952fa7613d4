#include "cli/Topology.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <utility>

#include "Vexil/Common/Unknown.h"
#include "Vexil/Sources/Sources.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::Vendor;

namespace {

using Place = std::pair<std::int32_t, std::int32_t>;

/// Whether a source was asked for this field, through an entry point whose name begins so, and nothing failed. Of a
/// saved result nobody knows.
bool IsToldOfAll(const Session& session, std::string_view source_name, std::string_view field,
                 std::string_view entry_point) {
  if (session.run == nullptr) return false;
  std::size_t index = 0;
  const Account* account = nullptr;
  ForEachSource([&](const auto& source) {
    if (source.name == source_name) account = &session.run->account.sources.at(index);
    ++index;
  });
  if (account == nullptr || account->state != SourceState::Answered) return false;
  const auto is_entry_point = [&](const std::string& name) { return name.rfind(entry_point, 0) == 0; };
  const auto cost_it = [&](const FailedCall& call) { return call.unknown.find(field) != std::string::npos; };
  return std::none_of(account->missing_optional.begin(), account->missing_optional.end(), is_entry_point) &&
         std::none_of(account->failed_calls.begin(), account->failed_calls.end(), cost_it);
}

/// Where a maker is not known, it may be this one.
bool MayBeBoth(const GPUT& one, const GPUT& other, Vendor vendor) {
  const auto may_be = [&](const GPUT& gpu) { return gpu.vendor == vendor || gpu.vendor == Vendor::Unknown; };
  return may_be(one) && may_be(other);
}

class Finder {
 public:
  explicit Finder(const Session& session)
      : m_matched(session.results.matched),
        m_links(m_matched.size(), std::vector<Link>(m_matched.size())),
        m_nvlink_ends(m_matched.size()),
        m_nvlinks_are_told(IsToldOfAll(session, "NVML", "nvlink_remote", "nvmlDeviceGetNvLinkRemotePciInfo")),
        m_opencl_peers_are_told(IsToldOfAll(session, "OpenCL", "peers", "clGetDeviceInfo")) {
    for (std::size_t i = 0; i < m_matched.size(); ++i) {
      const GPUT& gpu = *m_matched[i].gpu;
      if (gpu.pci_bus != kUnknown && gpu.pci_device != kUnknown) {
        m_at_place[{gpu.pci_bus, gpu.pci_device}].push_back(i);
      }
      if (gpu.cuda_index != kUnknown) m_of_cuda.emplace(gpu.cuda_index, i);
      if (gpu.opencl_device_id != kNoDevice) m_of_opencl.emplace(gpu.opencl_device_id, i);
    }
  }

  Topology Find() {
    for (std::size_t i = 0; i < m_matched.size(); ++i) FollowLinks(i);
    for (std::size_t i = 0; i < m_matched.size(); ++i) {
      m_links[i][i] = {};  // Whatever a driver says of that.
      for (std::size_t j = 0; j < m_matched.size(); ++j) {
        if (i != j) Judge(i, j);
      }
    }
    return std::move(m_links);
  }

 private:
  /// What is known of the ends of one GPU's NVLinks.
  struct Ends {
    bool are_told = false;
    bool are_elsewhere = false;  ///< Some: at a device that is none of these GPUs, such as a switch.
  };

  static constexpr std::uint64_t kNoDevice = std::numeric_limits<std::uint64_t>::max();
  static constexpr std::uint16_t kMostLinks = std::numeric_limits<std::uint16_t>::max();

  /// The GPU at a place; nothing where there is none, or where several look alike.
  std::optional<std::size_t> OnlyGPUAt(const Place& place) const {
    const auto found = m_at_place.find(place);
    if (found == m_at_place.end() || found->second.size() != 1) return std::nullopt;
    return found->second.front();
  }

  /// Notes what one GPU's records name.
  void FollowLinks(std::size_t i) {
    const GPUT& gpu = *m_matched[i].gpu;
    for (const std::uint64_t peer : gpu.opencl_peers) {
      const auto found = m_of_opencl.find(peer);
      if (found != m_of_opencl.end()) m_links[i][found->second].opencl_peer = Fact::Yes;
    }
    // Several GPUs at one place have their NVML record in common.
    if (OnlyGPUAt({gpu.pci_bus, gpu.pci_device}) != i) return;
    for (const std::int32_t ordinal : gpu.cuda_peers) {
      const auto found = m_of_cuda.find(ordinal);
      if (found != m_of_cuda.end()) JoinByNVLink(i, found->second, 0);
    }
    if (m_matched[i].nvml != nullptr) FollowNVLinks(i, *m_matched[i].nvml);
  }

  void FollowNVLinks(std::size_t i, const FlatBuffers::NVMLGPUT& nvml) {
    const auto& buses = nvml.nvlink_remote_pci_buses;
    const auto& devices = nvml.nvlink_remote_pci_devices;
    const std::size_t count = std::min(buses.size(), devices.size());
    m_nvlink_ends[i].are_told = m_nvlinks_are_told || count != 0;
    std::map<std::size_t, std::uint16_t> counts;
    for (std::size_t link = 0; link < count; ++link) {
      const auto end = OnlyGPUAt({buses[link], devices[link]});
      if (!end) {
        m_nvlink_ends[i].are_elsewhere = true;
      } else if (counts[*end] < kMostLinks) {
        ++counts[*end];
      }
    }
    for (const auto& [j, links] : counts) JoinByNVLink(i, j, links);
  }

  void JoinByNVLink(std::size_t i, std::size_t j, std::uint16_t count) {
    for (Link* link : {&m_links[i][j], &m_links[j][i]}) {
      link->nvlink = Fact::Yes;
      link->nvlinks = std::max(link->nvlinks, count);
    }
  }

  /// Decides what the records do not name.
  void Judge(std::size_t i, std::size_t j) {
    const GPUT& one = *m_matched[i].gpu;
    const GPUT& other = *m_matched[j].gpu;
    Link& link = m_links[i][j];
    if (link.nvlink == Fact::No && MayBeBoth(one, other, Vendor::NVIDIA)) {
      const Ends& ends = m_nvlink_ends[i];
      const Ends& other_ends = m_nvlink_ends[j];
      const bool are_told = ends.are_told && other_ends.are_told;
      // What leads elsewhere from both may lead from one to the other.
      if (!are_told || (ends.are_elsewhere && other_ends.are_elsewhere)) link.nvlink = Fact::Unknown;
    }
    // Only AMD's OpenCL has peers.
    if (link.opencl_peer == Fact::No && MayBeBoth(one, other, Vendor::AMD)) {
      const bool have_opencl = m_matched[i].opencl != nullptr && m_matched[j].opencl != nullptr;
      const bool is_told = m_opencl_peers_are_told || !one.opencl_peers.empty();
      if (!have_opencl || !is_told) link.opencl_peer = Fact::Unknown;
    }
    link.is_same_package = one.vendor == other.vendor && one.pci_bus != kUnknown && one.pci_device != kUnknown &&
                           one.pci_bus == other.pci_bus && one.pci_device == other.pci_device &&
                           one.pci_function != kUnknown && other.pci_function != kUnknown &&
                           one.pci_function != other.pci_function;
  }

  const std::vector<MatchedGPUT>& m_matched;
  Topology m_links;
  std::map<Place, std::vector<std::size_t>> m_at_place;
  std::map<std::int32_t, std::size_t> m_of_cuda;
  std::map<std::uint64_t, std::size_t> m_of_opencl;
  std::vector<Ends> m_nvlink_ends;
  const bool m_nvlinks_are_told;
  const bool m_opencl_peers_are_told;
};

}  // namespace

Topology FindTopology(const Session& session) { return Finder(session).Find(); }

}  // namespace Vexil::Cli
