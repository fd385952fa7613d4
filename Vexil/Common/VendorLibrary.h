#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Common/OpenLibrary.h"

namespace Vexil {

enum class Need { Required, Optional };

/// What stands in the way of using a vendor's library.
struct LibraryInspection {
  bool is_installed = false;
  std::vector<std::string> missing_required;
  std::vector<std::string> missing_optional;
};

/// A vendor's library, found at run time, with its entry points as members, one line each:
///
///     class CUDADriverAPI : private VendorLibrary {
///       Entry<int(unsigned flags)> cuInit{*this, "cuInit"};
///
/// Entry points are resolved in the order in which they are declared. The library is closed when the
/// object goes.
class VendorLibrary {
 public:
  VendorLibrary(const VendorLibrary&) = delete;
  VendorLibrary& operator=(const VendorLibrary&) = delete;

  /// Opens a library that is not in use, looks for every entry point, and closes it. Calls nothing.
  LibraryInspection Inspect(const char* file_name);

  /// What the call that starts the library answered; nothing where it has not been made.
  std::optional<int> StartStatus() const { return m_start_status; }

 protected:
  class EntryPoint {
   public:
    explicit operator bool() const { return m_symbol != nullptr; }
    const char* Name() const { return m_name; }
    void Forget() { m_symbol = nullptr; }

   protected:
    EntryPoint(VendorLibrary& library, const char* name, Need need) : m_name(name), m_need(need) {
      library.m_entry_points.push_back(this);
    }

    Symbol m_symbol = nullptr;

   private:
    friend class VendorLibrary;
    const char* m_name;
    Need m_need;
  };

  template <typename Signature>
  class Entry;

  template <typename Result, typename... Arguments>
  class Entry<Result(Arguments...)> : public EntryPoint {
   public:
    Entry(VendorLibrary& library, const char* name, Need need = Need::Required) : EntryPoint(library, name, need) {}

    Result operator()(Arguments... arguments) const {
      return reinterpret_cast<Result (*)(Arguments...)>(m_symbol)(arguments...);
    }
  };

  VendorLibrary() = default;
  ~VendorLibrary() { Close(); }

  /// True when the library is there, or was open already.
  bool Open(const char* file_name);
  bool IsOpen() const { return m_module != nullptr; }
  void Close();
  /// Gives up the library without closing it, so that its code stays for the life of the process.
  void LeaveOpen() { m_module = nullptr; }

  // Both return the name of the first required entry point that is missing, null when none is.

  /// Leaves those behind it unresolved.
  const char* ResolveUntilMissing();
  const char* ResolveAll();

  std::optional<int> m_start_status;

 private:
  void Resolve(EntryPoint& entry_point) const;

  void* m_module = nullptr;
  std::vector<EntryPoint*> m_entry_points;
};

}  // namespace Vexil
