#include "Vexil/Common/Patterns.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <system_error>

namespace Vexil {
namespace {

constexpr std::string_view kLineEnds = "\n\r";
constexpr std::string_view kSpaces = " \t\n\v\f\r";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kLettersAndDigits = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// Reads a text from left to right; a failed step leaves the position where it was.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : m_rest(text) {}

  bool Literal(std::string_view literal) {
    if (m_rest.substr(0, literal.size()) != literal) return false;
    m_rest.remove_prefix(literal.size());
    return true;
  }

  /// One character or more out of `characters`, as many as there are.
  std::optional<std::string_view> Run(std::string_view characters) {
    const std::size_t length = std::min(m_rest.find_first_not_of(characters), m_rest.size());
    if (length == 0) return std::nullopt;
    const std::string_view run = m_rest.substr(0, length);
    m_rest.remove_prefix(length);
    return run;
  }

  std::string_view Rest() const { return m_rest; }

 private:
  std::string_view m_rest;
};

std::string_view FindBraced(std::string_view text) {
  for (std::size_t open = text.find('{'); open != std::string_view::npos; open = text.find('{', open + 1)) {
    const std::string_view line = text.substr(open, text.find_first_of(kLineEnds, open) - open);
    const std::size_t close = line.rfind('}');
    if (close != std::string_view::npos) return line.substr(0, close + 1);
  }
  return {};
}

std::optional<std::vector<std::string_view>> VersionAt(std::string_view text, std::size_t numbers,
                                                       std::string_view prefix) {
  Scanner scanner(text);
  if (!scanner.Literal(prefix)) return std::nullopt;
  std::vector<std::string_view> digits;
  while (digits.size() < numbers) {
    if (!digits.empty() && !scanner.Literal(".")) return std::nullopt;
    const auto run = scanner.Run(kDigits);
    if (!run) return std::nullopt;
    digits.push_back(*run);
  }
  return digits;
}

std::string_view PCIHardwareIDAt(std::string_view text) {
  Scanner scanner(text);
  for (const std::string_view field : {"PCI\\VEN_", "&DEV_", "&SUBSYS_", "&REV_"}) {
    if (!scanner.Literal(field) || !scanner.Run(kLettersAndDigits)) return {};
  }
  return text.substr(0, text.size() - scanner.Rest().size());
}

std::size_t CoreCountLengthAt(std::string_view text) {
  Scanner scanner(text);
  const bool blank = !text.empty() && kSpaces.find(text.front()) != std::string_view::npos;
  if (!blank || !scanner.Literal(text.substr(0, 1)) || !scanner.Run(kDigits) || !scanner.Literal("-Core")) return 0;
  return text.size() - scanner.Rest().size();
}

int ToInt(std::string_view digits) {
  int number = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc()) {
    throw std::out_of_range("stoi argument out of range");
  }
  return number;
}

}  // namespace

std::string BracedText(std::string_view text) { return std::string(FindBraced(text)); }

std::string TextInBraces(std::string_view text) {
  const std::string_view braced = FindBraced(text);
  return braced.empty() ? std::string() : std::string(braced.substr(1, braced.size() - 2));
}

std::optional<std::vector<int>> FindVersion(std::string_view text, std::size_t numbers, std::string_view prefix) {
  const auto is_digit = [](char c) { return kDigits.find(c) != std::string_view::npos; };
  for (std::size_t start = 0; start < text.size(); ++start) {
    // Where the start of a digit run does not match, its middle does not either.
    if (prefix.empty() && start > 0 && is_digit(text[start - 1])) continue;
    const auto digits = VersionAt(text.substr(start), numbers, prefix);
    if (!digits) continue;
    std::vector<int> version;
    for (const std::string_view number : *digits) version.push_back(ToInt(number));
    return version;
  }
  return std::nullopt;
}

std::string FindPCIHardwareID(std::string_view text) {
  constexpr std::string_view kStart = "PCI\\VEN_";
  for (std::size_t start = text.find(kStart); start != std::string_view::npos; start = text.find(kStart, start + 1)) {
    const std::string_view id = PCIHardwareIDAt(text.substr(start));
    if (!id.empty()) return std::string(id);
  }
  return {};
}

std::string RemoveCoreCount(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = CoreCountLengthAt(text);
    if (length == 0) result += text.front();
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

std::string CurrentControlSetPath(std::string_view key) {
  const std::size_t start = key.find("System\\CurrentControlSet\\");
  if (start == std::string_view::npos) return {};
  return std::string(key.substr(start, key.find_first_of(kLineEnds, start) - start));
}

std::string CurrentControlSetParentPath(std::string_view key) {
  constexpr std::string_view kRoot = "System\\CurrentControlSet\\";
  for (std::size_t start = key.find(kRoot); start != std::string_view::npos; start = key.find(kRoot, start + 1)) {
    std::string_view path = key.substr(start, key.find_first_of(kLineEnds, start) - start);
    for (std::size_t slash = path.rfind('\\'); slash != std::string_view::npos && slash >= kRoot.size();
         slash = path.rfind('\\', slash - 1)) {
      if (Scanner(path.substr(slash + 1)).Run(kDigits)) return std::string(path.substr(0, slash));
    }
  }
  return {};
}

}  // namespace Vexil
