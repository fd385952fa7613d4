// What the library costs beside the drivers that it asks. The drivers here are simulated and answer at
// once, so that the library's own share is as large as it can be.

#include <benchmark/benchmark.h>
#include <log4cxx/helpers/properties.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/propertyconfigurator.h>

#include "BareCalls.h"
#include "FlatBuffers/DetectionResult_generated.h"
#include "NvidiaMachine.h"
#include "Simulation.h"
#include "Vexil.h"

namespace Vexil::Bench {
namespace {

class BenchDetector : public Detector {};

void SetLogging(bool on) {
  log4cxx::Logger::getLogger("Vexil")->setLevel(on ? log4cxx::Level::getDebug() : log4cxx::Level::getOff());
}

/// Log lines are composed and formatted as always, and then thrown away.
void SendLogNowhere() {
  log4cxx::helpers::Properties properties;
  properties.setProperty(LOG4CXX_STR("log4j.rootLogger"), LOG4CXX_STR("DEBUG, Nowhere"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere"), LOG4CXX_STR("org.apache.log4j.FileAppender"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere.file"), LOG4CXX_STR("/dev/null"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere.layout"), LOG4CXX_STR("org.apache.log4j.PatternLayout"));
  properties.setProperty(LOG4CXX_STR("log4j.appender.Nowhere.layout.ConversionPattern"),
                         LOG4CXX_STR("%d{HH:mm:ss,SSS} | %-5p | %-18.32c | %m\n"));
  log4cxx::PropertyConfigurator::configure(properties);
}

/// The number of driver calls, with everything in place that the first time leaves for the life of the process.
double CallsOf(std::size_t gpus, const std::function<void()>& work) {
  Simulation::SetMachine(NvidiaMachine(gpus));
  work();
  const std::uint64_t before = Simulation::Observed().calls;
  work();
  return static_cast<double>(Simulation::Observed().calls - before);
}

void BM_BareDriverCalls(benchmark::State& state) {
  const auto gpus = static_cast<std::size_t>(state.range(0));
  const bool for_report = state.range(1) != 0;
  state.counters["calls"] = CallsOf(gpus, [=] { MakeBareCalls(gpus, for_report); });
  for (auto _ : state) MakeBareCalls(gpus, for_report);
}

void BM_Detect(benchmark::State& state) {
  const auto gpus = static_cast<std::size_t>(state.range(0));
  SetLogging(state.range(1) != 0);
  BenchDetector detector;
  state.counters["calls"] = CallsOf(gpus, [&] { detector.Detect({}); });
  for (auto _ : state) benchmark::DoNotOptimize(detector.Detect({}));
  SetLogging(false);
}

void EachMachine(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"gpus", "log"})->ArgsProduct({{1, 2, 8, 64}, {0, 1}})->Unit(benchmark::kMicrosecond);
}
BENCHMARK(BM_BareDriverCalls)->Apply(EachMachine);
BENCHMARK(BM_Detect)->Apply(EachMachine);

/// A detector that has detected.
Detector& DetectorOf(std::size_t gpus) {
  static BenchDetector detector;
  SetLogging(false);
  Simulation::SetMachine(NvidiaMachine(gpus));
  detector.Detect({});
  return detector;
}

void BM_Serialize(benchmark::State& state) {
  Detector& detector = DetectorOf(static_cast<std::size_t>(state.range(0)));
  std::vector<std::uint8_t> buffer;
  for (auto _ : state) detector.Serialize(buffer);
  state.counters["bytes"] = static_cast<double>(buffer.size());
}

void BM_BareBufferBuilder(benchmark::State& state) {
  Detector& detector = DetectorOf(static_cast<std::size_t>(state.range(0)));
  std::vector<std::uint8_t> buffer;
  detector.Serialize(buffer);
  FlatBuffers::DetectionResultT result;
  FlatBuffers::GetDetectionResult(buffer.data())->UnPackTo(&result);
  for (auto _ : state) {
    flatbuffers::FlatBufferBuilder builder;
    builder.Finish(FlatBuffers::CreateDetectionResult(builder, &result));
    benchmark::DoNotOptimize(builder.GetBufferPointer());
  }
}

BENCHMARK(BM_BareBufferBuilder)->ArgName("gpus")->Arg(2)->Arg(64)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Serialize)->ArgName("gpus")->Arg(2)->Arg(64)->Unit(benchmark::kMicrosecond);

template <typename Query>
void RunQuery(benchmark::State& state, const Query& query) {
  Detector& detector = DetectorOf(8);
  const std::string last_id = detector.GetGPUs().back().id;
  for (auto _ : state) benchmark::DoNotOptimize(query(detector, last_id));
}

#define VEXIL_BENCH_QUERY(name, expression)                                        \
  void BM_##name(benchmark::State& state) {                                        \
    RunQuery(state, [](Detector& vexil, const std::string& id) -> decltype(auto) { \
      static_cast<void>(id);                                                       \
      return expression;                                                           \
    });                                                                            \
  }                                                                                \
  BENCHMARK(BM_##name)

VEXIL_BENCH_QUERY(GetGPUIDs, vexil.GetGPUIDs());
VEXIL_BENCH_QUERY(GetGPUIDsByVendor, vexil.GetGPUIDsByVendor(FlatBuffers::Vendor::NVIDIA));
VEXIL_BENCH_QUERY(GetGPUIDsByAPI, vexil.GetGPUIDsByAPI(FlatBuffers::ComputeAPI::CUDA));
VEXIL_BENCH_QUERY(GetGPUIDsByType, vexil.GetGPUIDsByType(FlatBuffers::GPUType::Discrete));
VEXIL_BENCH_QUERY(FindGPUIDs, vexil.FindGPUIDs("rtx"));
VEXIL_BENCH_QUERY(GetMainDisplayGPUID, vexil.GetMainDisplayGPUID());
VEXIL_BENCH_QUERY(GetMainDisplayGPU, &vexil.GetMainDisplayGPU());
VEXIL_BENCH_QUERY(GetPeerGPUIDs, vexil.GetPeerGPUIDs(id, FlatBuffers::ComputeAPI::CUDA));
VEXIL_BENCH_QUERY(GetGPU, &vexil.GetGPU(id));
VEXIL_BENCH_QUERY(GetGPUs, &vexil.GetGPUs());
VEXIL_BENCH_QUERY(GetMonitors, &vexil.GetMonitors());
VEXIL_BENCH_QUERY(GetSystem, &vexil.GetSystem());

void BM_GetGPUMemory(benchmark::State& state) {
  RunQuery(state, [](Detector& vexil, const std::string& id) {
    std::uint64_t free = 0;
    std::uint64_t total = 0;
    return vexil.GetGPUMemory(id, free, total);
  });
}
BENCHMARK(BM_GetGPUMemory);

}  // namespace
}  // namespace Vexil::Bench

int main(int argc, char** argv) {
  Vexil::Bench::SendLogNowhere();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
