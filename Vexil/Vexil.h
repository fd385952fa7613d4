#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

#if defined(VEXIL_BUILD) && defined(_WIN32)
#define VEXIL_API __declspec(dllexport)
#elif defined(_WIN32)
#define VEXIL_API __declspec(dllimport)
#else
#define VEXIL_API
#endif

namespace Vexil {

class Detector;

}  // namespace Vexil

/// The process's one Detector, never null, alive until the process exits; the caller never deletes it.
/// Any thread may call it at any time. The first call sets up logging (see Detector); no call detects.
/// What that may throw is the standard library's and log4cxx's; a later call tries again.
extern "C" VEXIL_API Vexil::Detector* GetInstance() noexcept(false);

namespace Vexil {

/// For hosts that load the library themselves: what GetProcAddress returns for "GetInstance".
using GetInstanceFunction = Detector* (*)();

/// How to run a detection.
struct DetectOptions {
  /// Keeps a marker object until the next run. It has no effect on results.
  bool KeepMarker = true;
  /// Logs nothing while the detection runs; the logger's level is put back at its end.
  bool Silent = false;
};

/// What every version of the interface has.
class IInterface {
 public:
  virtual ~IInterface() = default;

  /// 1 for the operations declared here. Needs no lock and never runs a detection.
  virtual int GetVersion() const = 0;

  IInterface(const IInterface&) = delete;
  IInterface& operator=(const IInterface&) = delete;

 protected:
  IInterface() = default;
};

/// Finds the GPUs of this machine and answers questions about them.
///
/// **Results.** The first operation that needs results detects, on the caller's thread; that takes as
/// long as the drivers take, from milliseconds to seconds. Later ones answer from what was stored,
/// also when nothing was found. Only Detect() detects again.
///
/// **Unknown values.** A number that no source could tell is -1 (all bits set), a text or list is
/// empty, a nested record is null, a handle in a source's record is 0; OpenCL's handles in GPUT and
/// DirectXGPUT are all bits set. Memory sizes in records are MiB, those of operations are bytes.
///
/// **Texts** are the bytes that Windows and the drivers gave: in the machine's ANSI code page, so other
/// than ASCII letters are not always UTF-8.
///
/// **Lifetime.** What is returned by reference stays valid until the next Detect(), that of another thread
/// included: reading it meanwhile is a data race. Records held by shared pointers may be kept longer; they are
/// never changed after the run that made them.
///
/// **Threads.** Every operation may be called from any thread. GetVersion, GetSystemMemory and
/// Reserved return at once; all others take the object's one lock and so wait for a detection that is running.
/// Where the thread that holds the lock asks again, as a log appender or WriteTo's stream could, they throw
/// std::system_error with std::errc::resource_deadlock_would_occur.
///
/// **Failure.** A vendor library that is missing or fails costs only what it would have told. A
/// detection that finds no GPU at all has failed: identifiers are empty, lookups return the record
/// named "Invalid", the system record and raw records are there all the same. The only exceptions are
/// the standard library's: out of memory, std::system_error where the lock fails or its holder asks again,
/// and std::out_of_range where a driver's version text holds a number beyond 32 bits; WriteTo throws what its
/// stream is set to throw. They leave the object usable.
///
/// **A detection that threw** leaves what it had stored by then, mostly nothing: lists are empty, lookups
/// return the record named "Invalid", the system record is there if the run came that far. Where no detection
/// had finished before, the next query detects. Otherwise queries answer from what is left, and after a
/// detection that had found a GPU GetMainDisplayGPUID still names that one's, unless the run came to choose anew.
///
/// **Logging** goes to the log4cxx logger "Vexil". Where the host has configured log4cxx before its
/// first GetInstance, its configuration is left as it is; otherwise lines go to standard error.
///
/// **Log appenders** of the host's run inside the operation that logs, under the object's lock. They may call
/// GetVersion, GetSystemMemory and Reserved, nothing else: other operations throw on the same thread (see
/// Threads), and on another thread, where the appender waits for it, both wait for ever. What an appender
/// throws ends in the log call: that line is lost, the operation goes on.
///
/// **Binary interface.** Standard library types cross it: use the compiler and the runtime that the
/// library was built with.
class Detector : public IInterface {
 public:
  class Impl;

