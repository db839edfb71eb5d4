// Finds a host's topology with CIM requests, as any client of an object manager could, and with
// what the host control library shares of its reading, where it does.
//
// Thread rule: as Session.

#ifndef TOOL_TOPOLOGY_WALK_H_
#define TOOL_TOPOLOGY_WALK_H_

#include "tool/session.h"
#include "tool/topology.h"

namespace tool {

struct WalkOptions {
  bool ports = false;  // of every function
  bool buses = false;  // port groups and their members
};

// Asks every element once, in time linear in the host. CIM says what the functions are: names,
// kinds, ports. Which there are, and what CIM has no word for (where each hangs, bus ranges, slot
// names), is of Session::host(). Where there is none, CIM is asked for that as well: for the places
// of functions that no enumeration lists, and bus ranges are those in use. Throws StatusError.
Topology WalkTopology(Session& session, const WalkOptions& options);

}  // namespace tool

#endif  // TOOL_TOPOLOGY_WALK_H_
