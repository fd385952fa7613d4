#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Vexil/Common/Account.h"
#include "Vexil/Common/Progress.h"
#include "Vexil/Platform/OpenLibrary.h"

namespace Vexil {

enum class Need { Required, Optional };

/// A vendor's library, found at run time, with its entry points as members, one line each:
///
///     class CUDADriverAPI : public VendorLibrary {
///       Entry<int(unsigned flags)> cuInit{*this, "cuInit"};
///
/// Entry points are resolved in the order in which they are declared. The library is closed when the
/// object goes. The object keeps the account of what happened to it.
class VendorLibrary {
 public:
  VendorLibrary(const VendorLibrary&) = delete;
  VendorLibrary& operator=(const VendorLibrary&) = delete;

  /// Calls an entry point that fills `fields`, and notes where it fails. True when it succeeds.
  template <typename EntryPoint, typename... Arguments>
  bool Tells(const char* fields, const EntryPoint& entry_point, Arguments... arguments) {
    m_last_status = entry_point(arguments...);
    if (IsSuccess(m_last_status)) return true;
    m_account.Miss(fields, entry_point.Name(), m_last_status, m_status_names);
    return false;
  }

  /// The same for a call that lists the devices, without which there is nothing to tell.
  template <typename EntryPoint, typename... Arguments>
  bool Lists(const EntryPoint& entry_point, Arguments... arguments) {
    return Succeeds(SourceState::CallFailed, entry_point, arguments...);
  }

  /// What the last of these calls returned.
  int LastStatus() const { return m_last_status; }

  Account& TheAccount() { return m_account; }
  /// The account so far. What follows goes into a new one, in which the library lacks the same entry points.
  Account TakeAccount();

 protected:
  class EntryPoint {
   public:
    explicit operator bool() const { return m_symbol != nullptr; }
    const char* Name() const { return m_name; }
    void Clear() { m_symbol = nullptr; }

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
      NoteCall(Name());
      return reinterpret_cast<Result (*)(Arguments...)>(m_symbol)(arguments...);
    }
  };

  /// `highest_success`: statuses from 0 to this are success.
  explicit VendorLibrary(const char* file_name, std::span<const StatusName> status_names = {},
                         unsigned highest_success = 0)
      : m_file_name(file_name), m_status_names(status_names), m_highest_success(highest_success) {}
  ~VendorLibrary() { Close(); }

  /// True when the library is there, or was open already.
  bool Open();
  bool IsOpen() const { return m_module != nullptr; }
  void Close();

  /// Returns the name of the first required entry point that is missing, null when none is. Those behind it stay
  /// unresolved.
  const char* Resolve();

  /// Calls the entry point that starts the library.
  template <typename EntryPoint, typename... Arguments>
  bool Starts(const EntryPoint& entry_point, Arguments... arguments) {
    return Succeeds(SourceState::StartFailed, entry_point, arguments...);
  }

 private:
  template <typename EntryPoint, typename... Arguments>
  bool Succeeds(SourceState otherwise, const EntryPoint& entry_point, Arguments... arguments) {
    m_last_status = entry_point(arguments...);
    if (IsSuccess(m_last_status)) return true;
    m_account.End(otherwise, entry_point.Name(), m_last_status, m_status_names);
    return false;
  }
  bool IsSuccess(int status) const { return static_cast<unsigned>(status) <= m_highest_success; }

  const char* m_file_name;
  std::span<const StatusName> m_status_names;
  unsigned m_highest_success;
  void* m_module = nullptr;
  std::vector<EntryPoint*> m_entry_points;
  int m_last_status = 0;
  Account m_account;
};

}  // namespace Vexil
