// ostrel-pci serve
//
// Thread rule: the main thread, before the process has any other.

#ifndef TOOL_SERVE_COMMAND_H_
#define TOOL_SERVE_COMMAND_H_

#include <ostream>

#include "tool/command_line.h"

namespace tool {

// Serves the selected host until the process is told to end. Throws CommandError and UsageError.
void RunServe(const Arguments& arguments, std::ostream& out);

}  // namespace tool

#endif  // TOOL_SERVE_COMMAND_H_
