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

const PortEntry& PortAt(std::uint32_t position) {
  return position == NameFacts::kUnknown ? NullPortEntry() : ProcessCache().ports[position];
}

// Takes the port at that position into what is known of its host.
void LearnHosted(NameFacts& host, const PortVector& ports, std::size_t position) {
  const auto port = static_cast<std::uint32_t>(position);
  if (host.hosted_port == NameFacts::kUnknown) host.hosted_port = host.connected_port = port;
  if (ports[port].bus < ports[host.connected_port].bus) host.connected_port = port;
}

// What is known of a host of ports. The table has the names of all devices; for any other host,
// which the device list does not have, all ports are looked at.
NameFacts HostFacts(const NameFacts* known, const std::string& name) {
  if (known != nullptr) return *known;
  NameFacts facts;
  const PortVector& ports = GetPortsCache();
  for (std::size_t position = 0; position < ports.size(); ++position) {
    if (ports[position].parentName == name) LearnHosted(facts, ports, position);
  }
  return facts;
}

const PortEntry& ConnectedPort(const NameFacts& host) {
  if (host.hosted_port == NameFacts::kUnknown) return NullPortEntry();
  const PortVector& ports = GetPortsCache();
  const PortEntry& lowest = ports[host.connected_port];
  syslog(LOG_DEBUG, "FindConnectedPort looking for lowest busid %u", ports[host.hosted_port].bus);
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

void IndexHostedPorts() {
  TopologyCache& cache = ProcessCache();
  std::size_t place = 0;
  for (std::size_t position = 0; position < cache.ports.size(); ++position) {
    NameFacts* host = cache.names.Find(cache.ports[position].parentName, place);
    if (host != nullptr) LearnHosted(*host, cache.ports, position);
  }
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
  return ConnectedPort(HostFacts(ProcessCache().names.Find(name), name));
}

const PortEntry& FindConnectedPort(const std::string& name, std::size_t& place) {
  return ConnectedPort(HostFacts(ProcessCache().names.Find(name, place), name));
}

const PortEntry& FindHostedPort(const std::string& name) {
  return PortAt(HostFacts(ProcessCache().names.Find(name), name).hosted_port);
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
  return PortAt(ProcessCache().names.Find(deviceName, &NameFacts::device_port));
}
