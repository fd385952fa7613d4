#include <Vexil/Vexil.h>
#include <log4cxx/basicconfigurator.h>
#include <windows.h>

#include <iostream>

// For the drivers of laptops with two GPUs.
extern "C" __declspec(dllexport) std::int32_t NvOptimusEnablement = 1;
extern "C" __declspec(dllexport) std::int32_t AmdPowerXpressRequestHighPerformance = 1;

int main() {
  log4cxx::BasicConfigurator::configure();
  Vexil::Detector* vexil = GetInstance();
  vexil->Detect(Vexil::DetectOptions{true, true});
  std::vector<std::uint8_t> buffer;
  vexil->Serialize(buffer);

  const auto* result = Vexil::FlatBuffers::GetDetectionResult(buffer.data());
  std::cout << "interface " << vexil->GetVersion() << ", " << vexil->GetGPUIDs().size() << " GPUs on "
            << EnumNameOS(vexil->GetSystem().os) << ", result of Vexil " << result->library_version()->c_str();
  std::cout << ", hybrid symbols:";
  for (const char* symbol : {"NvOptimusEnablement", "AmdPowerXpressRequestHighPerformance"}) {
    std::cout << ' ' << (GetProcAddress(GetModuleHandleA(nullptr), symbol) != nullptr);
  }
  std::cout << '\n';
}
