#include "Vexil/NVIDIA/NvAPILoader.h"

#include <array>
#include <unordered_map>
#include <utility>

#include "Vexil/Platform/RunScope.h"

namespace Vexil {
namespace {

constexpr std::array kStatusNames = {
    StatusName{-1, "NVAPI_ERROR"},
    StatusName{NVAPI_LIBRARY_NOT_FOUND, "NVAPI_LIBRARY_NOT_FOUND"},
    StatusName{NVAPI_NO_IMPLEMENTATION, "NVAPI_NO_IMPLEMENTATION"},
    StatusName{NVAPI_API_NOT_INITIALIZED, "NVAPI_API_NOT_INITIALIZED"},
    StatusName{-5, "NVAPI_INVALID_ARGUMENT"},
    StatusName{-6, "NVAPI_NVIDIA_DEVICE_NOT_FOUND"},
    StatusName{NVAPI_END_ENUMERATION, "NVAPI_END_ENUMERATION"},
    StatusName{NVAPI_INVALID_HANDLE, "NVAPI_INVALID_HANDLE"},
    StatusName{-9, "NVAPI_INCOMPATIBLE_STRUCT_VERSION"},
    StatusName{NVAPI_HANDLE_INVALIDATED, "NVAPI_HANDLE_INVALIDATED"},
    StatusName{NVAPI_EXPECTED_PHYSICAL_GPU_HANDLE, "NVAPI_EXPECTED_PHYSICAL_GPU_HANDLE"},
    StatusName{-104, "NVAPI_NOT_SUPPORTED"},
};

// Called by the loader only, which counts its users.
constexpr NvAPIEntry kInitialize{"NvAPI_Initialize", 0x0150E828, Need::Required};
constexpr NvAPIEntry kUnload{"NvAPI_Unload", 0xD22BDD7E, Need::Optional};

/// The library, while somebody keeps it up.
class Loader : public VendorLibrary {
 public:
  Loader() : VendorLibrary(kNvAPIFileName) {}

  Symbol Find(std::uint32_t id);
  NvAPI_Status Start(Account& account);
  NvAPI_Status Stop();

  /// Until `EndRun` the last user stays, for the next one to take its place.
  void BeginRun() { m_is_in_run = true; }
  void EndRun();

  std::mutex mutex;
  unsigned users = 0;

 private:
  NvAPI_Status CallInitialize();
  void Close();

  std::unordered_map<std::uint32_t, Symbol> m_functions;
  bool m_is_in_run = false;
  bool m_has_spare_user = false;
  Entry<void*(std::uint32_t id)> nvapi_QueryInterface{*this, "nvapi_QueryInterface"};
};

Loader& TheLoader() {
  // Never destroyed: at process exit the driver may be gone before this library is.
  static Loader& loader = *new Loader;
  return loader;
}

Symbol Loader::Find(std::uint32_t id) {
  const auto known = m_functions.find(id);
  if (known != m_functions.end()) return known->second;
  const auto function = reinterpret_cast<Symbol>(nvapi_QueryInterface(id));
  m_functions.emplace(id, function);
  return function;
}

NvAPI_Status Loader::CallInitialize() {
  if (!IsOpen()) {
    if (!Open()) return NVAPI_LIBRARY_NOT_FOUND;
    Resolve();
  }
  if (!nvapi_QueryInterface) return NVAPI_NO_IMPLEMENTATION;
  if (Find(kUnload.id) == nullptr) TheAccount().MissEntryPoint(kUnload.name, false);
  const Symbol initialize = Find(kInitialize.id);
  NoteCall(kInitialize.name);
  if (initialize != nullptr) return reinterpret_cast<NvAPI_Status (*)()>(initialize)();
  TheAccount().MissEntryPoint(kInitialize.name, true);
  return NVAPI_NO_IMPLEMENTATION;
}

NvAPI_Status Loader::Start(Account& account) {
  if (std::exchange(m_has_spare_user, false)) {
    account = TheAccount();
    return NVAPI_OK;
  }
  TheAccount() = {};
  NvAPI_Status status = NVAPI_OK;
  try {
    status = CallInitialize();
  } catch (...) {
    // A driver's own: the process may live on.
    if (users == 0) Close();
    throw;
  }
  account = TheAccount();
  if (status == NVAPI_OK) {
    ++users;
    PinLibrary(kNvAPIFileName);
  } else {
    if (account.state == SourceState::Answered) {
      account.End(SourceState::StartFailed, kInitialize.name, status, kStatusNames);
    }
    if (users == 0) Close();
  }
  return status;
}

NvAPI_Status Loader::Stop() {
  if (users == 0 || m_has_spare_user) return NVAPI_API_NOT_INITIALIZED;
  if (users == 1 && m_is_in_run) {
    m_has_spare_user = true;
    return NVAPI_OK;
  }
  const Symbol unload = Find(kUnload.id);
  if (unload == nullptr) {
    // It stays up. The next time the library is asked once more.
    m_functions.erase(kUnload.id);
    return NVAPI_NO_IMPLEMENTATION;
  }
  NoteCall(kUnload.name);
  const NvAPI_Status status = reinterpret_cast<NvAPI_Status (*)()>(unload)();
  if (--users == 0) Close();
  return status;
}

void Loader::EndRun() {
  m_is_in_run = false;
  if (std::exchange(m_has_spare_user, false)) Stop();
}

void Loader::Close() {
  m_functions.clear();
  VendorLibrary::Close();
}

}  // namespace

void NvAPIEntry::NoteFailure(Account& account, NvAPI_Status status, const char* fields) const {
  if (status == NVAPI_NO_IMPLEMENTATION) {
    account.MissEntryPoint(name, need == Need::Required);
  } else if (need == Need::Required) {
    account.End(SourceState::CallFailed, name, status, kStatusNames);
  } else {
    account.Miss(fields, name, status, kStatusNames);
  }
}

namespace {

/// Keeps NVAPI up for as long as a run lasts.
class RunsNvAPI {
 public:
  RunsNvAPI() {
    const std::lock_guard lock(TheLoader().mutex);
    TheLoader().BeginRun();
  }
  ~RunsNvAPI() {
    const std::lock_guard lock(TheLoader().mutex);
    TheLoader().EndRun();
  }
  RunsNvAPI(const RunsNvAPI&) = delete;
  RunsNvAPI& operator=(const RunsNvAPI&) = delete;
};

}  // namespace

NvAPI_Status NvAPI_Initialize(Account& account) {
  RunScope::Keep<RunsNvAPI>();
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  return loader.Start(account);
}

NvAPI_Status NvAPI_Unload() {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  return loader.Stop();
}

NvAPICall::NvAPICall(std::uint32_t id, WhenDown when_down) : m_lock(TheLoader().mutex) {
  Loader& loader = TheLoader();
  if (loader.users == 0) {
    Account account;
    m_status = when_down == WhenDown::BringUp ? loader.Start(account) : NVAPI_API_NOT_INITIALIZED;
    if (m_status != NVAPI_OK) return;
  }
  m_function = loader.Find(id);
  if (m_function == nullptr) m_status = NVAPI_NO_IMPLEMENTATION;
}

}  // namespace Vexil
