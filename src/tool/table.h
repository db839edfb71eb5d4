// Columns of text that fit a terminal.
//
// Thread rule: pure functions.

#ifndef TOOL_TABLE_H_
#define TOOL_TABLE_H_

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

// One line of valid UTF-8.
struct Cell {
  Cell(std::string whole) : text(std::move(whole)) {}
  Cell(const char* whole) : text(whole) {}
  Cell(std::string whole, std::string when_narrow)
      : text(std::move(whole)), shorter(std::move(when_narrow)) {}

  std::string text;
  std::string shorter;  // takes its place before anything is cut; empty: nothing does
};

struct Table {
  std::vector<std::string> titles;
  std::vector<std::vector<Cell>> rows;  // every row has as many cells as there are titles
  std::vector<bool> cuttable = {};  // by column, those that identify nothing; empty: none is cut
  bool headings = true;
};

// The columns' widths: as wide as their widest cells where that fits, with two blanks between
// columns; else the widest of those that may be cut are narrowed, evenly, to no less than eight. 0
// as `width` is no limit.
std::vector<std::size_t> ColumnWidths(const Table& table, std::size_t width);

// A line of titles, then the rows. No line ends in blanks. Lines of columns that cannot be narrowed
// enough are wider than `width` (0: no limit): a terminal wraps them.
void PrintTable(const Table& table, std::size_t width, std::string_view ellipsis,
                std::ostream& out);

// Takes out the columns in which no row has anything.
void DropEmptyColumns(Table& table);

}  // namespace tool

#endif  // TOOL_TABLE_H_
