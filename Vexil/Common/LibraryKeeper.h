#pragma once

#include <atomic>

#include "Common/OpenLibrary.h"

namespace Vexil {

/// Keeps the code of one library for the life of the process, because hosts are given handles that point
/// into it. To be asked while the library is open.
class LibraryKeeper {
 public:
  void Keep(const char* file_name) {
    // Two threads at once may both keep it, which does no harm.
    if (!m_is_kept) m_is_kept = OpenLibrary(file_name) != nullptr;
  }

 private:
  std::atomic<bool> m_is_kept = false;
};

}  // namespace Vexil