  ~Detector() override;

  int GetVersion() const override;

  /// Detects now and replaces all results, whatever an earlier run found. True when a GPU was found.
  virtual bool Detect(const DetectOptions& options);

  /// The identifiers of all GPUs. Empty when there are none.
  virtual std::unordered_set<std::string> GetGPUIDs();
  /// The GPUs of one maker. Empty when there are none.
  virtual std::unordered_set<std::string> GetGPUIDsByVendor(FlatBuffers::Vendor vendor);
  /// The GPUs that can be reached through `api`. Empty when there are none.
  virtual std::unordered_set<std::string> GetGPUIDsByAPI(FlatBuffers::ComputeAPI api);
  /// The GPUs of one type. Empty when there are none.
  virtual std::unordered_set<std::string> GetGPUIDsByType(FlatBuffers::GPUType type);
  /// The GPUs whose "identifier vendor name type" contains `text`, letter case ignored. The empty
  /// text finds all.
  virtual std::unordered_set<std::string> FindGPUIDs(const std::string& text);

  /// The GPU that drives the main display. Empty when there is no GPU.
  virtual std::string GetMainDisplayGPUID();
  /// Its record, or the one named "Invalid". In two steps: where another thread detects in between, the
  /// record may also be the one named "Invalid" although there is a GPU.
  virtual const FlatBuffers::GPUT& GetMainDisplayGPU();

  /// The other GPUs that work with `gpu_id` directly: for CUDA those that NVLink joins to it, for OpenCL
  /// those that it can copy buffers to, for Metal those of its peer group. Empty when `gpu_id` is unknown.
  virtual std::unordered_set<std::string> GetPeerGPUIDs(const std::string& gpu_id, FlatBuffers::ComputeAPI api);

  /// The record of one GPU; the one named "Invalid", whose id is empty, when `gpu_id` is unknown.
  virtual const FlatBuffers::GPUT& GetGPU(const std::string& gpu_id);
  /// All GPUs: NVIDIA's, AMD's, then Intel's, each in its driver's order. Empty when there are none. Two
  /// have one identifier where drivers put like cards at one place; GetGPU then returns the first.
  virtual const std::vector<FlatBuffers::GPUT>& GetGPUs();
  /// The monitors of the GPUs listed, in the order of the GPUs. Empty when there are none.
  virtual const std::vector<FlatBuffers::MonitorT>& GetMonitors();
  /// The machine, told also when no GPU was found.
  virtual const FlatBuffers::SystemT& GetSystem();

  /// Physical memory of the machine at this moment, in bytes. False when Windows does not tell; the
  /// arguments are then untouched. Takes no lock and never detects.
  virtual bool GetSystemMemory(std::uint64_t& available, std::uint64_t& total);

  /// Video memory of one GPU at this moment, in bytes, asked of the driver at every call. NVIDIA GPUs
  /// answer through NVAPI, AMD GPUs through OpenCL. False for others and for an unknown `gpu_id`, which
  /// leaves the arguments untouched, and where the driver was asked and failed, which makes them 0. Both
  /// drivers count in KiB, which are taken for 1000 bytes (AMD's `total` is exact), so figures read less than
  /// vram_mib.
  virtual bool GetGPUMemory(const std::string& gpu_id, std::uint64_t& free, std::uint64_t& total);

  /// Does nothing; keeps the places of the operations after it.
  virtual void Reserved();

  /// Writes all results to a file as a FlatBuffers buffer with the root table DetectionResult (see
  /// DetectionResult.fbs), also after a failed run. An existing file is replaced. True when the file
  /// could be opened; whether the whole buffer reached the disk is not told. False for a path with a NUL in it.
  virtual bool SaveToFile(const std::string& path);
  /// The same buffer, to a stream opened for binary output. True when the stream is good afterwards.
  virtual bool WriteTo(std::ostream& stream);
  /// The same buffer, in place of what `buffer` held. Always true.
  virtual bool Serialize(std::vector<std::uint8_t>& buffer);

 protected:
  Detector();

 private:
  std::unique_ptr<Impl> m_impl;
};

}  // namespace Vexil
