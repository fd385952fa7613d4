// Lists the GPUs of this machine, the one that drives the main display first.

#include <Vexil/Vexil.h>
#include <windows.h>

#include <iostream>

int main() {
  // Drivers are taken from Windows' own folder only, not from beside the program, the current folder or PATH.
  SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  Vexil::Detector* vexil = GetInstance();
  const std::string main_id = vexil->GetMainDisplayGPUID();
  const auto print = [](const Vexil::FlatBuffers::GPUT& gpu) {
    std::cout << EnumNameVendor(gpu.vendor) << " " << gpu.name << ", " << EnumNameGPUType(gpu.type);
    if (gpu.vram_mib != -1) std::cout << ", " << gpu.vram_mib << " MiB";
    std::cout << '\n';
  };

  for (const auto& gpu : vexil->GetGPUs()) {
    if (gpu.id == main_id) print(gpu);
  }
  for (const auto& gpu : vexil->GetGPUs()) {
    if (gpu.id != main_id) print(gpu);
  }
  return main_id.empty() ? 1 : 0;
}
