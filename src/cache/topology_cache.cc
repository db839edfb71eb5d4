#include "cache/topology_cache.h"

#include "cache/cache_state.h"

using HostCtl::Hardware::PciDevice;

namespace {

TopologyCache process_cache;
const PortEntry null_port_entry;

}  // namespace

TopologyCache& ProcessCache() { return process_cache; }

const PortEntry& NullPortEntry() { return null_port_entry; }

const char* PciGetSystemName() { return process_cache.system_name.c_str(); }

const DeviceVector& GetDevicesCache() { return process_cache.devices; }
const PortVector& GetPortsCache() { return process_cache.ports; }
const PortsByName& GetBridgePortsCache() { return process_cache.bridge_ports; }
const PortsByName& GetSwitchPortsCache() { return process_cache.switch_ports; }
const PortPointers& GetBridgesCache() { return process_cache.bridges; }
const PortPointers& GetSwitchCache() { return process_cache.switches; }
const std::vector<std::uint8_t>& GetBusNumbers() { return process_cache.bus_numbers; }
const std::set<std::string>& GetPortNames() { return process_cache.port_names; }

bool LookupDevice(const std::string& name, DeviceIndexEntry& out) {
  const auto& index = process_cache.device_index;
  const auto found = index.find(name);
  if (found == index.end()) return false;
  out = {found->first, found->second};
  return true;
}

const PciDevice* LookupDevice(const std::string& name) {
  DeviceIndexEntry found;
  return LookupDevice(name, found) ? process_cache.devices[found.position].get() : nullptr;
}

bool LookupPort(const std::string& portName, const PciDevice*& out) {
  const PortEntry& entry = LookupPortEntry(portName);
  if (entry.device == nullptr) return false;
  out = entry.device;
  return true;
}

const PortEntry& LookupPortEntry(const std::string& portName) {
  const auto& index = process_cache.port_index;
  const auto found = index.find(portName);
  return found == index.end() ? null_port_entry : process_cache.ports[found->second];
}

std::string BuildPortFromDevice(const std::string& deviceName) {
  std::vector<PortEntry> ports;
  ports.reserve(2);
  const PciDevice* device = LookupDevice(deviceName);
  if (device == nullptr) return {};
  MakePortEntryfromDevice(device, ports);
  return ports.empty() ? std::string() : ports.front().portName;
}
