#pragma once

#include <atomic>

namespace Vexil {

/// Is told what is about to be asked, so that a crash or a long wait has a name. The texts live as long as the process.
struct ProgressWatcher {
  void (*source)(const char* name);  ///< Null: none any more.
  /// A driver's function, or the file name of a library that is about to be loaded.
  void (*call)(const char* name);
};

/// The process's only one; null, where nobody watches, in hosts.
inline std::atomic<const ProgressWatcher*> progress_watcher = nullptr;

inline void NoteSource(const char* name) {
  if (const ProgressWatcher* watcher = progress_watcher.load(std::memory_order_acquire)) watcher->source(name);
}

inline void NoteCall(const char* name) {
  if (const ProgressWatcher* watcher = progress_watcher.load(std::memory_order_acquire)) watcher->call(name);
}

}  // namespace Vexil
