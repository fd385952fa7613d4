#include <fmt/format.h>

#include <algorithm>

#include "AMD/AMDDisplayLibrary.h"
#include "Commands.h"
#include "Common/PCILocation.h"
#include "Common/Text.h"
#include "DetectCommon/CUDADriverAPI.h"
#include "DetectCommon/OpenCLLibrary.h"
#include "Json.h"
#include "NVIDIA/NVML.h"
#include "NVIDIA/NvAPILoader.h"
#include "RunLog.h"
#include "TextTable.h"

namespace Vexil::Program {

using FlatBuffers::MatchedGPUT;

namespace {

struct Diagnosis {
  std::string source;
  std::string library;  ///< Empty where the source is a part of Windows.
  std::string state;
  std::string failed_call;  ///< The one that kept the library from starting.
  std::size_t records = 0;
  std::optional<std::int64_t> milliseconds;
  std::vector<std::string> missing_entry_points;
  std::vector<std::string> messages;
  std::vector<Json> unmatched;
};

constexpr const char* kNotInstalled = "library not installed or not loadable";
constexpr const char* kEntryPointMissing = "entry point missing";

/// Looks at a vendor's library from outside, to tell why a source had nothing to say. `start` returns the
/// call that kept the library from starting; empty where none did.
template <typename Library, typename Start>
void Examine(Diagnosis& diagnosis, const Start& start) {
  Library library;
  LibraryInspection inspection = library.Inspect();
  if (!inspection.is_installed) {
    diagnosis.state = kNotInstalled;
    return;
  }
  if (!inspection.missing_required.empty()) {
    diagnosis.state = kEntryPointMissing;
    diagnosis.missing_entry_points = std::move(inspection.missing_required);
    return;
  }
  diagnosis.missing_entry_points = std::move(inspection.missing_optional);
  if (diagnosis.records != 0) return;
  diagnosis.failed_call = start(library);
}

/// For libraries whose Initialize makes just one call.
template <typename Library>
void Examine(Diagnosis& diagnosis, const char* start_call) {
  Examine<Library>(diagnosis, [=](Library& library) -> std::string { return library.Initialize() ? "" : start_call; });
}

void ExamineOpenCL(Diagnosis& diagnosis) {
  Examine<OpenCLLibrary>(diagnosis, [](OpenCLLibrary& library) -> std::string {
    cl_uint platforms = 0;
    if (!library.Initialize()) return "loading it again";
    const cl_int status = library.clGetPlatformIDs(0, nullptr, &platforms);
    return status == CL_SUCCESS ? "" : fmt::format("clGetPlatformIDs, status {}", status);
  });
}

void ExamineNvAPI(Diagnosis& diagnosis) {
  const NvAPI_Status status = NvAPI_Initialize();
  if (status == NVAPI_OK) {
    NvAPI_Unload();
  } else if (status == NVAPI_LIBRARY_NOT_FOUND) {
    diagnosis.state = kNotInstalled;
  } else if (status == NVAPI_NO_IMPLEMENTATION) {
    diagnosis.state = kEntryPointMissing;
    diagnosis.missing_entry_points = {"nvapi_QueryInterface, or NvAPI_Initialize behind it"};
  } else {
    diagnosis.failed_call = fmt::format("NvAPI_Initialize, status {}", status);
  }
}

/// What the records and the log tell of a source.
template <typename Record>
Diagnosis Diagnose(const char* source, const char* library, const Session& session,
                   const std::vector<std::shared_ptr<Record>>& records, std::shared_ptr<Record> MatchedGPUT::*member,
                   const RunLog& log) {
  Diagnosis diagnosis;
  diagnosis.source = source;
  diagnosis.library = library;
  diagnosis.records = records.size();
  if (const RunLog::Step* step = log.Find(source)) {
    diagnosis.milliseconds = step->milliseconds;
    diagnosis.messages = step->trouble;
  }
  for (const auto& record : records) {
    const auto is_its = [&](const MatchedGPUT& matched) {
      return matched.*member != nullptr && AreEqual(*(matched.*member), *record);
    };
    const auto& matched = session.results.matched;
    if (std::none_of(matched.begin(), matched.end(), is_its)) diagnosis.unmatched.push_back(ToJson(*record));
  }
  return diagnosis;
}

std::vector<Diagnosis> DiagnoseAll(const Session& session, const RunLog& log) {
  const auto& raw = *session.results.records.detectors_output;
  const auto diagnose = [&](const char* source, const char* library, const auto& records, auto member) {
    return Diagnose(source, library, session, records, member, log);
  };
  std::vector<Diagnosis> all = {
      diagnose("OpenCL", OpenCLLibrary::kFileName, raw.opencl, &MatchedGPUT::opencl),
      diagnose("CUDA", CUDADriverAPI::kFileName, raw.cuda, &MatchedGPUT::cuda),
      diagnose("Win32", "", raw.win32, &MatchedGPUT::win32),
      diagnose("DirectX", "", raw.directx, &MatchedGPUT::directx),
      diagnose("AMD DL", AMDDisplayLibrary::kFileName, raw.amddl, &MatchedGPUT::amddl),
      diagnose("NVAPI", kNvAPIFileName, raw.nvapi, &MatchedGPUT::nvapi),
      diagnose("NVML", NVML::kFileName, raw.nvml, &MatchedGPUT::nvml),
  };
  if (session.IsLive()) {
    ExamineOpenCL(all[0]);
    Examine<CUDADriverAPI>(all[1], "cuInit");
    Examine<AMDDisplayLibrary>(all[4], "ADL_Main_Control_Create");
    ExamineNvAPI(all[5]);
    Examine<NVML>(all[6], "nvmlInit_v2");
  }
  for (Diagnosis& diagnosis : all) {
    if (!diagnosis.state.empty()) continue;
    const bool failed = !diagnosis.failed_call.empty() || (diagnosis.records == 0 && !diagnosis.messages.empty());
    diagnosis.state = failed ? "call failed" : session.IsLive() ? "answered" : "saved";
  }
  return all;
}

std::string RecordName(const Json& record) {
  const std::string name = record.contains("name") ? "\"" + record["name"].get<std::string>() + "\"" : "a GPU";
  const auto number = [&](const char* field) { return record.value(field, kUnknown); };
  const PCILocation location = {number("pci_bus"), number("pci_device"), number("pci_function")};
  return name + (location.bus == kUnknown ? " at an unknown place" : " at " + PCILocationText(location));
}

void PrintText(const Session& session, const std::vector<Diagnosis>& all, const RunLog& log) {
  std::ostream& out = session.out;
  for (const Diagnosis& diagnosis : all) {
    std::string answer = diagnosis.state;
    if (!diagnosis.failed_call.empty()) answer += ": " + diagnosis.failed_call;
    if (diagnosis.state != kNotInstalled) answer += ", " + Counted(diagnosis.records, "record");
    if (diagnosis.milliseconds) answer += fmt::format(", {} ms", *diagnosis.milliseconds);
    out << fmt::format("{:<8}  {:<12}  {}\n", diagnosis.source, diagnosis.library, answer);
    if (!diagnosis.missing_entry_points.empty()) {
      const bool are_required = diagnosis.state == kEntryPointMissing;
      out << (are_required ? "    missing: " : "    missing, but optional: ")
          << Join(diagnosis.missing_entry_points, ", ") << '\n';
    }
    for (const std::string& message : diagnosis.messages) out << "    " << message << '\n';
  }
  for (const char* step : {RunLog::kSystemInfo, RunLog::kMatching, RunLog::kAfterMatching}) {
    const RunLog::Step* found = log.Find(step);
    if (found == nullptr || found->trouble.empty()) continue;
    out << '\n' << step << '\n';
    for (const std::string& message : found->trouble) out << "    " << message << '\n';
  }
  out << '\n' << Counted(session.results.matched.size(), "GPU") << " matched.\n";
  for (const Diagnosis& diagnosis : all) {
    for (const Json& record : diagnosis.unmatched) {
      out << fmt::format("Not matched: {} saw {}\n", diagnosis.source, RecordName(record));
    }
  }
}

void PrintAsJson(const Session& session, const std::vector<Diagnosis>& all) {
  Json list = Json::array();
  for (const Diagnosis& diagnosis : all) {
    Json json = {{"source", diagnosis.source}};
    if (!diagnosis.library.empty()) json["library"] = diagnosis.library;
    json["state"] = diagnosis.state;
    if (!diagnosis.failed_call.empty()) json["failed_call"] = diagnosis.failed_call;
    json["records"] = diagnosis.records;
    if (diagnosis.milliseconds) json["milliseconds"] = *diagnosis.milliseconds;
    json["missing_entry_points"] = diagnosis.missing_entry_points;
    json["messages"] = diagnosis.messages;
    json["unmatched"] = diagnosis.unmatched;
    list.push_back(std::move(json));
  }
  PrintJson(session.out, {{"gpus", session.results.matched.size()}, {"sources", list}});
}

}  // namespace

int Doctor(const Session& session) {
  const RunLog log(session.log);
  const std::vector<Diagnosis> all = DiagnoseAll(session, log);
  if (session.json) {
    PrintAsJson(session, all);
  } else {
    PrintText(session, all, log);
  }
  return session.results.gpus.empty() ? kFoundNone : kFoundGPUs;
}

}  // namespace Vexil::Program
