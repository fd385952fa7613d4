#include <Vexil/Vexil.h>
#include <log4cxx/basicconfigurator.h>

#include <iostream>

int main() {
  log4cxx::BasicConfigurator::configure();
  Vexil::Detector* vexil = GetInstance();
  vexil->Detect(Vexil::DetectOptions{true, true});
  std::vector<std::uint8_t> buffer;
  vexil->Serialize(buffer);

  const auto* result = Vexil::FlatBuffers::GetDetectionResult(buffer.data());
  std::cout << "interface " << vexil->GetVersion() << ", " << vexil->GetGPUIDs().size() << " GPUs on "
            << EnumNameOS(vexil->GetSystem().os) << ", result of Vexil " << result->library_version()->c_str() << '\n';
}
