// The containers behind the topology cache, for the sources of this room (and for tests, which
// assign a fresh TopologyCache to start a host anew).
//
// Thread rule: written inside the once-only build alone, read-only afterwards.
// Invariant: positions and pointers into `devices`, `ports` and `controlled_by` are taken when the
// list is complete, and none of the three changes afterwards.

#ifndef CACHE_CACHE_STATE_H_
#define CACHE_CACHE_STATE_H_

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "cache/controlled_by.h"
#include "cache/known_names.h"
#include "cache/topology_cache.h"

struct TopologyCache {
  pthread_once_t build_guard = PTHREAD_ONCE_INIT;
  std::string system_name;

  DeviceVector devices;
  PortVector ports;
  std::vector<ControlledByRecord> controlled_by;
  KnownNames names;  // positions in these three

  std::set<std::string> port_names;
  std::vector<std::uint8_t> bus_numbers;
  std::unordered_map<std::uint8_t, std::vector<const HostCtl::Hardware::PciDevice*>> bus_members;

  PortPointers switches;
  PortPointers bridges;
  PortsByName bridge_ports;
  PortsByName switch_ports;
};

// The one cache of the process (of this copy of the library).
TopologyCache& ProcessCache();

// What a failed port lookup answers: null device, empty strings, bus 0.
const PortEntry& NullPortEntry();

#endif  // CACHE_CACHE_STATE_H_
