#include "cli/picture/Page.h"

#include <fmt/format.h>

#include "cli/picture/Escape.h"

namespace Vexil::Cli {
namespace {

constexpr const char* kStyleSheet = R"(
:root{color-scheme:light dark}
body{margin:0 auto;max-width:1200px;padding:0 16px 32px;background:#fff;color:#1c2128;
font:15px/1.5 'Segoe UI',system-ui,-apple-system,Roboto,'Helvetica Neue',Arial,sans-serif}
svg{display:block;width:100%;height:auto}
h2{margin:28px 0 8px;font-size:18px}
section{padding:0 calc(100%/30)}
div{overflow-x:auto}
table{margin-bottom:20px;border-collapse:collapse;font:13px/1.4 'Cascadia Mono',Consolas,Menlo,'DejaVu Sans Mono',monospace}
th,td{padding:5px 20px 5px 0;border-bottom:1px solid #d5dbe2;text-align:left;white-space:nowrap}
th{color:#57606a;font-weight:normal}
pre{margin:0;white-space:pre-wrap;overflow-wrap:anywhere;
font:13px/1.5 'Cascadia Mono',Consolas,Menlo,'DejaVu Sans Mono',monospace}
footer{padding:24px calc(100%/30) 0;color:#57606a;text-align:right}
@media (prefers-color-scheme:dark){body{background:#0d1117;color:#e6edf3}th,footer{color:#9aa4af}
th,td{border-color:#30363d}}
)";

std::string ComposeTable(const TextTable& table) {
  std::string text = "<div><table>\n";
  const char* cell_name = "th";
  for (const auto& row : table.Rows()) {
    text += "<tr>";
    for (const std::string& cell : row) text += fmt::format("<{0}>{1}</{0}>", cell_name, Escaped(cell));
    text += "</tr>\n";
    cell_name = "td";
  }
  return text + "</table></div>\n";
}

std::string ComposeSection(const Section& section) {
  std::string text = fmt::format("<section>\n<h2>{}</h2>\n", Escaped(section.title));
  for (const TextTable& table : section.tables) text += ComposeTable(table);
  if (!section.lines.empty()) {
    text += "<pre>";
    for (const std::string& line : section.lines) text += Escaped(line) + "\n";
    text += "</pre>\n";
  }
  return text + "</section>\n";
}

}  // namespace

std::string ComposePage(std::string_view title, std::string_view picture, const std::vector<Section>& sections,
                        std::string_view origin) {
  std::string text = fmt::format(R"(<!DOCTYPE html>
<html xmlns="http://www.w3.org/1999/xhtml" lang="en">
<head>
<meta charset="utf-8"/>
<meta name="viewport" content="width=device-width, initial-scale=1"/>
<title>{}</title>
<style>{}</style>
</head>
<body>
{})",
                                 Escaped(title), kStyleSheet, picture);
  for (const Section& section : sections) text += ComposeSection(section);
  return text + fmt::format("<footer>{}</footer>\n</body>\n</html>\n", Escaped(origin));
}

}  // namespace Vexil::Cli
