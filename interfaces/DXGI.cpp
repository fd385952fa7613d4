#include "Vexil/Platform/DXGI.h"

#include <algorithm>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "interfaces/Interfaces.h"
#include "interfaces/platform/Adapters.h"

namespace Vexil::Interfaces {
namespace {

std::string Outputs(DXGIAdapter& adapter) {
  std::vector<std::string> names;
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    std::string name;
    if (adapter.NameOutput(index, name) != 0) break;
    names.push_back(name);
  }
  return Join(names, ", ");
}

}  // namespace

Findings AskDXGI() {
  std::vector<Device> devices;
  Account account;
  const DXGIEnd end = ForEachDXGIAdapter([&](std::uint32_t index, DXGIAdapter* adapter) {
    Device& device = devices.emplace_back();
    device.number = std::to_string(index);
    account.About("adapter", index);
    DXGIAdapterDescription description;
    const DXGIStatus status = adapter != nullptr ? adapter->Describe(description) : 0;
    if (adapter == nullptr || status < 0) return account.Miss("", "GetDesc2", status);
    device.name = description.name;
    device.luid = ToLUID(&description.luid);
    if (description.is_software) device.more.emplace_back("software", "yes");
    const std::string outputs = Outputs(*adapter);
    if (!outputs.empty()) device.more.emplace_back("outputs", outputs);
  });
  if (end.status != kDXGINotFound) {
    account.About("");
    account.End(devices.empty() ? SourceState::StartFailed : SourceState::CallFailed, end.call, end.status);
  }
  const auto ranking = GetAdaptersByPerformance();
  for (Device& device : devices) {
    if (!ranking || !device.luid) continue;
    const auto place = std::find(ranking->begin(), ranking->end(), *device.luid);
    if (place != ranking->end()) {
      device.more.emplace_back("performance_rank", std::to_string(place - ranking->begin()));
    }
  }
  return MakeFindings(std::move(devices), account);
}

}  // namespace Vexil::Interfaces
