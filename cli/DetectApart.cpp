#include "cli/DetectApart.h"

#include <map>

#include "Vexil/Common/Log.h"
#include "Vexil/Platform/RunScope.h"
#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Sources/AskSource.h"
#include "Vexil/SystemInfo/WindowsSystemInfo.h"
#include "cli/AccountJson.h"
#include "cli/Hex.h"
#include "cli/ResultFile.h"

namespace Vexil::Cli {

using FlatBuffers::DetectionResultT;
using FlatBuffers::DetectorsOutputT;
using FlatBuffers::SystemT;
using Interfaces::ChildFault;
using Interfaces::ChildResult;

namespace {

/// OpenCL's handles are good in one process only. Numbers in the loader's order join the records of DirectX to those of
/// OpenCL, which another child makes.
void NumberOpenCLHandles(DetectorsOutputT& records) {
  std::vector<std::uint64_t*> handles;
  for (const auto& gpu : records.opencl) handles.insert(handles.end(), {&gpu->platform_id, &gpu->device_id});
  for (const auto& gpu : records.directx) {
    if (gpu->opencl_device_id != 0) {
      handles.insert(handles.end(), {&gpu->opencl_platform_id, &gpu->opencl_device_id});
    }
  }
  const auto opencl = RunScope::Get<OpenCLLibrary>();
  if (handles.empty() || !opencl->Initialize()) return;
  std::map<std::uint64_t, std::uint64_t> numbers;
  const auto number = [&](std::uint64_t handle) { numbers.emplace(handle, numbers.size() + 1); };
  for (cl_platform_id platform : opencl->GetPlatforms()) {
    number(FromHandle(platform));
    for (cl_device_id device : opencl->GetDevices(platform)) number(FromHandle(device));
  }
  for (std::uint64_t* handle : handles) {
    const auto found = numbers.find(*handle);
    if (found != numbers.end()) *handle = found->second;
  }
}

/// What the report asks for beyond the records.
void TryLiveMemory(const DetectorsOutputT& records, Account& account) {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  std::int64_t place = 0;
  for (const auto& gpu : records.nvapi) {
    account.About("GPU", place++);
    if (!GetNvAPIMemoryInfo(*gpu, free, total)) account.Miss("live memory", "NvAPI_GPU_GetMemoryInfo");
  }
  for (const auto& gpu : records.opencl) {
    account.About("record", place++);
    if (gpu->amd_attribute_query && !GetAMDDeviceMemoryInfo(gpu->device_id, free, total)) {
      account.Miss("live memory", "clGetDeviceInfo CL_DEVICE_GLOBAL_FREE_MEMORY_AMD");
    }
  }
}

Json ToAnswer(const Account& account, std::shared_ptr<SystemT> system, std::shared_ptr<DetectorsOutputT> records) {
  DetectionResultT result;
  result.system = std::move(system);
  result.detectors_output = std::move(records);
  std::vector<std::uint8_t> buffer;
  PackResult(result, buffer);
  return {{"account", ToJson(account)}, {"records", ToHex(buffer)}};
}

Json Ask(const std::string& name) {
  const RunScope scope;
  const auto system = std::make_shared<SystemT>();
  const auto records = std::make_shared<DetectorsOutputT>();
  Account account;
  if (name == kSystemInformation) {
    const Stopwatch stopwatch;
    *system = GetWindowsSystemInfo(account);
    account.duration = stopwatch.Elapsed();
  }
  ForEachSource([&](const auto& source) {
    if (name == source.name) account = AskSource(source, *records);
  });
  TryLiveMemory(*records, account);
  NumberOpenCLHandles(*records);
  return ToAnswer(account, system, records);
}

/// Reads an answer; one that makes no sense is a fault of the child, too.
DetectionResultT Read(const ChildResult& child, Account& account, ChildFault& fault) {
  fault = child.fault;
  if (fault.kind != ChildFault::None) return {};
  try {
    if (child.answer.contains("exception")) throw Error(child.answer["exception"].get<std::string>());
    account = AccountFromJson(child.answer.at("account"));
    return UnpackResults(FromHex(child.answer.at("records").get<std::string>()), "its answer").records;
  } catch (const std::exception& error) {
    fault = {ChildFault::NoAnswer, Interfaces::kNoAnswer + std::string(": ") + error.what()};
    account = {};
    return {};
  }
}

}  // namespace

Json AnswerOfSource(const std::string& name) {
  const LogSilencer silencer(true);
  try {
    return Ask(name);
  } catch (const std::exception& error) {
    return {{"exception", error.what()}};
  }
}

DetectionApart DetectApart() {
  std::vector<const char*> names = {kSystemInformation};
  ForEachSource([&](const auto& source) { names.push_back(source.name); });
  const auto children = RunChildren({}, names, kSourceWork);
  auto child = children.begin();
  DetectionApart apart;
  apart.run = std::make_shared<Detector::Impl>();
  Detector::Impl& run = *apart.run;
  const DetectionResultT system = Read(*child, run.account.system, apart.system);
  if (system.system != nullptr) run.system = *system.system;
  ForEachSource([&](const auto& source) {
    Account& account = run.account.sources.at(apart.sources.size());
    const DetectionResultT told = Read(*++child, account, apart.sources.emplace_back());
    if (told.detectors_output != nullptr) run.detectors_output.*source.list = *told.detectors_output.*source.list;
  });
  std::vector<FlatBuffers::MatchedGPUT> matched;
  run.MatchRecords(matched);
  return apart;
}

}  // namespace Vexil::Cli
