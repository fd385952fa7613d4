#pragma once

namespace Vexil::Tests {

/// The place in this program's import table that calls of a Windows function go through. Throws where
/// the program does not call it.
void** FindImport(const char* function_name);
void SetImport(void** import, void* function);

/// The function itself, whatever the import table says.
void* FindExport(const char* dll, const char* function_name);
template <typename Function>
Function* RealFunction(const char* dll, const char* function_name) {
  return reinterpret_cast<Function*>(FindExport(dll, function_name));
}

/// Sends this program's calls of one Windows function to another function, as long as this lives.
template <typename Function>
class ImportPatch {
 public:
  ImportPatch(const char* function_name, Function* fake) : m_import(FindImport(function_name)), m_original(*m_import) {
    SetImport(m_import, reinterpret_cast<void*>(fake));
  }
  ~ImportPatch() { SetImport(m_import, m_original); }
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;

 private:
  void** m_import;
  void* m_original;
};

}  // namespace Vexil::Tests
