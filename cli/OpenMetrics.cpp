#include "cli/OpenMetrics.h"

#include <fmt/format.h>

#include <ostream>
#include <string>

#include "Vexil/Common/Unknown.h"
#include "cli/Printing.h"
#include "cli/Selection.h"

namespace Vexil::Cli {
namespace {

/// The value of a label between its quotation marks.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : Printable(text)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string Labels(const GPUReading& of_gpu) {
  const FlatBuffers::GPUT& gpu = *of_gpu.matched->gpu;
  return fmt::format("{{gpu={},id={},name={}}}", Quoted(std::to_string(of_gpu.number)), Quoted(gpu.id),
                     Quoted(FullName(gpu)));
}

/// One metric with the samples that there are.
class Metric {
 public:
  Metric(std::ostream& out, const char* name, const char* help) : m_out(out), m_name(name) {
    out << "# HELP " << name << ' ' << help << "\n# TYPE " << name << " gauge\n";
  }
  void Add(const std::string& labels, const std::optional<std::uint64_t>& bytes) {
    if (bytes) m_out << m_name << labels << ' ' << *bytes << '\n';
  }

 private:
  std::ostream& m_out;
  const char* m_name;
};

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

/// The live figure or, where there is none, the detected one.
std::optional<std::uint64_t> Size(const std::optional<MemoryUse>& use, std::int32_t mib) {
  if (use) return use->total;
  return mib == kUnknown ? std::nullopt : std::optional(static_cast<std::uint32_t>(mib) * kMiB);
}

std::optional<std::uint64_t> Free(const std::optional<MemoryUse>& use) {
  return use ? std::optional(use->free) : std::nullopt;
}

}  // namespace

void PrintOpenMetrics(std::ostream& out, const Reading& reading) {
  Metric(out, "vexil_system_memory_size_bytes", "RAM of the machine.").Add("", Size(reading.system, reading.ram_mib));
  Metric(out, "vexil_system_memory_free_bytes", "RAM that is available.").Add("", Free(reading.system));
  Metric size(out, "vexil_gpu_memory_size_bytes", "Memory of the GPU.");
  for (const GPUReading& of_gpu : reading.gpus) {
    size.Add(Labels(of_gpu), Size(of_gpu.use, of_gpu.matched->gpu->vram_mib));
  }
  Metric free(out, "vexil_gpu_memory_free_bytes", "Memory of the GPU that is free.");
  for (const GPUReading& of_gpu : reading.gpus) free.Add(Labels(of_gpu), Free(of_gpu.use));
  out << "# EOF\n";
}

}  // namespace Vexil::Cli
