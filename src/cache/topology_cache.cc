#include "cache/topology_cache.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <iterator>

#include "cache/cache_state.h"
#include "cache/classification.h"

using HostCtl::Hardware::PciDevice;

namespace {

TopologyCache process_cache;      // NOLINT(cert-err58-cpp): default construction, nothing to throw
const PortEntry null_port_entry;  // NOLINT(cert-err58-cpp): the same

// Names of the devices that are hosts of ports other than their own; needed by the build alone.
struct HostNames {
  std::set<std::string> bridges;
  std::set<std::string> switches;
};

// Administrators raise the progress lines of the build by creating this file.
int ProgressPriority() { return access("/tmp/dump_pci", R_OK) == 0 ? LOG_CRIT : LOG_DEBUG; }

void IndexDevices(TopologyCache& cache, HostNames& hosts, int progress) {
  for (std::size_t position = 0; position < cache.devices.size(); ++position) {
    const PciDevice* device = cache.devices[position].get();
    const std::string name = device->GetName();
    if (!cache.device_index.try_emplace(name, position).second) {
      syslog(LOG_ERR, "duplicate name found '%s' skipped", name.c_str());
      continue;
    }
    if (IsBridge(device)) {
      hosts.bridges.insert(name);
      syslog(progress, " *** Bridge: %s", name.c_str());
    } else if (IsUpstreamPortOnSwitch(device)) {
      hosts.switches.insert(name);
      syslog(progress, " *** Switch: %s", name.c_str());
    }
  }
}

void IndexPorts(TopologyCache& cache) {
  std::set<std::uint8_t> buses;
  for (std::size_t position = 0; position < cache.ports.size(); ++position) {
    const PortEntry& entry = cache.ports[position];
    if (!cache.port_index.try_emplace(entry.portName, position).second) {
      // The missing quote and the semicolon are part of the text that log readers know.
      syslog(LOG_ERR, "duplicate port name found '%s; skipped", entry.portName.c_str());
      continue;
    }
    cache.port_names.insert(entry.portName);
    buses.insert(entry.bus);
  }
  cache.bus_numbers.reserve(buses.size());
  std::copy(buses.begin(), buses.end(), std::back_inserter(cache.bus_numbers));
}

// Sorts one port into the lists of switches, bridges and hosted ports. A bridge's own secondary
// port goes into none of them, and an ordinary endpoint, hosted by itself, always ends as "not
// loaded": both intended.
void FilePort(TopologyCache& cache, const HostNames& hosts, const PortEntry& entry, int progress) {
  const char* port = entry.portName.c_str();
  if (hosts.switches.contains(entry.deviceName)) {
    cache.switches.push_back(&entry);
    syslog(progress, "loaded switch %s", port);
  } else if (hosts.bridges.contains(entry.deviceName)) {
    if (entry.portName.rfind(kPrimarySuffix) == std::string::npos) return;
    cache.bridges.push_back(&entry);
    syslog(progress, "loaded bridge %s", port);
  } else if (hosts.bridges.contains(entry.parentName)) {
    AddToMap(entry.parentName, entry, cache.bridge_ports);
    syslog(progress, "loaded bridge port %s", port);
  } else if (hosts.switches.contains(entry.parentName)) {
    AddToMap(entry.parentName, entry, cache.switch_ports);
    syslog(progress, "loaded switch port %s", port);
  } else {
    syslog(progress, "not loaded port %s parent %s", port, entry.parentName.c_str());
  }
}

// The part of the build that may fail half way; what it has filled by then stays.
void BuildTopology(TopologyCache& cache, int progress) {
  HostNames hosts;
  HostCtl::HostFactory::GetHost();
  const std::unique_ptr<HostCtl::PciInfo> pci_info = HostCtl::Host::GetHardwareInfo()->GetPciInfo();
  cache.devices = pci_info->GetPciDevices();

  IndexDevices(cache, hosts, progress);
  BuildPortDefs(cache.ports);
  cache.switches.reserve(cache.ports.size() / 2);
  IndexPorts(cache);
  for (const PortEntry& entry : cache.ports) {
    cache.bus_members[entry.bus].push_back(entry.device);
    cache.device_ports[entry.deviceName] = &entry;
    FilePort(cache, hosts, entry, progress);
  }
  CacheControlledBy();
}

}  // namespace

TopologyCache& ProcessCache() { return process_cache; }

const PortEntry& NullPortEntry() { return null_port_entry; }

void LoadCache() { pthread_once(&process_cache.build_guard, &GetPCIData); }

void PCICacheSystemName() {
  const std::unique_ptr<HostCtl::HardwareInfo> hardware = HostCtl::Host::GetHardwareInfo();
  std::string& name = process_cache.system_name;
  name = hardware->GetSystemName();
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
}

void GetPCIData() {
  const int progress = ProgressPriority();
  syslog(progress, "GetPCIData started to analyze and cache HKI PCI data");
  PCICacheSystemName();  // a failure here is not absorbed: without a name there are no paths
  TopologyCache& cache = process_cache;
  try {
    BuildTopology(cache, progress);
  } catch (const HostCtl::Lib::HostCtlException& error) {
    syslog(LOG_ERR, "PCI information caught exception, reporting may be incomplete, error %s",
           error.message.c_str());
  } catch (...) {
    syslog(LOG_ERR, "Unexpected exception from PCI initialization, reporting may be incomplete.");
  }
  syslog(progress, "*** GetPCIData loaded, %lu switches, %lu bridges busNumbers %lu",
         cache.switches.size(), cache.bridges.size(), cache.bus_numbers.size());
}

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
  const auto found = process_cache.device_index.find(name);
  if (found == process_cache.device_index.end()) return false;
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
  const auto found = process_cache.port_index.find(portName);
  return found == process_cache.port_index.end() ? null_port_entry
                                                 : process_cache.ports[found->second];
}
