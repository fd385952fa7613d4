#include <gtest/gtest.h>

#include "Vexil/Results/ResultOutput.h"

namespace Vexil::Tests {
namespace {

using namespace FlatBuffers;

std::vector<std::uint8_t> Pack(const DetectionResultT& result) {
  std::vector<std::uint8_t> buffer = {1, 2, 3};
  PackResult(result, buffer);
  flatbuffers::Verifier verifier(buffer.data(), buffer.size());
  EXPECT_TRUE(VerifyDetectionResultBuffer(verifier));
  return buffer;
}

/// A table as its bytes have it, without the schema's names.
const flatbuffers::Table* Raw(const void* table) { return static_cast<const flatbuffers::Table*>(table); }

std::size_t CountFields(const void* table) {
  const std::uint8_t* vtable = Raw(table)->GetVTable();
  std::size_t fields = 0;
  const auto size = flatbuffers::ReadScalar<flatbuffers::voffset_t>(vtable);
  for (flatbuffers::voffset_t offset = 4; offset < size; offset += 2) {
    if (Raw(table)->CheckField(offset)) ++fields;
  }
  return fields;
}

TEST(BinaryForm, LeavesOutWhatIsUnknown) {
  EXPECT_EQ(CountFields(GetDetectionResult(Pack({}).data())), 0U);

  DetectionResultT result;
  result.detectors_output = std::make_shared<DetectorsOutputT>();
  auto cuda = std::make_shared<CUDAGPUT>();
  cuda->index = 0;
  cuda->pci_bus = 1;
  result.detectors_output->cuda.push_back(cuda);
  result.system = std::make_shared<SystemT>();
  result.library_version = "any";
  const auto buffer = Pack(result);
  const auto* root = GetDetectionResult(buffer.data());
  EXPECT_EQ(CountFields(root), 3U);
  EXPECT_EQ(CountFields(root->system()), 0U);
  EXPECT_EQ(CountFields(root->detectors_output()), 1U);
  const auto* packed = root->detectors_output()->cuda()->Get(0);
  EXPECT_EQ(CountFields(packed), 2U);
  EXPECT_EQ(packed->pci_bus(), 1);
  EXPECT_EQ(packed->pci_device(), -1);
  EXPECT_EQ(packed->peers(), nullptr);
}

TEST(BinaryForm, NumbersFieldsAsItAlwaysDid) {
  DetectionResultT result;
  result.detectors_output = std::make_shared<DetectorsOutputT>();
  auto win32 = std::make_shared<EnumDisplayDevicesGPUT>();
  win32->monitors.push_back(std::make_shared<MonitorT>());
  result.detectors_output->win32.push_back(win32);
  auto cuda = std::make_shared<CUDAGPUT>();
  cuda->device = 7;
  result.detectors_output->cuda.push_back(cuda);
  auto matched = std::make_shared<MatchedGPUT>();
  matched->gpu = std::make_shared<GPUT>();
  matched->gpu->pcie_max_generation = 4;
  matched->directx = std::make_shared<DirectXGPUT>();
  result.gpus.push_back(matched);
  result.library_version = "any";
  const auto buffer = Pack(result);
  const auto* root = GetDetectionResult(buffer.data());
  const auto* gpu = root->gpus()->Get(0);

  struct {
    const void* table;
    flatbuffers::voffset_t id;
  } const fields[] = {{root, 7},
                      {root->detectors_output(), 2},
                      {root->detectors_output()->win32()->Get(0), 12},
                      {gpu, 11},
                      {root->detectors_output()->cuda()->Get(0), 9},
                      {gpu->gpu(), 28}};
  for (const auto& field : fields) {
    EXPECT_TRUE(Raw(field.table)->CheckField(static_cast<flatbuffers::voffset_t>(4 + 2 * field.id))) << field.id;
  }
}

TEST(Records, CopiesShareNestedRecords) {
  MatchedGPUT matched;
  matched.gpu = std::make_shared<GPUT>();
  matched.nvapi = std::make_shared<NvAPIGPUT>();
  const MatchedGPUT copy(matched);
  EXPECT_EQ(copy.gpu, matched.gpu);
  EXPECT_EQ(copy.nvapi, matched.nvapi);
  MatchedGPUT assigned;
  assigned = matched;
  EXPECT_EQ(assigned.gpu, matched.gpu);

  DetectorsOutputT output;
  output.directx.push_back(std::make_shared<DirectXGPUT>());
  output.directx.front()->monitors.push_back(std::make_shared<MonitorT>());
  const DetectorsOutputT output_copy(output);
  EXPECT_EQ(output_copy.directx, output.directx);
  const DirectXGPUT directx_copy(*output.directx.front());
  EXPECT_EQ(directx_copy.monitors, output.directx.front()->monitors);
}

}  // namespace
}  // namespace Vexil::Tests
