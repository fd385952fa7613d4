#pragma once

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "LoadMachine.h"

namespace Vexil::Simulation {

using Json = nlohmann::json;

/// One value of a file, and the way to it for messages.
struct Place {
  const Json& json;
  std::string path;

  [[noreturn]] void Fail(const std::string& what) const { throw MachineError(path + ": " + what); }
};

/// Reads values, lists and optional values. `Self` derives from this and adds Read functions for its own
/// types, which the lists find.
template <typename Self>
struct JsonReader {
  /// As drivers give texts: one byte per character, whatever the code page in which they mean it.
  static void Read(const Place& from, std::string& to) {
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

  static void Read(const Place& from, bool& to) {
    if (!from.json.is_boolean()) from.Fail("expected true or false");
    to = from.json.get<bool>();
  }

  /// Numbers, or hexadecimal ones as texts. -1 may stand for all bits set.
  template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
  static void Read(const Place& from, Number& to) {
    const auto take = [&](auto number) {
      if (!std::in_range<Number>(number)) from.Fail("there is no room for such a number");
      to = static_cast<Number>(number);
    };
    if (from.json.is_string()) {
      to = static_cast<Number>(Bits<std::make_unsigned_t<Number>>(from));
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
  static void Read(const Place& from, std::optional<Value>& to) {
    Self::Read(from, to.emplace());
  }

  template <typename Element>
  static void Read(const Place& from, std::vector<Element>& to) {
    if (!from.json.is_array()) from.Fail("expected a list");
    for (std::size_t i = 0; i < from.json.size(); ++i) {
      Self::Read(Place{from.json[i], fmt::format("{}[{}]", from.path, i)}, to.emplace_back());
    }
  }

  static void Read(const Place& from, std::set<std::string>& to) {
    std::vector<std::string> elements;
    Read(from, elements);
    to.insert(elements.begin(), elements.end());
  }

  /// An object's members, given as key, where to, key, where to... Members that nobody reads are misspelt.
  template <typename... KeysAndValues>
  static void ReadMembers(const Place& from, KeysAndValues&&... keys_and_values) {
    if (!from.json.is_object()) from.Fail("expected an object");
    std::set<std::string> known;
    ReadNext(from, known, keys_and_values...);
    for (const auto& [key, value] : from.json.items()) {
      if (!known.contains(key)) from.Fail("nobody knows \"" + key + "\" here");
    }
  }

 private:
  static constexpr const char* kNotANumber = "expected a whole number, or a text such as \"0x10de\"";

  template <typename Unsigned>
  static Unsigned Bits(const Place& from) {
    const auto& text = from.json.get_ref<const std::string&>();
    Unsigned bits = 0;
    if (text.rfind("0x", 0) != 0) from.Fail(kNotANumber);
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), bits, 16);
    if (error != std::errc() || end != text.data() + text.size()) from.Fail(kNotANumber);
    return bits;
  }

  static void ReadNext(const Place& /*from*/, std::set<std::string>& /*known*/) {}

  template <typename Value, typename... Rest>
  static void ReadNext(const Place& from, std::set<std::string>& known, const char* key, Value& to, Rest&... rest) {
    known.insert(key);
    const auto member = from.json.find(key);
    if (member != from.json.end()) Self::Read(Place{*member, from.path + "." + key}, to);
    ReadNext(from, known, rest...);
  }
};

}  // namespace Vexil::Simulation
