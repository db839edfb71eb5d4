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

std::string Fitted(const Cell& cell, std::size_t width, std::string_view ellipsis) {
  const bool use_shorter = Width(cell.text) > width && !cell.shorter.empty();
  return Cut(use_shorter ? cell.shorter : cell.text, width, ellipsis);
}

void PrintRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& columns,
              std::string_view ellipsis, std::ostream& out) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string cell = Fitted(cells[i], columns[i], ellipsis);
    line += cell;
    line.append(columns[i] - Width(cell) + kGap, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << line << '\n';
}

// The widest column that may be narrowed; the end where there is none.
std::size_t WidestCuttable(const Table& table, const std::vector<std::size_t>& columns) {
  std::size_t widest = columns.size();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (table.cuttable.empty() || !table.cuttable[i] || columns[i] <= kNarrowest) continue;
    if (widest == columns.size() || columns[i] > columns[widest]) widest = i;
  }
  return widest;
}

template <class Items>
void EraseAt(Items& items, std::size_t place) {
  if (!items.empty()) items.erase(items.begin() + static_cast<std::ptrdiff_t>(place));
}

}  // namespace

std::vector<std::size_t> ColumnWidths(const Table& table, std::size_t width) {
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < table.titles.size(); ++i) {
    std::size_t widest = table.headings ? Width(table.titles[i]) : 0;
    for (const auto& row : table.rows) widest = std::max(widest, Width(row[i].text));
    columns.push_back(widest);
  }
  if (width == 0) return columns;
  for (std::size_t excess = LineWidth(columns); excess > width; --excess) {
    const std::size_t widest = WidestCuttable(table, columns);
    if (widest == columns.size()) break;
    --columns[widest];
  }
  return columns;
}

void PrintTable(const Table& table, std::size_t width, std::string_view ellipsis,
                std::ostream& out) {
  const std::vector<std::size_t> columns = ColumnWidths(table, width);
  if (table.headings) {
    PrintRow({table.titles.begin(), table.titles.end()}, columns, ellipsis, out);
  }
  for (const auto& row : table.rows) PrintRow(row, columns, ellipsis, out);
}

void DropEmptyColumns(Table& table) {
  for (std::size_t i = table.titles.size(); i-- > 0;) {
    const auto is_empty = [&](const auto& row) { return row[i].text.empty(); };
    if (!std::all_of(table.rows.begin(), table.rows.end(), is_empty)) continue;
    EraseAt(table.titles, i);
    EraseAt(table.cuttable, i);
    for (auto& row : table.rows) EraseAt(row, i);
  }
}

}  // namespace tool
