#include "cache/controlled_by.h"

#include <syslog.h>

#include <new>

#include "cache/cache_state.h"
#include "cache/classification.h"

using HostCtl::Hardware::PciDevice;

namespace {

const PortPointers empty_port_list;

// The value under the key, or a null one.
template <typename Map>
typename Map::mapped_type ValueIn(const Map& map, const std::string& key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type{} : found->second;
}

const PortPointers& FindPortList(const PortsByName& map, const std::string& name) {
  const auto found = map.find(name);
  return found == map.end() ? empty_port_list : found->second;
}

// Takes the next port in port order into what its host hosts.
void Add(HostedPorts& hosted, const PortEntry& entry) {
  if (hosted.first == nullptr) hosted.first = hosted.connected = &entry;
  if (entry.bus < hosted.connected->bus) hosted.connected = &entry;
}

HostedPorts FindHosted(const std::string& name) {
  const TopologyCache& cache = ProcessCache();
  if (!cache.hosted_ports.empty()) return ValueIn(cache.hosted_ports, name);
  HostedPorts hosted;
  for (const PortEntry& entry : cache.ports) {
    if (entry.parentName == name) Add(hosted, entry);
  }
  return hosted;
}

const PortEntry& OrNullEntry(const PortEntry* entry) {
  return entry == nullptr ? NullPortEntry() : *entry;
}

}  // namespace

void CacheControlledBy() {
  TopologyCache& cache = ProcessCache();
  cache.controlled_by.reserve(cache.ports.size());
  for (const PortEntry& entry : cache.ports) {
    if (entry.portName.find('-') == std::string::npos) {
      syslog(LOG_ERR, "PortEntry name not right skipping %s", entry.portName.c_str());
      continue;
    }
    cache.controlled_by.push_back({entry.device, SetClassName(entry.device), &entry});
  }
  cache.cbPortMap.reserve(cache.controlled_by.size());
  for (const ControlledByRecord& record : cache.controlled_by) {
    cache.cbPortMap[record.entry->portName] = &record;
  }
  cache.cbDevMap.reserve(cache.devices.size());
  for (const ControlledByRecord& record : cache.controlled_by) {
    cache.cbDevMap[record.device->GetName()] = &record;
  }
  syslog(LOG_DEBUG, "PCI CB cache idx: cbPortMap=%d cbDevMap=%d",
         static_cast<int>(cache.cbPortMap.size()), static_cast<int>(cache.cbDevMap.size()));
}

void IndexHostedPorts() noexcept {
  TopologyCache& cache = ProcessCache();
  try {
    cache.hosted_ports.reserve(cache.devices.size());
    for (const PortEntry& entry : cache.ports) Add(cache.hosted_ports[entry.parentName], entry);
  } catch (const std::bad_alloc&) {
    cache.hosted_ports.clear();
  }
}

const std::vector<ControlledByRecord>& GetControlledByCache() {
  return ProcessCache().controlled_by;
}

const ControlledByRecord* LookupControlledByPort(const std::string& portName) {
  return ValueIn(ProcessCache().cbPortMap, portName);
}

const ControlledByRecord* LookupControlledByDevice(const std::string& deviceName) {
  return ValueIn(ProcessCache().cbDevMap, deviceName);
}

void AddToMap(const std::string& key, const PortEntry& entry, PortsByName& map) {
  map[key].push_back(&entry);
}

const PortEntry& FindConnectedPort(const std::string& name) {
  const HostedPorts hosted = FindHosted(name);
  if (hosted.first == nullptr) return NullPortEntry();
  syslog(LOG_DEBUG, "FindConnectedPort looking for lowest busid %u", hosted.first->bus);
  syslog(LOG_DEBUG, "FindConnectedPort returning bus %u", hosted.connected->bus);
  return *hosted.connected;
}

const PortEntry& FindHostedPort(const std::string& name) {
  return OrNullEntry(FindHosted(name).first);
}

bool FindPortsInGroup(std::uint8_t bus, std::vector<const PciDevice*>& out) {
  const auto& members = ProcessCache().bus_members;
  const auto found = members.find(bus);
  if (found == members.end()) return false;
  out = found->second;
  return true;
}

const PortPointers& LookupBridgePorts(const std::string& name) {
  return FindPortList(ProcessCache().bridge_ports, name);
}

const PortPointers& LookupSwitchPorts(const std::string& name) {
  return FindPortList(ProcessCache().switch_ports, name);
}

const PortEntry& LookupPortByDeviceEntry(const std::string& deviceName) {
  return OrNullEntry(ValueIn(ProcessCache().device_ports, deviceName));
}
