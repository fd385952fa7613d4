#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <tuple>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "cli/Selection.h"
#include "cli/TopologyTables.h"
#include "cli/picture/Drawing.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;

namespace {

constexpr int kTrunk = Canvas::kMargin + 8;
constexpr int kCardLeft = 250;
constexpr int kCardHeight = 78;
constexpr int kRowHeight = 94;
constexpr int kRight = Canvas::kWidth - Canvas::kMargin;
/// Where cards end that have links at their right.
constexpr int kLinkedCardRight = 800;

/// A curve from one row down to another.
struct Arc {
  int upper = 0;
  int lower = 0;
  Link link;

  int Distance() const { return lower - upper; }
};

/// The GPUs in the order of their places, those without one at the end.
std::vector<std::size_t> ByPlace(const std::vector<GPUT>& gpus) {
  std::vector<std::size_t> order(gpus.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto place = [&](std::size_t i) {
    const GPUT& gpu = gpus[i];
    return std::tuple(gpu.pci_bus == kUnknown, gpu.pci_bus, gpu.pci_device, gpu.pci_function);
  };
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return place(a) < place(b); });
  return order;
}

/// OpenCL's peers need not be so both ways.
Link BothWays(Link link, const Link& back) {
  if (back.opencl_peer == Fact::Yes) link.opencl_peer = Fact::Yes;
  return link;
}

std::vector<Arc> FindArcs(const Topology& topology, const std::vector<std::size_t>& order) {
  std::vector<Arc> arcs;
  for (std::size_t upper = 0; upper < order.size(); ++upper) {
    for (std::size_t lower = upper + 1; lower < order.size(); ++lower) {
      const Link link = BothWays(topology[order[upper]][order[lower]], topology[order[lower]][order[upper]]);
      if (link.IsKnown()) arcs.push_back({static_cast<int>(upper), static_cast<int>(lower), link});
    }
  }
  return arcs;
}

/// Thicker with more lanes.
double StubThickness(std::int32_t width) { return width >= 16 ? 6 : width >= 8 ? 4.5 : width >= 4 ? 3 : 1.5; }

void DrawPlace(Canvas& canvas, int middle, const GPUT& gpu) {
  const int left = kTrunk + 16;
  const int width = kCardLeft - left - 8;
  const Paint paint = PaintOf(gpu.vendor);
  canvas.AddLine(kTrunk, middle, kCardLeft, middle, paint, StubThickness(gpu.pcie_link_width));
  canvas.AddDot(kTrunk, middle, 6, paint);
  const std::string place = gpu.pci_bus == kUnknown ? "place unknown" : gpu.pci_location;
  canvas.AddText(left, middle - 11, place, {.size = 14, .is_bold = true, .is_mono = true}, Paint::Ink, width);
  const std::string now = "now " + PCIExpressText(gpu.pcie_generation, gpu.pcie_link_width);
  const std::string most = "at most " + PCIExpressText(gpu.pcie_max_generation, gpu.pcie_max_link_width);
  canvas.AddText(left, middle + 20, now, {.size = 13}, Paint::Ink, width);
  canvas.AddText(left, middle + 37, most, {.size = 13}, Paint::Muted, width);
}

std::string OutputsText(const MatchedGPUT& matched) {
  std::vector<std::string> names;
  if (matched.directx == nullptr) return {};
  for (const std::string& name : matched.directx->output_names) names.push_back(ReplaceAllNoCase(name, R"(\\.\)", ""));
  return Join(names, ", ");
}

void DrawCard(Canvas& canvas, const Box& box, std::size_t number, const MatchedGPUT& matched) {
  constexpr const char* kSeparator = " \xC2\xB7 ";
  const GPUT& gpu = *matched.gpu;
  const Paint paint = PaintOf(gpu.vendor);
  canvas.AddBox(box, Paint::Card, 8);
  canvas.AddBox({box.x, box.y + 8, 5, box.height - 16}, paint);
  canvas.AddText(box.x + 34, box.y + 48, std::to_string(number), {.size = 25, .is_bold = true}, paint, 46,
                 Anchor::Middle);

  const int left = box.x + 64;
  const int width = box.x + box.width - 16 - left;
  constexpr int kBadgeWidth = 96;
  canvas.AddText(left, box.y + 28, FullName(gpu), {.size = 16, .is_bold = true}, Paint::Ink,
                 gpu.is_main_display ? width - kBadgeWidth - 12 : width);
  if (gpu.is_main_display) {
    const Box badge = {box.x + box.width - 14 - kBadgeWidth, box.y + 12, kBadgeWidth, 22};
    canvas.AddBox(badge, Paint::Badge, 11);
    canvas.AddText(badge.x + kBadgeWidth / 2, badge.y + 15, "main display", {.size = 12}, Paint::BadgeInk,
                   kBadgeWidth - 8, Anchor::Middle);
  }

  std::vector<std::string> what = {EnumNameGPUType(gpu.type)};
  what.push_back(gpu.vram_mib == kUnknown ? "Unknown VRAM" : FormatMiB(gpu.vram_mib) + " VRAM");
  for (const auto api : gpu.compute_apis) what.emplace_back(EnumNameComputeAPI(api));
  canvas.AddText(left, box.y + 48, Join(what, kSeparator), {.size = 13}, Paint::Ink, width);
  const std::string outputs = OutputsText(matched);
  canvas.AddText(left, box.y + 66, outputs.empty() ? gpu.id : gpu.id + kSeparator + outputs,
                 {.size = 12, .is_mono = true}, Paint::Muted, width);
}

