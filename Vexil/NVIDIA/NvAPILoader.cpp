#include "Vexil/NVIDIA/NvAPILoader.h"

#include <array>
#include <unordered_map>

#include "Vexil/Platform/LibraryKeeper.h"

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
    StatusName{-8, "NVAPI_INVALID_HANDLE"},
    StatusName{-9, "NVAPI_INCOMPATIBLE_STRUCT_VERSION"},
    StatusName{-10, "NVAPI_HANDLE_INVALIDATED"},
    StatusName{-101, "NVAPI_EXPECTED_PHYSICAL_GPU_HANDLE"},
    StatusName{-104, "NVAPI_NOT_SUPPORTED"},
};

// Called through the loader only, which counts its users.
constexpr NvAPIEntry kInitialize{"NvAPI_Initialize", 0x0150E828, Need::Required};
constexpr NvAPIEntry kUnload{"NvAPI_Unload", 0xD22BDD7E, Need::Required};

/// The library, while somebody keeps it up.
class Loader : public VendorLibrary {
 public:
  Loader() : VendorLibrary(kNvAPIFileName) {}

  Symbol Find(std::uint32_t id);
  NvAPI_Status Start(Account& account);
  NvAPI_Status Stop();

  std::mutex mutex;
  unsigned users = 0;

 private:
  NvAPI_Status Call(const NvAPIEntry& entry);
  bool HasStartAndStop();
  void Close();

  std::unordered_map<std::uint32_t, Symbol> m_functions;
  LibraryKeeper m_keeper;
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

NvAPI_Status Loader::Call(const NvAPIEntry& entry) {
  const Symbol function = Find(entry.id);
  return function != nullptr ? reinterpret_cast<NvAPI_Status (*)()>(function)() : NVAPI_NO_IMPLEMENTATION;
}

bool Loader::HasStartAndStop() {
  if (!nvapi_QueryInterface) return false;
  // What could not be shut down again is not started.
  for (const NvAPIEntry* entry : {&kUnload, &kInitialize}) {
    if (Find(entry->id) != nullptr) continue;
    TheAccount().MissEntryPoint(entry->name, true);
    return false;
  }
  return true;
}

NvAPI_Status Loader::Start(Account& account) {
  TheAccount() = {};
  if (!IsOpen()) {
    if (!Open()) {
      account = TheAccount();
      return NVAPI_LIBRARY_NOT_FOUND;
    }
    Resolve();
  }
  const NvAPI_Status status = HasStartAndStop() ? Call(kInitialize) : NVAPI_NO_IMPLEMENTATION;
  account = TheAccount();
  if (status == NVAPI_OK) {
    ++users;
    m_keeper.Keep(kNvAPIFileName);
    return NVAPI_OK;
  }
  if (account.missing_required.empty()) {
    account.End(SourceState::StartFailed, kInitialize.name, status, kStatusNames);
  }
  if (users == 0) Close();
  return status;
}

NvAPI_Status Loader::Stop() {
  if (users == 0) return NVAPI_API_NOT_INITIALIZED;
  const NvAPI_Status status = Call(kUnload);
  if (--users == 0) Close();
  return status;
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

NvAPI_Status NvAPI_Initialize(Account& account) {
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
