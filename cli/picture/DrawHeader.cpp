#include <fmt/format.h>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "cli/Printing.h"
#include "cli/picture/Drawing.h"

namespace Vexil::Cli {

using FlatBuffers::SystemT;

namespace {

constexpr const char* kSeparator = "   \xC2\xB7   ";

std::string MachineText(const SystemT& system) {
  std::vector<std::string> texts = {fmt::format("{} {}", EnumNameOS(system.os), system.os_version)};
  if (!system.cpu_name.empty()) texts.push_back(fmt::format("{}, {} threads", system.cpu_name, system.cpu_threads));
  if (system.ram_mib > 0) texts.push_back(FormatMiB(system.ram_mib) + " RAM");
  return Join(texts, kSeparator);
}

std::string DriversText(const SystemT& system) {
  std::vector<std::string> texts;
  if (system.nvidia_driver_major != kUnknown) {
    texts.push_back(fmt::format("NVIDIA driver {}.{:02}", system.nvidia_driver_major, system.nvidia_driver_minor));
  }
  if (system.cuda_driver_major != kUnknown) {
    texts.push_back(fmt::format("CUDA {}.{}", system.cuda_driver_major, system.cuda_driver_minor));
  }
  if (!system.amd_driver_version.empty()) texts.push_back("AMD driver " + system.amd_driver_version);
  if (!system.intel_driver_version.empty()) texts.push_back("Intel driver " + system.intel_driver_version);
  return texts.empty() ? "No driver's version is known" : Join(texts, kSeparator);
}

}  // namespace

int DrawHeading(Canvas& canvas, int top, std::string_view heading, std::string_view remark) {
  const int line = top + 18;
  const int width = TextWidth(heading, kHeadingFont);
  canvas.AddText(Canvas::kMargin, line, heading, kHeadingFont, Paint::Ink, Canvas::kInnerWidth);
  canvas.AddText(Canvas::kWidth - Canvas::kMargin, line, remark, kNoteFont, Paint::Muted,
                 Canvas::kInnerWidth - width - 24, Anchor::End);
  return top + 36;
}

int DrawHeader(Canvas& canvas, int top, const Session& session) {
  const SystemT& system = *session.results.records.system;
  const std::string counts =
      Counted(session.results.gpus.size(), "GPU") + ", " + Counted(session.results.monitors.size(), "monitor");
  constexpr int kCountsWidth = 240;
  const auto line = [&](int y, const std::string& text, const Font& font, Paint paint, int width) {
    canvas.AddText(Canvas::kMargin, top + y, text, font, paint, width);
  };
  line(30, system.model.empty() ? "Unknown model" : system.model, {.size = 27, .is_bold = true}, Paint::Ink,
       Canvas::kInnerWidth - kCountsWidth);
  line(60, MachineText(system), {.size = 14}, Paint::Ink, Canvas::kInnerWidth);
  line(83, DriversText(system), {.size = 14}, Paint::Muted, Canvas::kInnerWidth);
  canvas.AddText(Canvas::kWidth - Canvas::kMargin, top + 30, counts, {.size = 16}, Paint::Muted, kCountsWidth,
                 Anchor::End);
  return top + 100;
}

}  // namespace Vexil::Cli
