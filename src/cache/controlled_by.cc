#include "cache/controlled_by.h"

#include <syslog.h>

#include <utility>

#include "cache/cache_state.h"
#include "cache/classification.h"

using HostCtl::Hardware::PciDevice;

namespace {

const PortPointers empty_port_list;  // NOLINT(cert-err58-cpp): default construction

const PortPointers& FindPortList(const PortsByName& map, const std::string& name) {
  const auto found = map.find(name);
  return found == map.end() ? empty_port_list : found->second;
}

const ControlledByRecord* FindRecord(const std::string& name, std::uint32_t NameFacts::*fact) {
  const std::uint32_t position = ProcessCache().names.Find(name, fact);
  return position == NameFacts::kUnknown ? nullptr : &ProcessCache().controlled_by[position];
}

const PortEntry& FindPort(const std::string& name, std::uint32_t NameFacts::*fact) {
  const std::uint32_t position = ProcessCache().names.Find(name, fact);
  return position == NameFacts::kUnknown ? NullPortEntry() : ProcessCache().ports[position];
}

const PortEntry& ConnectedPort(const NameFacts* host) {
  if (host == nullptr || host->hosted_port == NameFacts::kUnknown) return NullPortEntry();
  const PortVector& ports = GetPortsCache();
  const PortEntry& lowest = ports[host->connected_port];
  syslog(LOG_DEBUG, "FindConnectedPort looking for lowest busid %u", ports[host->hosted_port].bus);
  syslog(LOG_DEBUG, "FindConnectedPort returning bus %u", lowest.bus);
  return lowest;
}

// Makes `position` the fact; answers whether nothing was known before.
bool Learn(std::uint32_t& fact, std::size_t position) {
  return std::exchange(fact, static_cast<std::uint32_t>(position)) == NameFacts::kUnknown;
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
  const std::vector<ControlledByRecord>& records = cache.controlled_by;
  int port_names = 0;
  std::size_t place = 0;
  for (std::size_t position = 0; position < records.size(); ++position) {
    NameFacts& port = cache.names.At(records[position].entry->portName, place);
    if (Learn(port.port_record, position)) ++port_names;
  }
  int device_names = 0;
  place = 0;
  for (std::size_t position = 0; position < records.size(); ++position) {
    NameFacts& device = cache.names.At(records[position].device->GetName(), place);
    if (Learn(device.device_record, position)) ++device_names;
  }
  syslog(LOG_DEBUG, "PCI CB cache idx: cbPortMap=%d cbDevMap=%d", port_names, device_names);
}

const std::vector<ControlledByRecord>& GetControlledByCache() {
  return ProcessCache().controlled_by;
}

const ControlledByRecord* LookupControlledByPort(const std::string& portName) {
  return FindRecord(portName, &NameFacts::port_record);
}

const ControlledByRecord* LookupControlledByDevice(const std::string& deviceName) {
  return FindRecord(deviceName, &NameFacts::device_record);
}

void AddToMap(const std::string& key, const PortEntry& entry, PortsByName& map) {
  map[key].push_back(&entry);
}

const PortEntry& FindConnectedPort(const std::string& name) {
  return ConnectedPort(ProcessCache().names.Find(name));
}

const PortEntry& FindConnectedPort(const std::string& name, std::size_t& place) {
  return ConnectedPort(ProcessCache().names.Find(name, place));
}

const PortEntry& FindHostedPort(const std::string& name) {
  return FindPort(name, &NameFacts::hosted_port);
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
  return FindPort(deviceName, &NameFacts::device_port);
}
