#include <fmt/format.h>

#include "Vexil/Common/Unknown.h"
#include "cli/Commands.h"
#include "cli/FileOutput.h"
#include "cli/Json.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"
#include "cli/Topology.h"
#include "cli/TopologyTables.h"
#include "cli/picture/Picture.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;

namespace {

/// Without what is unknown.
Json PCIExpressJson(const GPUT& gpu) {
  Json json = Json::object();
  const auto add = [&](const char* name, std::int32_t number) {
    if (number != kUnknown) json[name] = number;
  };
  add("generation", gpu.pcie_generation);
  add("width", gpu.pcie_link_width);
  add("max_generation", gpu.pcie_max_generation);
  add("max_width", gpu.pcie_max_link_width);
  return json;
}

Json LinksJson(const std::vector<Link>& links) {
  Json nvlinks = Json::array();
  Json peers = Json::array();
  Json package = Json::array();
  Json unknown_nvlinks = Json::array();
  Json unknown_peers = Json::array();
  for (std::size_t j = 0; j < links.size(); ++j) {
    const Link& link = links[j];
    if (link.nvlink == Fact::Yes) {
      nvlinks.push_back({{"to", j}});
      if (link.nvlinks != 0) nvlinks.back()["count"] = link.nvlinks;
    }
    if (link.opencl_peer == Fact::Yes) peers.push_back(j);
    if (link.is_same_package) package.push_back(j);
    if (link.nvlink == Fact::Unknown) unknown_nvlinks.push_back(j);
    if (link.opencl_peer == Fact::Unknown) unknown_peers.push_back(j);
  }
  return {{"nvlinks", nvlinks},
          {"opencl_peers", peers},
          {"same_package", package},
          {"unknown", {{"nvlinks", unknown_nvlinks}, {"opencl_peers", unknown_peers}}}};
}

Json ToJson(const Session& session, const Topology& topology, const std::vector<std::string>& files) {
  Json gpus = Json::array();
  for (std::size_t i = 0; i < topology.size(); ++i) {
    const GPUT& gpu = session.results.gpus[i];
    Json entry = {{"number", i}, {"id", gpu.id}, {"name", gpu.name}, {"pcie", PCIExpressJson(gpu)}};
    if (gpu.pci_bus != kUnknown) entry["pci_location"] = gpu.pci_location;
    entry.update(LinksJson(topology[i]));
    gpus.push_back(std::move(entry));
  }
  Json document = Document("topo");
  document.update({{"gpus", gpus}, {"files", files}});
  return document;
}

}  // namespace

int Topo(const Session& session, const Pictures& pictures) {
  const Topology topology = FindTopology(session);
  std::vector<std::string> files;
  const auto write = [&](const std::optional<std::string>& path, const auto& make) {
    if (!path) return;
    WriteFileWhole(*path, make(session, topology));
    files.push_back(*path);
  };
  write(pictures.svg, MakeSVG);
  write(pictures.html, MakePage);
  if (session.json) {
    PrintJson(session.out, ToJson(session, topology, files));
  } else if (!files.empty()) {
    for (const std::string& file : files) PrintLine(session.out, fmt::format("Wrote \"{}\".", file));
  } else if (!topology.empty()) {
    PlacesTable(session).Print(session.out);
    session.out << '\n';
    LinkMatrix(session, topology).Print(session.out);
    session.out << '\n' << kLinkLegend << '\n';
  }
  WarnOfHiddenGPUs(session);
  return FoundStatus(session, !topology.empty());
}

}  // namespace Vexil::Cli
