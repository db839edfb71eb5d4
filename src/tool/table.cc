#include "tool/table.h"

#include <algorithm>
#include <numeric>

#include "tool/utf8_text.h"

namespace tool {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 8;

std::size_t LineWidth(const std::vector<std::size_t>& columns) {
  const std::size_t gaps = columns.empty() ? 0 : (columns.size() - 1) * kGap;
  return std::accumulate(columns.begin(), columns.end(), gaps);
}

void PrintRow(const std::vector<std::string>& cells, const std::vector<std::size_t>& columns,
              std::size_t width, std::string_view ellipsis, std::ostream& out) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string cell = Cut(cells[i], columns[i], ellipsis);
    line += cell;
    line.append(columns[i] - Width(cell) + kGap, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << (width == 0 ? line : Cut(line, width, ellipsis)) << '\n';
}

}  // namespace

std::vector<std::size_t> ColumnWidths(const Table& table, std::size_t width) {
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < table.titles.size(); ++i) {
    std::size_t widest = Width(table.titles[i]);
    for (const auto& row : table.rows) widest = std::max(widest, Width(row[i]));
    columns.push_back(widest);
  }
  if (width == 0 || columns.empty()) return columns;
  for (std::size_t excess = LineWidth(columns); excess > width; --excess) {
    const auto widest = std::max_element(columns.begin(), columns.end());
    if (*widest <= kNarrowest) break;
    --*widest;
  }
  return columns;
}

void PrintTable(const Table& table, std::size_t width, std::string_view ellipsis,
                std::ostream& out) {
  const std::vector<std::size_t> columns = ColumnWidths(table, width);
  PrintRow(table.titles, columns, width, ellipsis, out);
  for (const auto& row : table.rows) PrintRow(row, columns, width, ellipsis, out);
}

}  // namespace tool
