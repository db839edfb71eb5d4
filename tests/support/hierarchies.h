// PCI hierarchies made up for comparisons: all small ones, and larger ones by chance, well formed
// as firmware and kernel leave them: buses numbered depth first, ranges that nest.
//
// Thread rule: plain functions.

#ifndef SUPPORT_HIERARCHIES_H_
#define SUPPORT_HIERARCHIES_H_

#include <cstddef>
#include <vector>

#include "support/compact_host.h"

namespace compact_host {

// Every hierarchy of one to `size` functions that can be put together of host bridges, root ports,
// switches, bridges between PCI Express and conventional PCI and among the latter, and endpoints of
// both, up to the order on a bus: each in a domain of its own, in hosts of about `functions`
// functions. Neighbours are devices in every other hierarchy, and functions of one device in the
// rest.
std::vector<Host> SmallHierarchies(std::size_t size, std::size_t functions);

// A host of some ten to a hundred functions in one to three domains of several root buses: the same
// at every run. Has what real ones have beside plain hierarchies: bridges that are not set up, bus
// numbers in reserve, devices without a function 0, virtual functions on buses of no bridge's,
// slots of all names and numbers, CardBus bridges, capabilities and status bits of all kinds.
Host RandomHost(unsigned seed);

}  // namespace compact_host

#endif  // SUPPORT_HIERARCHIES_H_
