#include "cli/TextTable.h"

#include <algorithm>

#include "cli/Printing.h"
#include "text/UTF8.h"

namespace Vexil::Cli {

void TextTable::Print(std::ostream& out, const std::string& indent) const {
  std::vector<std::size_t> widths;
  for (const auto& row : m_rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  for (const auto& row : m_rows) {
    std::string line = indent;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      line.append(widths[i] - DisplayWidth(row[i]) + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    PrintLine(out, line);
  }
}

}  // namespace Vexil::Cli
