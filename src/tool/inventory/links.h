// ostrel-pci links: at what every PCI Express link runs, and what both of its ends can.
//
// Thread rule: reads the environment; one thread at a time.

#ifndef TOOL_INVENTORY_LINKS_H_
#define TOOL_INVENTORY_LINKS_H_

#include <ostream>

#include "tool/inventory/selection.h"

namespace tool {

inline constexpr int kExitDegraded = 3;

struct LinksOptions {
  bool degraded = false;  // those alone
};

// Lists the links of the host that SelectHost chose that a selected function is an end of. Gives
// the exit status: kExitDegraded where one of them is degraded. Throws CommandError.
int RunLinks(const LinksOptions& options, const SelectionOptions& selected, bool as_json,
             std::ostream& out);

}  // namespace tool

#endif  // TOOL_INVENTORY_LINKS_H_
