#include "Vexil/DetectGPUWindows/MainDisplayFixes.h"

#include <algorithm>

#include "Vexil/Common/Log.h"

namespace Vexil {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::Vendor;

namespace {

/// The first entry whose record of one source is primary, where all GPUs are the vendor's; else null.
template <typename Source>
const MatchedGPUT* FindPrimary(const std::vector<MatchedGPUT>& matched, Vendor vendor, Source MatchedGPUT::*source) {
  const bool all_of_vendor = std::all_of(matched.begin(), matched.end(),
                                         [=](const MatchedGPUT& entry) { return entry.gpu->vendor == vendor; });
  if (!all_of_vendor) return nullptr;
  const auto primary = std::find_if(matched.begin(), matched.end(), [=](const MatchedGPUT& entry) {
    return entry.*source != nullptr && (entry.*source)->is_primary;
  });
  return primary != matched.end() ? &*primary : nullptr;
}

void MarkOnly(const MatchedGPUT& main, const std::vector<MatchedGPUT>& matched) {
  for (const MatchedGPUT& entry : matched) entry.gpu->is_main_display = &entry == &main;
}

}  // namespace

void FixMainDisplayGPU(std::size_t directx_adapters, const std::vector<MatchedGPUT>& matched) {
  if (directx_adapters == matched.size()) return;
  if (const MatchedGPUT* primary = FindPrimary(matched, Vendor::AMD, &MatchedGPUT::amddl)) {
    LOG_INFO("AMD XMGI Main Display GPU fix: Using card at PCI:{}:{}", primary->amddl->pci_bus,
             primary->amddl->pci_device);
    MarkOnly(*primary, matched);
  }
  if (const MatchedGPUT* primary = FindPrimary(matched, Vendor::NVIDIA, &MatchedGPUT::win32)) {
    LOG_INFO("NVIDIA NVLINK Main Display GPU fix: Using card at PCI:{}:{}", primary->win32->pci_bus,
             primary->win32->pci_device);
    MarkOnly(*primary, matched);
  }
}

}  // namespace Vexil
