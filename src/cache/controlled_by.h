// The controlled-by index, and the searches of the topology cache that the associations need.
//
// Thread rule: CacheControlledBy, AddToMap and IndexHostedPorts run inside the once-only cache
// build; everything else reads and may run on any thread afterwards. A lookup that finds nothing
// answers the null port entry (null device), an empty list or false; it never throws for an unknown
// name.

#ifndef CACHE_CONTROLLED_BY_H_
#define CACHE_CONTROLLED_BY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cache/hostctl.h"
#include "cache/topology_cache.h"

// One port with its device and the CIM class of that device (static text, see SetClassName).
struct ControlledByRecord {
  const HostCtl::Hardware::PciDevice* device = nullptr;
  const char* className = nullptr;
  const PortEntry* entry = nullptr;
};

// Builds the index from the port list. Throws what a device throws; what was filled stays.
void CacheControlledBy();

// Makes every port known by the device that hosts it, so that the searches by host need not look at
// all ports. Allocates nothing, hence cannot fail.
void IndexHostedPorts();

// Every record, in port order.
const std::vector<ControlledByRecord>& GetControlledByCache();

// The record of a port, or null. Of several ports of one name, the last.
const ControlledByRecord* LookupControlledByPort(const std::string& portName);

// The record of a device, or null. Of several ports of a device the last: a bridge's "-sec" port.
const ControlledByRecord* LookupControlledByDevice(const std::string& deviceName);

// Appends `entry` to the list under `key`.
void AddToMap(const std::string& key, const PortEntry& entry, PortsByName& map);

// The port that connects a device upwards: of all ports hosted by `name` (parentName), the first on
// the lowest bus; else the null port entry. Linear in the ports for a name that is no device's.
const PortEntry& FindConnectedPort(const std::string& name);
// The same in a walk through the device list, where it is cheaper. `place` goes from one search to
// the next, from 0.
const PortEntry& FindConnectedPort(const std::string& name, std::size_t& place);

// The first of all ports hosted by `name`, or the null port entry.
const PortEntry& FindHostedPort(const std::string& name);

// Copies the devices of every port on a bus, one per port in port order, into `out`. False, and
// `out` untouched, when the bus has no port.
bool FindPortsInGroup(std::uint8_t bus, std::vector<const HostCtl::Hardware::PciDevice*>& out);

// The ports filed under a bridge, or under a switch upstream port; empty when there are none.
const PortPointers& LookupBridgePorts(const std::string& name);
const PortPointers& LookupSwitchPorts(const std::string& name);

// The last port of a device, or the null port entry.
const PortEntry& LookupPortByDeviceEntry(const std::string& deviceName);

#endif  // CACHE_CONTROLLED_BY_H_
