#include "NVIDIA/NvAPILoader.h"

#include <unordered_map>

#include "Common/LibraryKeeper.h"

namespace Vexil {
namespace {

/// The library, while somebody keeps it up.
struct Loader {
  std::mutex mutex;
  void* library = nullptr;
  void* (*query_interface)(std::uint32_t id) = nullptr;
  std::unordered_map<std::uint32_t, Symbol> functions;
  unsigned users = 0;
  LibraryKeeper keeper;

  Symbol Find(std::uint32_t id);
  NvAPI_Status CallByID(std::uint32_t id);
  NvAPI_Status Start();
  NvAPI_Status Stop();
  void Close();
};

Loader& TheLoader() {
  // Never destroyed: at process exit the driver may be gone before this library is.
  static Loader& loader = *new Loader;
  return loader;
}

Symbol Loader::Find(std::uint32_t id) {
  const auto known = functions.find(id);
  if (known != functions.end()) return known->second;
  const auto function = reinterpret_cast<Symbol>(query_interface(id));
  functions.emplace(id, function);
  return function;
}

NvAPI_Status Loader::CallByID(std::uint32_t id) {
  const Symbol function = Find(id);
  return function != nullptr ? reinterpret_cast<NvAPI_Status (*)()>(function)() : NVAPI_NO_IMPLEMENTATION;
}

NvAPI_Status Loader::Start() {
  if (library == nullptr) {
    library = OpenLibrary(kNvAPIFileName);
    if (library == nullptr) return NVAPI_LIBRARY_NOT_FOUND;
    query_interface = reinterpret_cast<decltype(query_interface)>(FindSymbol(library, kNvAPIQueryInterface));
  }
  // What could not be shut down again is not started.
  const bool can_stop = query_interface != nullptr && Find(kNvAPIUnload.id) != nullptr;
  const NvAPI_Status status = can_stop ? CallByID(kNvAPIInitialize.id) : NVAPI_NO_IMPLEMENTATION;
  if (status == NVAPI_OK) {
    ++users;
    keeper.Keep(kNvAPIFileName);
  } else if (users == 0) {
    Close();
  }
  return status;
}

NvAPI_Status Loader::Stop() {
  if (users == 0) return NVAPI_API_NOT_INITIALIZED;
  const NvAPI_Status status = CallByID(kNvAPIUnload.id);
  if (--users == 0) Close();
  return status;
}

void Loader::Close() {
  functions.clear();
  query_interface = nullptr;
  CloseLibrary(library);
  library = nullptr;
}

}  // namespace

NvAPI_Status NvAPI_Initialize() {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  return loader.Start();
}

NvAPI_Status NvAPI_Unload() {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  return loader.Stop();
}

NvAPICall::NvAPICall(std::uint32_t id, WhenDown when_down) : m_lock(TheLoader().mutex) {
  Loader& loader = TheLoader();
  if (loader.users == 0) {
    m_status = when_down == WhenDown::BringUp ? loader.Start() : NVAPI_API_NOT_INITIALIZED;
    if (m_status != NVAPI_OK) return;
  }
  m_function = loader.Find(id);
  if (m_function == nullptr) m_status = NVAPI_NO_IMPLEMENTATION;
}

}  // namespace Vexil
