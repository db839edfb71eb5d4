// ostrel-pci path: the way from a function to the root or to another one, and that of all pairs.
//
// Thread rule: reads the environment; one thread at a time.

#ifndef TOOL_INVENTORY_PATH_H_
#define TOOL_INVENTORY_PATH_H_

#include <ostream>
#include <string>
#include <vector>

#include "tool/inventory/selection.h"

namespace tool {

struct PathOptions {
  std::vector<std::string> ends;  // one address or two
  bool matrix = false;            // of the selected functions instead
};

// Shows it for the host that SelectHost chose. Gives the exit status. Throws CommandError.
int RunPath(const PathOptions& options, const SelectionOptions& selected, bool as_json,
            std::ostream& out);

}  // namespace tool

#endif  // TOOL_INVENTORY_PATH_H_
