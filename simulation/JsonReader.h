#pragma once

#include <fmt/format.h>

#include <charconv>
#include <concepts>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "simulation/LoadMachine.h"

namespace Vexil::Simulation {

using Json = nlohmann::json;

/// One value of a file, and the way to it for messages.
struct JsonPath {
  const Json& json;
  std::string path;

  [[noreturn]] void Fail(const std::string& what) const { throw MachineError(path + ": " + what); }
};

// One Read for each type, or one ReadMembers for an object's. Those of other types in this namespace are found
// where lists and members need them.

/// As drivers give texts: one byte per character, whatever the code page in which they mean it.
inline void Read(const JsonPath& from, std::string& to) {
  if (!from.json.is_string()) from.Fail("expected a text");
  to.clear();
  unsigned char first = 0;
  for (const char byte : from.json.get_ref<const std::string&>()) {
    const auto part = static_cast<unsigned char>(byte);
    if (part >= 0xC4) from.Fail("expected characters up to \u00FF");
    if (part >= 0xC0) {
      first = part;
    } else {
      to += part < 0x80 ? byte : static_cast<char>((first & 0x03) << 6 | (part & 0x3F));
    }
  }
}

inline void Read(const JsonPath& from, bool& to) {
  if (!from.json.is_boolean()) from.Fail("expected true or false");
  to = from.json.get<bool>();
}

inline constexpr const char* kNotANumber = "expected a whole number, or a text such as \"0x10de\"";

template <typename Unsigned>
Unsigned ParseHex(const JsonPath& from) {
  const auto& text = from.json.get_ref<const std::string&>();
  Unsigned bits = 0;
  if (text.rfind("0x", 0) != 0) from.Fail(kNotANumber);
  const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), bits, 16);
  if (error != std::errc() || end != text.data() + text.size()) from.Fail(kNotANumber);
  return bits;
}

/// Numbers, or hexadecimal ones as texts. -1 may stand for all bits set.
template <std::integral Number>
void Read(const JsonPath& from, Number& to) {
  const auto take = [&](auto number) {
    if (!std::in_range<Number>(number)) from.Fail("number out of range");
    to = static_cast<Number>(number);
  };
  if (from.json.is_string()) {
    to = static_cast<Number>(ParseHex<std::make_unsigned_t<Number>>(from));
  } else if (from.json.is_number_unsigned()) {
    take(from.json.get<std::uint64_t>());
  } else if (!from.json.is_number_integer()) {
    from.Fail(kNotANumber);
  } else if (const auto number = from.json.get<std::int64_t>(); number == -1) {
    to = static_cast<Number>(-1);
  } else {
    take(number);
  }
}

template <typename Value>
void Read(const JsonPath& from, std::optional<Value>& to) {
  Read(from, to.emplace());
}

template <typename Element>
void Read(const JsonPath& from, std::vector<Element>& to) {
  if (!from.json.is_array()) from.Fail("expected a list");
  for (std::size_t i = 0; i < from.json.size(); ++i) {
    Read(JsonPath{from.json[i], fmt::format("{}[{}]", from.path, i)}, to.emplace_back());
  }
}

inline void Read(const JsonPath& from, std::set<std::string>& to) {
  std::vector<std::string> elements;
  Read(from, elements);
  to.insert(elements.begin(), elements.end());
}

/// Reads an object's members, each by its name. What the object lacks stays as it is.
class Members {
 public:
  explicit Members(const JsonPath& from) : m_from(from) {
    if (!from.json.is_object()) from.Fail("expected an object");
  }

  template <typename Value>
  void operator()(const std::string& name, Value&& to) {
    m_known.insert(name);
    const auto member = m_from.json.find(name);
    if (member != m_from.json.end()) Read(JsonPath{*member, m_from.path + "." + name}, to);
  }

  /// A member that was not read is an error: it is misspelt.
  void RejectOthers() const {
    for (const auto& [name, value] : m_from.json.items()) {
      if (!m_known.contains(name)) m_from.Fail("unknown member \"" + name + "\"");
    }
  }

  const JsonPath& From() const { return m_from; }

 private:
  const JsonPath& m_from;
  std::set<std::string> m_known;
};

template <typename Object>
void ReadObject(const JsonPath& from, Object& to) {
  Members members(from);
  ReadMembers(members, to);
  members.RejectOthers();
}

template <typename Object>
concept HasMembers = requires(Members& members, Object& to) {
  ReadMembers(members, to);
};

template <HasMembers Object>
void Read(const JsonPath& from, Object& to) {
  ReadObject(from, to);
}

}  // namespace Vexil::Simulation
