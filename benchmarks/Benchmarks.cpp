// What the library costs beside the drivers that it asks. The drivers here are simulated and answer at
// once, so that the library's own share is as large as it can be.

#include <benchmark/benchmark.h>
#include <log4cxx/helpers/properties.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/propertyconfigurator.h>

#include <fstream>
#include <map>
#include <numeric>
#include <string>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "Vexil/NVIDIA/NvAPILoader.h"
#include "Vexil/Vexil.h"
#include "benchmarks/OwnTime.h"
#include "benchmarks/Workstation.h"
#include "simulation/Simulation.h"

namespace Vexil::Benchmarks {
namespace {

constexpr const char* kNowhere = "/dev/null";

class BenchmarkDetector : public Detector {};

void SetLogging(bool on) {
  log4cxx::Logger::getLogger("Vexil")->setLevel(on ? log4cxx::Level::getDebug() : log4cxx::Level::getOff());
}

/// Log lines are composed and formatted as always, and then thrown away.
void SendLogNowhere() {
  log4cxx::helpers::Properties properties;
  properties.setProperty(LOG4CXX_STR("log4j.rootLogger"), LOG4CXX_STR("DEBUG, Nowhere"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere"), LOG4CXX_STR("org.apache.log4j.FileAppender"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere.file"), LOG4CXX_STR(kNowhere));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere.layout"), LOG4CXX_STR("org.apache.log4j.PatternLayout"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere.layout.ConversionPattern"),
                         LOG4CXX_STR("%d{HH:mm:ss,SSS} | %-5p | %-18.32c | %m\n"));
  log4cxx::PropertyConfigurator::configure(properties);
}

/// As a new process on another machine, with logging off.
void StartOver(std::size_t gpus) {
  SetLogging(false);
  while (NvAPI_Unload() != NVAPI_API_NOT_INITIALIZED) continue;
  Simulation::BeginProcess();
  Simulation::SetMachine(Workstation(gpus));
}

int SumOf(const std::map<std::string, int>& counts) {
  return std::accumulate(counts.begin(), counts.end(), 0,
                         [](int sum, const auto& count) { return sum + count.second; });
}

/// The time of a benchmark is the library's own; that inside the calls stands beside it.
void BM_Detect(benchmark::State& state) {
  StartOver(static_cast<std::size_t>(state.range(0)));
  SetLogging(state.range(1) != 0);
  BenchmarkDetector detector;
  const auto detect = [&] { benchmark::DoNotOptimize(detector.Detect({})); };
  detect();
  // Each driver's start costs a real machine tens to hundreds of milliseconds.
  state.counters["driver_starts"] = SumOf(Simulation::Observed().starts);
  state.counters["driver_loads"] = SumOf(Simulation::Observed().loads);
  // What the first two leave for the life of the process is there now.
  detect();
  OwnTime sum;
  for (auto _ : state) {
    const OwnTime time = Measure(detect);
    state.SetIterationTime(time.own * 1e-9);
    sum.calls += time.calls;
    sum.number = time.number;
  }
  state.counters["calls"] = static_cast<double>(sum.number);
  state.counters["us_in_calls"] = sum.calls * 1e-3 / static_cast<double>(state.iterations());
}
BENCHMARK(BM_Detect)
    ->ArgNames({"gpus", "log"})
    ->ArgsProduct({{1, 2, 8, 64}, {0, 1}})
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();

/// A detector that has detected.
Detector& DetectorOf(std::size_t gpus) {
  static BenchmarkDetector detector;
  StartOver(gpus);
  detector.Detect({});
  return detector;
}

void BM_BareBufferBuilder(benchmark::State& state) {
  std::vector<std::uint8_t> serialized;
  DetectorOf(static_cast<std::size_t>(state.range(0))).Serialize(serialized);
  FlatBuffers::DetectionResultT result;
  FlatBuffers::GetDetectionResult(serialized.data())->UnPackTo(&result);
  std::size_t size = 0;
  for (auto _ : state) {
    flatbuffers::FlatBufferBuilder builder;
    builder.Finish(FlatBuffers::CreateDetectionResult(builder, &result));
    benchmark::DoNotOptimize(builder.GetBufferPointer());
    size = builder.GetSize();
  }
  if (size != serialized.size()) state.SkipWithError("the content is not the same");
  state.counters["bytes"] = static_cast<double>(size);
}

