#include <algorithm>
#include <cstdio>

#include "MachineTest.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::DetectorsOutputT;
using Simulation::Observed;

/// The records of each source, and of the system, as comparable bytes.
std::map<std::string, std::vector<std::uint8_t>> PackSources(const std::vector<std::uint8_t>& buffer) {
  FlatBuffers::DetectionResultT result;
  FlatBuffers::GetDetectionResult(buffer.data())->UnPackTo(&result);
  const DetectorsOutputT& all = *result.detectors_output;
  std::map<std::string, std::vector<std::uint8_t>> packed;
  const auto pack = [&](const std::string& name, auto list) {
    DetectorsOutputT only;
    only.*list = all.*list;
    flatbuffers::FlatBufferBuilder builder;
    builder.Finish(FlatBuffers::CreateDetectorsOutput(builder, &only));
    packed[name].assign(builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
  };
  for (const auto& adapter : all.directx) {
    for (const auto& monitor : adapter->monitors) monitor->gpu_id.clear();
  }
  pack("OpenCL", &DetectorsOutputT::opencl);
  pack("CUDA", &DetectorsOutputT::cuda);
  pack("Windows", &DetectorsOutputT::win32);
  pack("DirectX", &DetectorsOutputT::directx);
  pack("AMD DL", &DetectorsOutputT::amddl);
  pack("NVAPI", &DetectorsOutputT::nvapi);
  pack("NVML", &DetectorsOutputT::nvml);
  return packed;
}

/// The sources that ask by this call.
std::vector<std::string> SourcesThatCall(const std::string& call) {
  const auto contains = [&](const char* text) { return call.find(text) != std::string::npos; };
  if (contains("nvml")) return {"NVML"};
  if (contains("NvAPI") || contains("nvapi")) return {"NVAPI"};
  if (contains("ADL") || contains("atiadlxx")) return {"AMD DL"};
  if (contains(" cu") || contains("nvcuda") || call.rfind("cu", 0) == 0) return {"CUDA"};
  if (contains("OpenCL") || contains(" cl") || call.rfind("cl", 0) == 0) return {"OpenCL", "DirectX"};
  return {"Windows", "DirectX"};
}

class FailureSweep : public MachineTest {
 protected:
  /// One detection in which call number `failing` fails; what it was.
  std::string Detect(std::uint64_t failing) {
    Simulation::SetMachine(m_machine);
    std::string failed;
    Simulation::WatchCalls([&](std::uint64_t number, std::string_view call, std::string_view parameter) {
      if (number == failing) failed = std::string(call) + " " + std::string(parameter);
      return number == failing;
    });
    TestDetector detector;
    detector.Detect({});
    detector.Serialize(m_buffer);
    EndProcess();
    return failed;
  }

  const Simulation::Machine m_machine = LoadTestMachine("five-gpus");
  std::vector<std::uint8_t> m_buffer;
};

TEST_F(FailureSweep, EachCallCostsOnlyWhatItWouldHaveTold) {
  Detect(0);
  const auto sound = PackSources(m_buffer);
  // OpenCL and NVAPI, for the life of the process; later also an AMD Display Library that would not start.
  auto may_stay_open = Observed().open;
  std::uint64_t call = 1;
  for (std::string failed; !(failed = Detect(call)).empty(); ++call) {
    SCOPED_TRACE("call " + std::to_string(call) + ", " + failed);
    if (failed == "ADL_Main_Control_Create ") ++may_stay_open["atiadlxx.dll"];
    const auto affected = SourcesThatCall(failed);
    for (const auto& [source, records] : PackSources(m_buffer)) {
      const bool is_affected = std::find(affected.begin(), affected.end(), source) != affected.end();
      EXPECT_TRUE(is_affected || records == sound.at(source)) << source;
    }
    for (const auto& [library, up] : Observed().up) EXPECT_EQ(up, 0) << library;
    for (const auto& [library, open] : Observed().open) EXPECT_EQ(open, may_stay_open[library]) << library;
    EXPECT_EQ(Observed().misuses, std::vector<std::string>());
    ASSERT_FALSE(HasFailure());
  }
  std::printf("%d calls failed, one at a time\n", static_cast<int>(call - 1));
  EXPECT_GT(call, 500U);
}

}  // namespace
}  // namespace Vexil::Tests
