// The containers behind the topology cache, for the sources of this room (and for tests, which
// start a host anew with Reset).
//
// Thread rule: written inside the once-only build alone, read-only afterwards.
// Invariant: positions and pointers into `devices`, `ports` and `controlled_by` are taken when the
// list is complete, and none of the three changes afterwards. Every index is keyed by name, because
// the host hands out new device objects for one device.

#ifndef CACHE_CACHE_STATE_H_
#define CACHE_CACHE_STATE_H_

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "cache/containers.h"

// Of the ports that one device hosts: the first, and the first on the lowest bus.
struct HostedPorts {
  const PortEntry* first = nullptr;
  const PortEntry* connected = nullptr;
};

// An index by name. Indexes grow together and go together, hence share their memory, which is taken
// in large pieces: nodes of their own on the heap would be most of the build's work.
template <typename Value>
using NameIndex = std::pmr::unordered_map<std::string, Value>;

struct TopologyCache {
  pthread_once_t build_guard = PTHREAD_ONCE_INIT;
  std::string system_name;
  std::pmr::monotonic_buffer_resource index_memory;

  DeviceVector devices;
  NameIndex<std::size_t> device_index{&index_memory};  // the first device of a name

  PortVector ports;
  NameIndex<std::size_t> port_index{&index_memory};  // the first port of a name
  std::set<std::string> port_names;
  std::vector<std::uint8_t> bus_numbers;

  std::unordered_map<std::uint8_t, DevicePointers> bus_members;
  NameIndex<const PortEntry*> device_ports{&index_memory};  // the last port of a device
  PortPointers switches;
  PortPointers bridges;
  PortsByName bridge_ports;
  PortsByName switch_ports;

  std::vector<ControlledByRecord> controlled_by;
  NameIndex<const ControlledByRecord*> cbPortMap{&index_memory};  // the last record of a port
  NameIndex<const ControlledByRecord*> cbDevMap{&index_memory};   // the last record of a device

  // By parentName; of all ports or, where memory ran short, empty.
  NameIndex<HostedPorts> hosted_ports{&index_memory};

  // Starts anew, empty and not built; nobody may be reading.
  void Reset() {
    std::destroy_at(this);
    std::construct_at(this);
  }
};

// The one cache of the process (of this copy of the library).
TopologyCache& ProcessCache();

// What a failed port lookup answers: null device, empty strings, bus 0.
const PortEntry& NullPortEntry();

#endif  // CACHE_CACHE_STATE_H_
