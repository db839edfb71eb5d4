// Columns of text that fit a terminal.
//
// Thread rule: pure functions.

#ifndef TOOL_TABLE_H_
#define TOOL_TABLE_H_

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct Table {
  std::vector<std::string> titles;
  // Every row has as many cells as there are titles. Cells are one line of valid UTF-8.
  std::vector<std::vector<std::string>> rows;
};

// The columns' widths: as wide as their widest cells where that fits, with two blanks between
// columns; else the widest are narrowed, evenly, to no less than eight. 0 as `width` is no limit.
std::vector<std::size_t> ColumnWidths(const Table& table, std::size_t width);

// A line of titles, then the rows. No line is wider than `width` (0: no limit) nor ends in blanks.
void PrintTable(const Table& table, std::size_t width, std::string_view ellipsis,
                std::ostream& out);

}  // namespace tool

#endif  // TOOL_TABLE_H_
