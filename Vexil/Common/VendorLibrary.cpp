#include "Common/VendorLibrary.h"

namespace Vexil {

bool VendorLibrary::Open(const char* file_name) {
  if (m_module == nullptr) m_module = OpenLibrary(file_name);
  return m_module != nullptr;
}

void VendorLibrary::Close() {
  if (m_module != nullptr) CloseLibrary(m_module);
  m_module = nullptr;
}

void VendorLibrary::Resolve(EntryPoint& entry_point) const {
  entry_point.m_symbol = FindSymbol(m_module, entry_point.m_name);
}

const char* VendorLibrary::ResolveUntilMissing() {
  for (EntryPoint* entry_point : m_entry_points) {
    Resolve(*entry_point);
    if (!*entry_point && entry_point->m_need == Need::Required) return entry_point->m_name;
  }
  return nullptr;
}

const char* VendorLibrary::ResolveAll() {
  const char* first_missing = nullptr;
  for (EntryPoint* entry_point : m_entry_points) {
    Resolve(*entry_point);
    const bool is_missed = !*entry_point && entry_point->m_need == Need::Required;
    if (is_missed && first_missing == nullptr) first_missing = entry_point->m_name;
  }
  return first_missing;
}

LibraryInspection VendorLibrary::Inspect(const char* file_name) {
  LibraryInspection inspection;
  inspection.is_installed = Open(file_name);
  if (!inspection.is_installed) return inspection;
  for (EntryPoint* entry_point : m_entry_points) {
    Resolve(*entry_point);
    if (*entry_point) continue;
    auto& missing = entry_point->m_need == Need::Required ? inspection.missing_required : inspection.missing_optional;
    missing.emplace_back(entry_point->m_name);
  }
  for (EntryPoint* entry_point : m_entry_points) entry_point->Forget();
  Close();
  return inspection;
}

}  // namespace Vexil
