// The controlled-by index, and the searches of the topology cache that the associations need.
//
// Thread rule: CacheControlledBy, AddToMap and IndexHostedPorts run inside the once-only cache
// build; everything else reads and may run on any thread afterwards. A lookup that finds nothing
// answers the null port entry (null device), an empty list or false; it never throws for an unknown
// name.

#ifndef CACHE_CONTROLLED_BY_H_
#define CACHE_CONTROLLED_BY_H_

#include <cstdint>
#include <string>
#include <vector>

#include "cache/containers.h"
#include "cache/hostctl.h"
#include "cache/port_entry.h"

// Builds the index from the port list. Throws what a device throws; what was filled stays.
void CacheControlledBy();

// Makes the ports known by the device that hosts them, for the two searches by host. Where memory
// runs short there is no such index, and the searches walk the port list.
void IndexHostedPorts() noexcept;

// Every record, in port order.
const std::vector<ControlledByRecord>& GetControlledByCache();

// The record of a port, or null. Of several ports of one name, the last.
const ControlledByRecord* LookupControlledByPort(const std::string& portName);

// The record of a device, or null. Of several ports of a device the last: a bridge's "-sec" port.
const ControlledByRecord* LookupControlledByDevice(const std::string& deviceName);

// Appends `entry` to the list under `key`.
void AddToMap(const std::string& key, const PortEntry& entry, PortsByName& map);

// The port that connects a device upwards: of all ports hosted by `name` (parentName), the first on
// the lowest bus; else the null port entry.
const PortEntry& FindConnectedPort(const std::string& name);

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
