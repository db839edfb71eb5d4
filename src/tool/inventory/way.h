// The way that data take from one function to another, or up to the root.
//
// Thread rule: plain values; making one is pure.

#ifndef TOOL_INVENTORY_WAY_H_
#define TOOL_INVENTORY_WAY_H_

#include <cstdint>
#include <string_view>
#include <vector>

#include "pci/host.h"
#include "tool/inventory/host_link.h"

namespace tool {

struct Way {
  // What is in common, from near to far.
  enum class Kind {
    kSelf,         // one function
    kDevice,       // two functions of one device
    kBridge,       // bridges or ports, no switch
    kSwitch,       // one switch
    kSwitches,     // several switches
    kHostBridge,   // one root bus
    kHostBridges,  // several root buses
    kNumaNodes,    // root buses of several NUMA nodes
  };

  Kind kind = Kind::kSelf;
  // Places in Host::functions(): from the first function up, and from the second one up. The top
  // that they have in common is the last of `up` alone; there is none where they meet above the
  // root buses.
  std::vector<std::uint32_t> up;
  std::vector<std::uint32_t> down;
  bool has_common_top = false;
};

// The way up to the root bus; its kind means nothing.
Way WayToRoot(const pci::Host& host, std::uint32_t from);

// NUMA nodes count where they were read.
Way WayBetween(const pci::Host& host, std::uint32_t from, std::uint32_t to);

// "same switch", ... and "SW" for tables.
std::string_view KindText(Way::Kind kind);
std::string_view ShortKindText(Way::Kind kind);

// Of the links on the way the one that lets least data through in a second; nullptr where none
// tells at what it runs.
const HostLink* NarrowestLink(const Way& way, const HostLinks& links);

}  // namespace tool

#endif  // TOOL_INVENTORY_WAY_H_
