#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Vexil::Program {

/// Rows of text in columns as wide as their widest text.
class TextTable {
 public:
  void Add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
  /// Every line begins with `indent`.
  void Print(std::ostream& out, const std::string& indent = "") const;

 private:
  std::vector<std::vector<std::string>> m_rows;
};

/// "1 GPU", "2 GPUs"
std::string Counted(std::size_t count, const std::string& noun);

}  // namespace Vexil::Program
