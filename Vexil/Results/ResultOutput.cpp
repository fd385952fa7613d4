#include "Vexil/Results/ResultOutput.h"

#include <fstream>
#include <ostream>

namespace Vexil {

void PackResult(const FlatBuffers::DetectionResultT& result, std::vector<std::uint8_t>& out) {
  flatbuffers::FlatBufferBuilder builder(1024);
  builder.Finish(FlatBuffers::CreateDetectionResult(builder, &result));
  out.assign(builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
}

namespace {

void WriteAll(const std::vector<std::uint8_t>& buffer, std::ostream& stream) {
  stream.write(reinterpret_cast<const char*>(buffer.data()), static_cast<std::streamsize>(buffer.size()));
}

}  // namespace

bool WriteResult(const FlatBuffers::DetectionResultT& result, std::ostream& stream) {
  std::vector<std::uint8_t> buffer;
  PackResult(result, buffer);
  WriteAll(buffer, stream);
  return stream.good();
}

bool SaveResult(const FlatBuffers::DetectionResultT& result, const std::string& path) {
  // The file system would take the part before the NUL.
  if (path.find('\0') != std::string::npos) return false;
  // First, so that an older result is still there should memory run out.
  std::vector<std::uint8_t> buffer;
  PackResult(result, buffer);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file.is_open()) return false;
  WriteAll(buffer, file);
  return true;
}

}  // namespace Vexil
