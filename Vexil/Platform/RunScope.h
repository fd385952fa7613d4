#pragma once

#include <memory>
#include <typeindex>
#include <utility>
#include <vector>

namespace Vexil {

/// Keeps vendor libraries, and what else is expensive to start, from their first use to the end of a run, so that a run
/// starts each driver once. It is the run's of the thread that makes it.
class RunScope {
 public:
  RunScope();
  ~RunScope();
  RunScope(const RunScope&) = delete;
  RunScope& operator=(const RunScope&) = delete;

  /// The run's object of this type, made at its first use; without a run a new one, which is the caller's alone.
  template <typename Object>
  static std::shared_ptr<Object> Get() {
    RunScope* const run = Current();
    return run != nullptr ? run->Find<Object>() : std::make_shared<Object>();
  }

  /// Makes the run's object of this type, unless there is one or no run.
  template <typename Object>
  static void Keep() {
    if (RunScope* const run = Current()) run->Find<Object>();
  }

 private:
  static RunScope*& Current();

  template <typename Object>
  std::shared_ptr<Object> Find() {
    const std::type_index type = typeid(Object);
    for (const auto& [kept_type, object] : m_kept) {
      if (kept_type == type) return std::static_pointer_cast<Object>(object);
    }
    auto object = std::make_shared<Object>();
    m_kept.emplace_back(type, object);
    return object;
  }

  RunScope* m_outer;
  std::vector<std::pair<std::type_index, std::shared_ptr<void>>> m_kept;
};

}  // namespace Vexil
