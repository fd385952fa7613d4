#pragma once

#include <algorithm>
#include <utility>
#include <vector>

namespace Vexil {

/// A small map that iterates in the order in which its keys were first met, on every standard library.
/// A machine has a handful of GPUs, so looking through them in a row is as fast as hashing.
template <typename Key, typename Value>
class InsertionOrderedMap {
 public:
  Value* Find(const Key& key) {
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [&](const auto& e) { return e.first == key; });
    return entry == m_entries.end() ? nullptr : &entry->second;
  }

  /// The key's value, default-constructed when the key is new.
  Value& operator[](const Key& key) {
    Value* value = Find(key);
    return value != nullptr ? *value : m_entries.emplace_back(key, Value()).second;
  }

  auto begin() { return m_entries.begin(); }
  auto end() { return m_entries.end(); }
  std::size_t size() const { return m_entries.size(); }
  void clear() { m_entries.clear(); }

 private:
  std::vector<std::pair<Key, Value>> m_entries;
};

}  // namespace Vexil
