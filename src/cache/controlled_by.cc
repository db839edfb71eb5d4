#include "cache/controlled_by.h"

#include <syslog.h>

#include "cache/cache_state.h"
#include "cache/classification.h"

using HostCtl::Hardware::PciDevice;

namespace {

const PortPointers empty_port_list;  // NOLINT(cert-err58-cpp): default construction

const PortPointers& FindPortList(const PortsByName& map, const std::string& name) {
  const auto found = map.find(name);
  return found == map.end() ? empty_port_list : found->second;
}

template <typename Map>
auto FindPointer(const Map& map, const std::string& name) -> typename Map::mapped_type {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : found->second;
}

// All ports hosted by the named device, in port order.
PortPointers CollectHostedPorts(const std::string& name) {
  PortPointers hosted;
  hosted.reserve(GetPortsCache().size());
  for (const PortEntry& entry : GetPortsCache()) {
    if (entry.parentName == name) hosted.push_back(&entry);
  }
  return hosted;
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
  for (const ControlledByRecord& record : cache.controlled_by) {
    cache.cbPortMap[record.entry->portName] = &record;
  }
  for (const ControlledByRecord& record : cache.controlled_by) {
    cache.cbDevMap[record.device->GetName()] = &record;
  }
  syslog(LOG_DEBUG, "PCI CB cache idx: cbPortMap=%d cbDevMap=%d",
         static_cast<int>(cache.cbPortMap.size()), static_cast<int>(cache.cbDevMap.size()));
}

const std::vector<ControlledByRecord>& GetControlledByCache() {
  return ProcessCache().controlled_by;
}

const ControlledByRecord* LookupControlledByPort(const std::string& portName) {
  return FindPointer(ProcessCache().cbPortMap, portName);
}

const ControlledByRecord* LookupControlledByDevice(const std::string& deviceName) {
  return FindPointer(ProcessCache().cbDevMap, deviceName);
}

void AddToMap(const std::string& key, const PortEntry& entry, PortsByName& map) {
  map[key].push_back(&entry);
}

const PortEntry& FindConnectedPort(const std::string& name) {
  const PortPointers hosted = CollectHostedPorts(name);
  if (hosted.empty()) return NullPortEntry();

  const PortEntry* lowest = hosted.front();
  syslog(LOG_DEBUG, "FindConnectedPort looking for lowest busid %u", lowest->bus);
  for (const PortEntry* entry : hosted) {
    if (entry->bus < lowest->bus) lowest = entry;
  }
  syslog(LOG_DEBUG, "FindConnectedPort returning bus %u", lowest->bus);
  return *lowest;
}

bool FindPortsInGroup(std::uint8_t bus, std::vector<const PciDevice*>& out) {
  const auto& members = ProcessCache().bus_members;
  const auto found = members.find(bus);
  if (found == members.end()) return false;
  out = found->second;
  return true;
}

const PortPointers& LookupBridgePorts(const std::string& name) {
  return FindPortList(GetBridgePortsCache(), name);
}

const PortPointers& LookupSwitchPorts(const std::string& name) {
  return FindPortList(GetSwitchPortsCache(), name);
}

const PortEntry& LookupPortByDeviceEntry(const std::string& deviceName) {
  const PortEntry* entry = FindPointer(ProcessCache().device_ports, deviceName);
  return entry == nullptr ? NullPortEntry() : *entry;
}