void BM_Serialize(benchmark::State& state) {
  Detector& detector = DetectorOf(static_cast<std::size_t>(state.range(0)));
  std::vector<std::uint8_t> buffer;
  for (auto _ : state) detector.Serialize(buffer);
  state.counters["bytes"] = static_cast<double>(buffer.size());
}

void BM_WriteTo(benchmark::State& state) {
  Detector& detector = DetectorOf(static_cast<std::size_t>(state.range(0)));
  std::ofstream nowhere(kNowhere, std::ios::binary);
  for (auto _ : state) detector.WriteTo(nowhere);
}

void BM_SaveToFile(benchmark::State& state) {
  Detector& detector = DetectorOf(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) detector.SaveToFile(kNowhere);
}

void EachSize(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("gpus")->Arg(2)->Arg(64)->Unit(benchmark::kMicrosecond);
}
BENCHMARK(BM_BareBufferBuilder)->Apply(EachSize);
BENCHMARK(BM_Serialize)->Apply(EachSize);
BENCHMARK(BM_WriteTo)->Apply(EachSize);
BENCHMARK(BM_SaveToFile)->Apply(EachSize);

/// A query of eight GPUs, about the last of them where it is about one.
template <typename Query>
void AddQuery(const char* name, const Query& query) {
  benchmark::RegisterBenchmark(name, [query](benchmark::State& state) {
    Detector& detector = DetectorOf(8);
    const std::string last_id = detector.GetGPUs().back().id;
    for (auto _ : state) benchmark::DoNotOptimize(query(detector, last_id));
  });
}

void AddQueries() {
  using FlatBuffers::ComputeAPI;
  using ID = const std::string&;
  AddQuery("GetGPUIDs", [](Detector& vexil, ID) { return vexil.GetGPUIDs(); });
  AddQuery("GetGPUIDsByVendor",
           [](Detector& vexil, ID) { return vexil.GetGPUIDsByVendor(FlatBuffers::Vendor::NVIDIA); });
  AddQuery("GetGPUIDsByAPI", [](Detector& vexil, ID) { return vexil.GetGPUIDsByAPI(ComputeAPI::CUDA); });
  AddQuery("GetGPUIDsByType",
           [](Detector& vexil, ID) { return vexil.GetGPUIDsByType(FlatBuffers::GPUType::Discrete); });
  AddQuery("FindGPUIDs", [](Detector& vexil, ID) { return vexil.FindGPUIDs("rtx"); });
  AddQuery("GetMainDisplayGPUID", [](Detector& vexil, ID) { return vexil.GetMainDisplayGPUID(); });
  AddQuery("GetMainDisplayGPU", [](Detector& vexil, ID) { return &vexil.GetMainDisplayGPU(); });
  AddQuery("GetPeerGPUIDs/CUDA", [](Detector& vexil, ID id) { return vexil.GetPeerGPUIDs(id, ComputeAPI::CUDA); });
  AddQuery("GetPeerGPUIDs/OpenCL", [](Detector& vexil, ID id) { return vexil.GetPeerGPUIDs(id, ComputeAPI::OpenCL); });
  AddQuery("GetGPU", [](Detector& vexil, ID id) { return &vexil.GetGPU(id); });
  AddQuery("GetGPUs", [](Detector& vexil, ID) { return &vexil.GetGPUs(); });
  AddQuery("GetMonitors", [](Detector& vexil, ID) { return &vexil.GetMonitors(); });
  AddQuery("GetSystem", [](Detector& vexil, ID) { return &vexil.GetSystem(); });
  AddQuery("GetSystemMemory", [](Detector& vexil, ID) {
    std::uint64_t available = 0;
    std::uint64_t total = 0;
    return vexil.GetSystemMemory(available, total);
  });
  AddQuery("GetGPUMemory", [](Detector& vexil, ID id) {
    std::uint64_t free = 0;
    std::uint64_t total = 0;
    return vexil.GetGPUMemory(id, free, total);
  });
}

}  // namespace
}  // namespace Vexil::Benchmarks

int main(int argc, char** argv) {
  Vexil::Benchmarks::SendLogNowhere();
  Vexil::Benchmarks::AddQueries();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
