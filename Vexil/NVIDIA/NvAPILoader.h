#pragma once

#include <cstdint>
#include <mutex>

#include "Vexil/Common/Account.h"
#include "Vexil/Platform/VendorLibrary.h"

namespace Vexil {

using NvAPI_Status = int;
inline constexpr NvAPI_Status NVAPI_OK = 0;
inline constexpr NvAPI_Status NVAPI_LIBRARY_NOT_FOUND = -2;
inline constexpr NvAPI_Status NVAPI_NO_IMPLEMENTATION = -3;
inline constexpr NvAPI_Status NVAPI_API_NOT_INITIALIZED = -4;
inline constexpr NvAPI_Status NVAPI_END_ENUMERATION = -7;
inline constexpr NvAPI_Status NVAPI_INVALID_HANDLE = -8;
inline constexpr NvAPI_Status NVAPI_HANDLE_INVALIDATED = -10;
inline constexpr NvAPI_Status NVAPI_EXPECTED_PHYSICAL_GPU_HANDLE = -101;

inline constexpr const char* kNvAPIFileName = "nvapi64.dll";

/// A function's name, and the number by which the library hands it out.
struct NvAPIEntry {
  const char* name = nullptr;
  std::uint32_t id = 0;
  Need need = Need::Optional;

  /// Notes that a call of this function failed, or that the library does not have it.
  void NoteFailure(Account& account, NvAPI_Status status, const char* fields) const;
};

/// Loads the library and starts it. Each success is to be paired with an NvAPI_Unload; the last of
/// these closes the library, whose code stays for the handles that records hold. A run keeps it up until its end. The
/// account receives what happened.
NvAPI_Status NvAPI_Initialize(Account& account);
/// Where the library has no function for it, NVAPI stays up.
NvAPI_Status NvAPI_Unload();

/// What a call does while NVAPI is not up.
enum class WhenDown {
  Fail,
  BringUp,  ///< Starts NVAPI and leaves it up until the process ends.
};

/// One function of NVAPI, called like the function itself. Where library, function or driver is
/// missing, the answer is an error status. Calls may come from any thread.
template <typename... Arguments>
class NvAPIFunction : public NvAPIEntry {
 public:
  constexpr explicit NvAPIFunction(const NvAPIEntry& entry, WhenDown when_down = WhenDown::Fail)
      : NvAPIEntry(entry), m_when_down(when_down) {}

  NvAPI_Status operator()(Arguments... arguments) const;

  /// Calls the function for what fills `fields`, and notes where that fails. True when it succeeds.
  bool Tells(Account& account, const char* fields, Arguments... arguments) const {
    const NvAPI_Status status = (*this)(arguments...);
    if (status != NVAPI_OK) NoteFailure(account, status, fields);
    return status == NVAPI_OK;
  }

 private:
  WhenDown m_when_down;
};

/// A call into NVAPI in the making: finds the function, and as long as this lives NVAPI stays up.
class NvAPICall {
 public:
  NvAPICall(std::uint32_t id, WhenDown when_down);

  Symbol Function() const { return m_function; }
  /// Why there is no function.
  NvAPI_Status Status() const { return m_status; }

 private:
  // One call at a time, so that no NvAPI_Unload takes the code away from under a call.
  std::unique_lock<std::mutex> m_lock;
  Symbol m_function = nullptr;
  NvAPI_Status m_status = NVAPI_OK;
};

template <typename... Arguments>
NvAPI_Status NvAPIFunction<Arguments...>::operator()(Arguments... arguments) const {
  const NvAPICall call(id, m_when_down);
  if (call.Function() == nullptr) return call.Status();
  NoteCall(name);
  return reinterpret_cast<NvAPI_Status (*)(Arguments...)>(call.Function())(arguments...);
}

}  // namespace Vexil
