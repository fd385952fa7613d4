#include "Vexil/Platform/RunScope.h"

namespace Vexil {

RunScope::RunScope() : m_outer(std::exchange(Current(), this)) {}

RunScope::~RunScope() {
  Current() = m_outer;
  while (!m_kept.empty()) m_kept.pop_back();
}

RunScope*& RunScope::Current() {
  thread_local RunScope* current = nullptr;
  return current;
}

}  // namespace Vexil
