// The topology cache: the process-wide picture of the host's PCI hardware from which every provider
// answers. Built once, when the first provider object is made; never written afterwards.
//
// Thread rule: LoadCache may be called from any thread and builds once; threads that arrive during
// the build wait. All other functions read, may run on any thread once LoadCache has returned, and
// take no lock. What they return stays valid until the library is unloaded.
// Names are compared byte for byte; devices are identified by GetName(), never by pointer.

#ifndef CACHE_TOPOLOGY_CACHE_H_
#define CACHE_TOPOLOGY_CACHE_H_

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "cache/containers.h"
#include "cache/hostctl.h"
#include "cache/port_entry.h"

// What LookupDevice finds: the name and the device's position in the device list.
struct DeviceIndexEntry {
  std::string name;
  std::size_t position = 0;
};

// --- The build (cache_build.cc) ------------------------------------------------------------------

// Builds the cache unless it is built. Throws what the host throws while its system name is
// fetched; the cache then counts as not built and the next call tries again. Any other failure is
// logged, leaves what was built so far, and is not retried.
void LoadCache();

// The build itself; called through LoadCache only.
void GetPCIData();

// Fetches the host's system name and stores it in lower case.
void PCICacheSystemName();

// Appends the ports of every cached device, in the order of the device list, to `ports`. Throws
// what a device throws; ports appended before it stay.
void BuildPortDefs(std::vector<PortEntry>& ports);

// --- What was built ------------------------------------------------------------------------------

// The system name, null-terminated; empty before the build.
const char* PciGetSystemName();

// Every device that the host reported, in its order, duplicates included.
const DeviceVector& GetDevicesCache();
// Every port, in device order, then in the order within a device.
const PortVector& GetPortsCache();
// Ports of other devices whose parentName is a bridge, by that name.
const PortsByName& GetBridgePortsCache();
// Ports of other devices whose parentName is a switch upstream port, by that name.
const PortsByName& GetSwitchPortsCache();
// The primary-side port of every bridge, in port order.
const PortPointers& GetBridgesCache();
// The port of every switch upstream port, in port order.
const PortPointers& GetSwitchCache();
// The distinct buses of all ports, ascending.
const std::vector<std::uint8_t>& GetBusNumbers();
// The distinct names of all ports, sorted.
const std::set<std::string>& GetPortNames();

// Finds a device by its identifier (the first of that name). False, and `out` untouched, when there
// is none.
bool LookupDevice(const std::string& name, DeviceIndexEntry& out);

// The device of that identifier (the first), or null.
const HostCtl::Hardware::PciDevice* LookupDevice(const std::string& name);

// Finds the device of a port by the port's name. False, and `out` untouched, when there is none.
bool LookupPort(const std::string& portName, const HostCtl::Hardware::PciDevice*& out);

// The port of that name, or the null port entry (null device, empty strings).
const PortEntry& LookupPortEntry(const std::string& portName);

// The portName of the first port that the named device gets; empty when the device is unknown or
// has no ports. Derived afresh from the device, and throws what the device throws; the cache stays
// as it is.
std::string BuildPortFromDevice(const std::string& deviceName);

#endif  // CACHE_TOPOLOGY_CACHE_H_