/// Where arcs leave the cards, so that they nest: of those that lead up the nearest one's is the highest, of those that
/// lead down it is the lowest.
class Ports {
 public:
  explicit Ports(const std::vector<Arc>& arcs) {
    for (const Arc& arc : arcs) {
      m_far_ends[arc.upper].push_back(arc.lower);
      m_far_ends[arc.lower].push_back(arc.upper);
    }
    for (auto& [row, far_ends] : m_far_ends) {
      const int from = row;
      // Up: -1, -2, ... Down: ..., 2, 1.
      const auto rank = [from](int end) { return end < from ? std::pair(0, from - end) : std::pair(1, from - end); };
      std::sort(far_ends.begin(), far_ends.end(), [&](int a, int b) { return rank(a) < rank(b); });
    }
  }

  /// How far below the card's middle.
  int Offset(int row, int far_end) const {
    const std::vector<int>& far_ends = m_far_ends.at(row);
    const auto count = static_cast<int>(far_ends.size());
    const int spacing = count > 1 ? std::min(12, (kCardHeight - 18) / (count - 1)) : 0;
    const auto index = static_cast<int>(std::find(far_ends.begin(), far_ends.end(), far_end) - far_ends.begin());
    return spacing * index - spacing * (count - 1) / 2;
  }

 private:
  std::map<int, std::vector<int>> m_far_ends;
};

Paint LinkPaint(const Link& link) {
  if (link.nvlink == Fact::Yes) return Paint::NVIDIA;
  return link.opencl_peer == Fact::Yes ? Paint::AMD : Paint::Other;
}

std::string ShortLinkText(const Link& link) {
  if (link.nvlink == Fact::Yes) return link.nvlinks != 0 ? fmt::format("\xC3\x97{}", link.nvlinks) : "NV";
  return link.opencl_peer == Fact::Yes ? "CL" : "PCI";
}

/// Known facts only.
std::string LongLinkText(Link link) {
  if (link.nvlink == Fact::Unknown) link.nvlink = Fact::No;
  if (link.opencl_peer == Fact::Unknown) link.opencl_peer = Fact::No;
  return ReplaceAllNoCase(LinkText(link), " x", " \xC3\x97");
}

/// A column for every distance that occurs, the nearest first.
struct Columns {
  explicit Columns(const std::vector<Arc>& arcs) {
    for (const Arc& arc : arcs) of_distance[arc.Distance()] = 0;
    int next = 0;
    for (auto& [distance, column] : of_distance) column = next++;
    constexpr int kWidest = 120;
    constexpr int kLinksWidth = kRight - kLinkedCardRight - 50;
    spacing = std::min(kWidest, kLinksWidth / std::max(next, 1));
  }

  int Reach(const Arc& arc) const { return (of_distance.at(arc.Distance()) + 1) * spacing; }
  bool HasRoomForNames() const { return spacing >= 90; }

  std::map<int, int> of_distance;
  int spacing = 0;
};

void DrawArcs(Canvas& canvas, int first_middle, const std::vector<Arc>& arcs, const Columns& columns) {
  const double thickest = arcs.size() > 12 ? 3.5 : 6;
  const Font font = {.size = 12, .is_bold = true};

  const Ports ports(arcs);
  const auto middle = [&](int row) { return first_middle + row * kRowHeight; };
  for (const Arc& arc : arcs) {
    // The summit of such a curve is at three quarters of the way to its control points.
    const int control = kLinkedCardRight + columns.Reach(arc) * 4 / 3;
    const int y1 = middle(arc.upper) + ports.Offset(arc.upper, arc.lower);
    const int y2 = middle(arc.lower) + ports.Offset(arc.lower, arc.upper);
    canvas.AddCurve(fmt::format("M{0} {2}C{1} {2} {1} {3} {0} {3}", kLinkedCardRight, control, y1, y2),
                    LinkPaint(arc.link), std::min(1.6 + 0.9 * arc.link.nvlinks, thickest),
                    arc.link.nvlink != Fact::Yes);
  }
  for (const Arc& arc : arcs) {
    const std::string text = columns.HasRoomForNames() ? LongLinkText(arc.link) : ShortLinkText(arc.link);
    const int width = TextWidth(text, font) + 12;
    const int x = kLinkedCardRight + columns.Reach(arc);
    const int y = (middle(arc.upper) + ports.Offset(arc.upper, arc.lower) + middle(arc.lower) +
                   ports.Offset(arc.lower, arc.upper)) /
                  2;
    canvas.AddBox({x - width / 2, y - 10, width, 20}, Paint::Ground, 10);
    canvas.AddText(x, y + 4, text, font, LinkPaint(arc.link), width, Anchor::Middle);
  }
}

