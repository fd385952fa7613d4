#include "cli/VRAM.h"

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Unknown.h"

namespace Vexil::Cli {

VRAM FindVRAM(const FlatBuffers::MatchedGPUT& matched) {
  const std::int32_t mib = matched.gpu->vram_mib;
  if (mib != kUnknown || matched.directx == nullptr) return {mib, false};
  return {matched.directx->dedicated_video_memory_mib, true};
}

std::string VRAMText(const FlatBuffers::MatchedGPUT& matched) {
  const VRAM vram = FindVRAM(matched);
  if (vram.mib == kUnknown) return "unknown";
  return FormatMiB(vram.mib) + (vram.is_from_dxgi ? " (DXGI)" : "");
}

}  // namespace Vexil::Cli
