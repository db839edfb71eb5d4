// Finds a host's topology with CIM requests, as any client of an object manager could.
//
// Thread rule: as Session.

#ifndef TOOL_TOPOLOGY_WALK_H_
#define TOOL_TOPOLOGY_WALK_H_

#include "tool/session.h"
#include "tool/topology.h"

namespace tool {

// From the hosting system to its devices and ports (Ostrel_PCISystemDevice), then bridges and
// switches, then what no enumeration lists: a switch's downstream ports, which only their ports
// tell of, and bridges without ports (host, ISA), which only their identifiers lead to. Port groups
// and their members (Ostrel_PCIHostedCollection, Ostrel_PCIMemberOfCollection) are asked for where
// `buses` is set. Throws StatusError.
Topology WalkTopology(Session& session, bool buses);

}  // namespace tool

#endif  // TOOL_TOPOLOGY_WALK_H_
