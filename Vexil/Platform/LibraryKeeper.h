#pragma once

#include <atomic>

#include "Vexil/Platform/OpenLibrary.h"

namespace Vexil {

/// Keeps the code of one library for the life of the process, because hosts are given handles that point
/// into it. To be asked while the library is open.
class LibraryKeeper {
 public:
  void Keep(const char* file_name) {
    std::uint32_t error = 0;
    // Two threads at once may both keep it, which does no harm.
    if (!m_is_kept) m_is_kept = OpenLibrary(file_name, error) != nullptr;
  }

 private:
  std::atomic<bool> m_is_kept = false;
};

}  // namespace Vexil
