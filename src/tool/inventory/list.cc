#include "tool/inventory/list.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "cim/text.h"
#include "tool/errors.h"
#include "tool/host_source.h"
#include "tool/inventory/column.h"
#include "tool/inventory/host_reading.h"
#include "tool/output.h"
#include "tool/table.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using Places = std::vector<std::uint32_t>;  // in Host::functions()
using ColumnList = std::vector<const FunctionColumn*>;

bool IsJson(const std::string& word) { return cim::EqualIgnoringCase(word, "json"); }

ColumnList JsonColumns() {
  ColumnList columns;
  for (const FunctionColumn& column : AllColumns()) columns.push_back(&column);
  return columns;
}

void WriteJson(const DescribedHost& described, const Places& places, const ColumnList& columns,
               std::ostream& out) {
  JsonText json(out);
  json.BeginObject();
  json.Name("system");
  json.Text(SystemName());
  json.Name("functions");
  json.BeginArray();
  for (const std::uint32_t place : places) {
    json.BeginObject();
    for (const FunctionColumn* column : columns) {
      json.Name(Lower(column->name));
      WriteCell(column->value(described, place), json);
    }
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  out << '\n';
}

// In a narrow place the vendor's name gives way first.
Cell CellOf(const DescribedHost& described, const FunctionColumn& column, std::uint32_t place) {
  std::string text = CellText(column.value(described, place));
  if (column.name != "NAME") return text;
  return {std::move(text),
          PrintableUtf8(described.host.DeviceName(described.host.functions()[place]))};
}

Table TableOf(const DescribedHost& described, const Places& places, const ColumnList& columns) {
  Table table;
  for (const FunctionColumn* column : columns) {
    table.titles.emplace_back(column->name);
    table.cuttable.push_back(!column->identifies);
  }
  for (const std::uint32_t place : places) {
    std::vector<Cell>& row = table.rows.emplace_back();
    for (const FunctionColumn* column : columns) row.push_back(CellOf(described, *column, place));
  }
  return table;
}

}  // namespace

int RunList(const ListOptions& options, const SelectionOptions& selected, std::ostream& out) {
  std::vector<std::string> names = options.output;
  const bool as_json = std::erase_if(names, IsJson) > 0;
  const ColumnList columns = as_json && names.empty() ? JsonColumns() : ChooseColumns(names);
  const Selection selection(selected);
  pci::Host::Wanted wanted = WantedFor(columns);
  selection.AddWanted(wanted);
  const HostReading reading = ReadHost(wanted);
  const DescribedHost described(reading.host);
  const Places places = selection.Of(reading.host);
  if (as_json) {
    WriteJson(described, places, columns, out);
  } else {
    Table table = TableOf(described, places, columns);
    if (names.empty()) DropEmptyColumns(table);
    table.headings = options.headings;
    PrintTable(table, TerminalWidth(STDOUT_FILENO), Ellipsis(), out);
  }
  return reading.incomplete ? kExitFailed : kExitOk;
}

std::string ColumnsHelp() {
  std::string help = "Columns (those with * are shown where -o does not choose):\n";
  for (const FunctionColumn& column : AllColumns()) {
    help +=
        fmt::format("  {:<10}{} {}\n", column.name, column.usual ? '*' : ' ', column.description);
  }
  return help;
}

}  // namespace tool
