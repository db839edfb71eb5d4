// ostrel-pci record: a host as a text that lspci -F and our --dump read.
//
// Thread rule: reads the environment; one thread at a time.

#ifndef TOOL_INVENTORY_RECORD_H_
#define TOOL_INVENTORY_RECORD_H_

#include <ostream>

namespace tool {

// Writes the host that SelectHost chose. Gives the exit status. Throws CommandError.
int RunRecord(std::ostream& out);

}  // namespace tool

#endif  // TOOL_INVENTORY_RECORD_H_
