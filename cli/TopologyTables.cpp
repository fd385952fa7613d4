#include "cli/TopologyTables.h"

#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "cli/Selection.h"

namespace Vexil::Cli {
namespace {

std::string NumberOrUnknown(std::int32_t number) { return number == kUnknown ? "?" : std::to_string(number); }

}  // namespace

std::string PCIExpressText(std::int32_t generation, std::int32_t width) {
  if (generation == kUnknown && width == kUnknown) return "unknown";
  return "gen " + NumberOrUnknown(generation) + " x" + NumberOrUnknown(width);
}

std::string LinkText(const Link& link) {
  std::vector<std::string> texts;
  if (link.nvlink == Fact::Yes)
    texts.push_back("NVLink" + (link.nvlinks != 0 ? " x" + std::to_string(link.nvlinks) : ""));
  if (link.nvlink == Fact::Unknown) texts.emplace_back("NVLink?");
  if (link.opencl_peer == Fact::Yes) texts.emplace_back("OpenCL");
  if (link.opencl_peer == Fact::Unknown) texts.emplace_back("OpenCL?");
  if (link.is_same_package) texts.emplace_back("package");
  return texts.empty() ? "-" : Join(texts, ", ");
}

TextTable PlacesTable(const Session& session) {
  TextTable table;
  table.Add({"#", "GPU", "PCI place", "PCI Express now", "at most"});
  for (std::size_t i = 0; i < session.results.gpus.size(); ++i) {
    const auto& gpu = session.results.gpus[i];
    table.Add({std::to_string(i), FullName(gpu), gpu.pci_bus == kUnknown ? "?" : gpu.pci_location,
               PCIExpressText(gpu.pcie_generation, gpu.pcie_link_width),
               PCIExpressText(gpu.pcie_max_generation, gpu.pcie_max_link_width)});
  }
  return table;
}

TextTable LinkMatrix(const Session& session, const Topology& topology) {
  TextTable table;
  std::vector<std::string> titles = {"#", "GPU"};
  for (std::size_t j = 0; j < topology.size(); ++j) titles.push_back(std::to_string(j));
  table.Add(titles);
  for (std::size_t i = 0; i < topology.size(); ++i) {
    std::vector<std::string> row = {std::to_string(i), FullName(session.results.gpus[i])};
    for (std::size_t j = 0; j < topology.size(); ++j) row.push_back(i == j ? "." : LinkText(topology[i][j]));
    table.Add(row);
  }
  return table;
}

}  // namespace Vexil::Cli
