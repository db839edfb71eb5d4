// ostrel-pci diff: what has changed between two hosts, or two moments of one.
//
// Thread rule: reads files and standard input; one thread at a time.

#ifndef TOOL_INVENTORY_DIFF_H_
#define TOOL_INVENTORY_DIFF_H_

#include <ostream>
#include <string>
#include <vector>

namespace tool {

// As diff(1) has them.
inline constexpr int kExitEqual = 0;
inline constexpr int kExitDifferent = 1;
inline constexpr int kExitTrouble = 2;

struct DiffOptions {
  std::vector<std::string> sources;  // the old one and the new one
  std::vector<std::string> ignored;  // names of values
};

// Shows the differences, one to a line. Gives the exit status. Throws CommandError with status
// kExitTrouble.
int RunDiff(const DiffOptions& options, bool as_json, std::ostream& out);

}  // namespace tool

#endif  // TOOL_INVENTORY_DIFF_H_
