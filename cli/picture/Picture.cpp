#include "cli/picture/Picture.h"

#include <fmt/format.h>

#include "Vexil/Version.h"
#include "cli/Printing.h"
#include "cli/TopologyTables.h"
#include "cli/picture/Drawing.h"
#include "cli/picture/Page.h"

namespace Vexil::Cli {
namespace {

constexpr int kSectionGap = 30;

std::string Title(const Session& session) {
  const std::string& model = session.results.records.system->model;
  return "GPUs of " + (model.empty() ? "an unknown machine" : model);
}

std::string Description(const Session& session) {
  return fmt::format("{} at their PCI places, the links between them, and {} where they stand on the desktop",
                     Counted(session.results.gpus.size(), "GPU"), Counted(session.results.monitors.size(), "monitor"));
}

std::string Origin(const Session& session) {
  const std::string& version = session.results.records.library_version;
  return session.IsThisMachine() ? std::string("vexil ") + kLibraryVersion
                                 : fmt::format("vexil {}, a result saved by {}", kLibraryVersion, version);
}

int DrawMachine(Canvas& canvas, const Session& session, const Topology& topology, const std::vector<Screen>& screens) {
  int top = DrawHeader(canvas, Canvas::kMargin, session) + kSectionGap;
  top = DrawGPUs(canvas, top, session, topology) + kSectionGap / 2;
  return DrawMonitors(canvas, top, session, screens) + kSectionGap;
}

}  // namespace

std::string MakeSVG(const Session& session, const Topology& topology) {
  const std::vector<Screen> screens = FindScreens(session);
  Canvas canvas;
  int top = DrawMachine(canvas, session, topology, screens);
  for (const Section& section : FindSections(session)) {
    top = DrawSection(canvas, top, section) + kSectionGap;
  }
  canvas.AddText(Canvas::kWidth - Canvas::kMargin, top, Origin(session), kNoteFont, Paint::Muted, Canvas::kInnerWidth,
                 Anchor::End);
  return canvas.Finish(top + kSectionGap, Title(session), Description(session));
}

std::string MakePage(const Session& session, const Topology& topology) {
  const std::vector<Screen> screens = FindScreens(session);
  Canvas canvas;
  const int height = DrawMachine(canvas, session, topology, screens);
  std::vector<Section> sections = FindSections(session);
  if (!topology.empty()) {
    sections.insert(sections.begin(), {"Links", {PlacesTable(session), LinkMatrix(session, topology)}, {kLinkLegend}});
  }
  return ComposePage(Title(session), canvas.Finish(height, Title(session), Description(session)), sections,
                     Origin(session));
}

}  // namespace Vexil::Cli
