// Functions of a tree that are drawn as one line.
//
// Thread rule: pure functions.

#ifndef TOOL_TOPOLOGY_FOLD_H_
#define TOOL_TOPOLOGY_FOLD_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tool/topology.h"

namespace tool {

struct DrawnFunction {
  std::size_t place;      // in Topology::functions, of the first where there are several
  std::string address;    // of all: "0000:03:00.[0-7]"
  std::size_t count = 1;  // functions that are alike
  std::size_t virtual_functions = 0;  // of this one, that are not drawn themselves
};

// What is drawn for the siblings at these places: each by itself, or folded: leaves that follow
// each other and differ in their function or device number alone as one, virtual functions with
// their physical one.
std::vector<DrawnFunction> DrawEach(const Topology& topology,
                                    const std::vector<std::size_t>& places);
std::vector<DrawnFunction> DrawFolded(const Topology& topology,
                                      const std::vector<std::size_t>& places);

}  // namespace tool

#endif  // TOOL_TOPOLOGY_FOLD_H_
