// ostrel-pci list: one line per PCI function.
//
// Thread rule: reads the environment; one thread at a time.

#ifndef TOOL_INVENTORY_LIST_H_
#define TOOL_INVENTORY_LIST_H_

#include <ostream>
#include <string>
#include <vector>

#include "tool/inventory/selection.h"

namespace tool {

struct ListOptions {
  std::vector<std::string> output;  // names of columns, and "json"
  bool headings = true;
};

// Lists the selected functions of the host that SelectHost chose. Gives the exit status. Throws
// CommandError.
int RunList(const ListOptions& options, const SelectionOptions& selected, std::ostream& out);

// The columns as help lists them, one to a line.
std::string ColumnsHelp();

}  // namespace tool

#endif  // TOOL_INVENTORY_LIST_H_
