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
#include "cache/topology_cache.h"

struct TopologyCache {
  pthread_once_t build_guard = PTHREAD_ONCE_INIT;
  std::string system_name;

  DeviceVector devices;
  std::unordered_map<std::string, std::size_t> device_index;  // name to position, first wins

  PortVector ports;
  std::unordered_map<std::string, std::size_t> port_index;  // port name to position, first wins
  std::set<std::string> port_names;
  std::vector<std::uint8_t> bus_numbers;

  std::unordered_map<std::uint8_t, std::vector<const HostCtl::Hardware::PciDevice*>> bus_members;
  std::unordered_map<std::string, const PortEntry*> device_ports;  // device name, last wins
  PortPointers switches;
  PortPointers bridges;
  PortsByName bridge_ports;
  PortsByName switch_ports;

  std::vector<ControlledByRecord> controlled_by;
  std::unordered_map<std::string, const ControlledByRecord*> cbPortMap;  // port name, last wins
  std::unordered_map<std::string, const ControlledByRecord*> cbDevMap;   // device name, last wins
};

// The one cache of the process (of this copy of the library).
TopologyCache& ProcessCache();

// What a failed port lookup answers: null device, empty strings, bus 0.
const PortEntry& NullPortEntry();

#endif  // CACHE_CACHE_STATE_H_
