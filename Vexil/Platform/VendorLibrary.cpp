#include "Vexil/Platform/VendorLibrary.h"

namespace Vexil {

bool VendorLibrary::Open() {
  std::uint32_t error = 0;
  if (m_module == nullptr) NoteCall(m_file_name);
  if (m_module == nullptr) m_module = OpenLibrary(m_file_name, error);
  if (m_module == nullptr)
    m_account.End(SourceState::LibraryMissing, std::string("LoadLibraryA ") + m_file_name, error);
  return m_module != nullptr;
}

Account VendorLibrary::TakeAccount() {
  Account taken = std::exchange(m_account, {});
  if (IsOpen()) m_account.missing_optional = taken.missing_optional;
  return taken;
}

void VendorLibrary::Close() {
  if (m_module != nullptr) CloseLibrary(m_module);
  m_module = nullptr;
}

const char* VendorLibrary::Resolve() {
  const char* first_missing = nullptr;
  for (EntryPoint* entry_point : m_entry_points) {
    // Behind the first missing one they are looked for so that the account names all that are missing.
    const Symbol symbol = FindSymbol(m_module, entry_point->m_name);
    const bool is_required = entry_point->m_need == Need::Required;
    if (symbol == nullptr) m_account.MissEntryPoint(entry_point->m_name, is_required);
    if (symbol == nullptr && is_required && first_missing == nullptr) first_missing = entry_point->m_name;
    entry_point->m_symbol = first_missing == nullptr ? symbol : nullptr;
  }
  return first_missing;
}

}  // namespace Vexil