/// "Not known: NVLinks between 0 and 1, 0 and 2": the pairs of which this is not known; empty where there are none.
template <typename IsUnknown>
std::string UnknownPairsText(const Topology& topology, const char* what, const IsUnknown& is_unknown) {
  constexpr std::size_t kMostPairs = 28;
  std::vector<std::string> pairs;
  std::size_t count = 0;
  for (std::size_t i = 0; i < topology.size(); ++i) {
    for (std::size_t j = i + 1; j < topology.size(); ++j) {
      if (!is_unknown(topology[i][j]) && !is_unknown(topology[j][i])) continue;
      if (++count <= kMostPairs) pairs.push_back(fmt::format("{} and {}", i, j));
    }
  }
  if (count > kMostPairs) pairs.push_back(fmt::format("{} more pairs", count - kMostPairs));
  return pairs.empty() ? std::string() : fmt::format("Not known: {} between ", what) + Join(pairs, ", ");
}

std::vector<std::string> UnknownLines(const Topology& topology) {
  std::vector<std::string> lines;
  for (const std::string& text :
       {UnknownPairsText(topology, "NVLinks", [](const Link& link) { return link.nvlink == Fact::Unknown; }),
        UnknownPairsText(topology, "OpenCL peers",
                         [](const Link& link) { return link.opencl_peer == Fact::Unknown; })}) {
    if (text.empty()) continue;
    const auto wrapped = Wrapped(text, kNoteFont, kRight - kCardLeft);
    lines.insert(lines.end(), wrapped.begin(), wrapped.end());
  }
  return lines;
}

/// What short names mean.
std::string LegendText(const std::vector<Arc>& arcs) {
  std::vector<std::string> texts;
  const auto has = [&](const auto& is_it) {
    return std::any_of(arcs.begin(), arcs.end(), [&](const Arc& arc) { return is_it(arc.link); });
  };
  if (has([](const Link& link) { return link.nvlink == Fact::Yes; })) {
    texts.emplace_back("\xC3\x97 or NV: NVLinks, and how many");
  }
  if (has([](const Link& link) { return link.opencl_peer == Fact::Yes; })) texts.emplace_back("CL: OpenCL peers");
  if (has([](const Link& link) { return link.is_same_package; })) texts.emplace_back("PCI: one PCI device");
  return Join(texts, "   ");
}

}  // namespace

int DrawGPUs(Canvas& canvas, int top, const Session& session, const Topology& topology) {
  const Results& results = session.results;
  if (results.gpus.empty()) return DrawHeading(canvas, top, "No GPU was found", "");
  const std::vector<std::size_t> order = ByPlace(results.gpus);
  const std::vector<Arc> arcs = FindArcs(topology, order);
  const std::vector<std::string> unknown = UnknownLines(topology);
  const bool has_no_links = arcs.empty() && unknown.empty() && order.size() > 1;
  const Columns columns(arcs);
  std::string remark = columns.HasRoomForNames() ? std::string() : LegendText(arcs);
  if (has_no_links) remark = "no NVLinks and no OpenCL peers";
  top = DrawHeading(canvas, top, "GPUs at their PCI places", remark);

  const auto rows = static_cast<int>(order.size());
  const int first_middle = top + 4 + kCardHeight / 2;
  canvas.AddLine(kTrunk, top - 4, kTrunk, first_middle + (rows - 1) * kRowHeight, Paint::Rule, 6);
  const int card_right = arcs.empty() ? kRight : kLinkedCardRight;
  int middle = first_middle;
  for (const std::size_t i : order) {
    DrawPlace(canvas, middle, results.gpus[i]);
    DrawCard(canvas, {kCardLeft, middle - kCardHeight / 2, card_right - kCardLeft, kCardHeight}, i, results.matched[i]);
    middle += kRowHeight;
  }
  DrawArcs(canvas, first_middle, arcs, columns);
  int bottom = top + rows * kRowHeight;
  for (const std::string& line : unknown) {
    canvas.AddText(kCardLeft, bottom + 12, line, kNoteFont, Paint::Muted, kRight - kCardLeft);
    bottom += 20;
  }
  if (!unknown.empty()) bottom += 12;
  return bottom;
}

}  // namespace Vexil::Cli
