#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Vexil::Cli {

/// Rows of text in columns as wide as their widest text.
class TextTable {
 public:
  void Add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
  /// Every line begins with `indent`.
  void Print(std::ostream& out, const std::string& indent = "") const;
  const std::vector<std::vector<std::string>>& Rows() const { return m_rows; }

 private:
  std::vector<std::vector<std::string>> m_rows;
};

}  // namespace Vexil::Cli
