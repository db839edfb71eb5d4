// What room pci tells of the functions of a tree, where CIM has no word for it.
//
// Thread rule: pure functions.

#ifndef TOOL_INVENTORY_TREE_FACTS_H_
#define TOOL_INVENTORY_TREE_FACTS_H_

#include "pci/host.h"
#include "tool/topology.h"

namespace tool {

// Sets the facts of the functions that the host has, joined by address.
void AddFacts(const pci::Host& host, Topology& topology);

}  // namespace tool

#endif  // TOOL_INVENTORY_TREE_FACTS_H_
