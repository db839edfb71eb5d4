#include "cache/topology_cache.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>
#include <cctype>

#include "cache/cache_state.h"
#include "cache/classification.h"

using HostCtl::Hardware::PciDevice;

namespace {

TopologyCache process_cache;      // NOLINT(cert-err58-cpp): default construction, nothing to throw
const PortEntry null_port_entry;  // NOLINT(cert-err58-cpp): the same

// What a device is to the ports of others; needed by the build alone.
enum class HostKind : std::uint8_t { kNone, kBridge, kSwitch };

// By position in the device list. A device whose name an earlier one has stays kNone.
using HostKinds = std::vector<HostKind>;

// Administrators raise the progress lines of the build by creating this file.
int ProgressPriority() { return access("/tmp/dump_pci", R_OK) == 0 ? LOG_CRIT : LOG_DEBUG; }

HostKinds IndexDevices(TopologyCache& cache, int progress) {
  HostKinds kinds(cache.devices.size(), HostKind::kNone);
  cache.names.Reserve(cache.devices.size());
  for (std::size_t position = 0; position < cache.devices.size(); ++position) {
    const PciDevice* device = cache.devices[position].get();
    const std::string name = device->GetName();
    NameFacts& facts = cache.names[name];
    if (facts.device != NameFacts::kUnknown) {
      syslog(LOG_ERR, "duplicate name found '%s' skipped", name.c_str());
      continue;
    }
    facts.device = static_cast<std::uint32_t>(position);
    if (IsBridge(device)) {
      kinds[position] = HostKind::kBridge;
      syslog(progress, " *** Bridge: %s", name.c_str());
    } else if (IsUpstreamPortOnSwitch(device)) {
      kinds[position] = HostKind::kSwitch;
      syslog(progress, " *** Switch: %s", name.c_str());
    }
  }
  return kinds;
}

void IndexPorts(TopologyCache& cache) {
  std::bitset<256> buses;
  cache.names.Reserve(cache.devices.size() + cache.ports.size());
  for (std::size_t position = 0; position < cache.ports.size(); ++position) {
    const PortEntry& entry = cache.ports[position];
    NameFacts& facts = cache.names[entry.portName];
    if (facts.port != NameFacts::kUnknown) {
      // The missing quote and the semicolon are part of the text that log readers know.
      syslog(LOG_ERR, "duplicate port name found '%s; skipped", entry.portName.c_str());
      continue;
    }
    // Hosts mostly report in the order of names: then each belongs at the end. The index comes
    // after what may fail, so that neither has a name that the other has not.
    cache.port_names.insert(cache.port_names.end(), entry.portName);
    facts.port = static_cast<std::uint32_t>(position);
    buses.set(entry.bus);
  }
  cache.bus_numbers.reserve(buses.count());
  for (std::size_t bus = 0; bus < buses.size(); ++bus) {
    if (buses[bus]) cache.bus_numbers.push_back(static_cast<std::uint8_t>(bus));
  }
}

HostKind KindOf(const NameFacts* facts, const HostKinds& kinds) {
  const bool is_device = facts != nullptr && facts->device != NameFacts::kUnknown;
  return is_device ? kinds[facts->device] : HostKind::kNone;
}

// Room for the ports of all devices: a bridge has two.
void ReservePorts(TopologyCache& cache, const HostKinds& kinds) {
  constexpr std::size_t kSpareEntries = 20;
  const auto bridges = std::count(kinds.begin(), kinds.end(), HostKind::kBridge);
  cache.ports.reserve(kinds.size() + static_cast<std::size_t>(bridges) + kSpareEntries);
}

// Sorts one port into the lists of switches, bridges and hosted ports. A bridge's own secondary
// port goes into none of them, and an ordinary endpoint, hosted by itself, always ends as "not
// loaded": both intended.
void FilePort(TopologyCache& cache, const HostKinds& kinds, const PortEntry& entry,
              const NameFacts& device, int progress) {
  const char* port = entry.portName.c_str();
  const HostKind own = KindOf(&device, kinds);
  if (own == HostKind::kSwitch) {
    cache.switches.push_back(&entry);
    syslog(progress, "loaded switch %s", port);
    return;
  }
  if (own == HostKind::kBridge) {
    if (entry.portName.rfind(kPrimarySuffix) == std::string::npos) return;
    cache.bridges.push_back(&entry);
    syslog(progress, "loaded bridge %s", port);
    return;
  }
  const bool hosts_itself = entry.parentName == entry.deviceName;
  switch (hosts_itself ? own : KindOf(cache.names.Find(entry.parentName), kinds)) {
    case HostKind::kBridge:
      AddToMap(entry.parentName, entry, cache.bridge_ports);
      return syslog(progress, "loaded bridge port %s", port);
    case HostKind::kSwitch:
      AddToMap(entry.parentName, entry, cache.switch_ports);
      return syslog(progress, "loaded switch port %s", port);
    case HostKind::kNone:
      return syslog(progress, "not loaded port %s parent %s", port, entry.parentName.c_str());
  }
}

// What may fail half way; what it has filled by then stays.
void BuildTopology(TopologyCache& cache, int progress) {
  HostCtl::HostFactory::GetHost();
  const std::unique_ptr<HostCtl::PciInfo> pci_info = HostCtl::Host::GetHardwareInfo()->GetPciInfo();
  cache.devices = pci_info->GetPciDevices();

  const HostKinds kinds = IndexDevices(cache, progress);
  ReservePorts(cache, kinds);
  BuildPortDefs(cache.ports);
  cache.switches.reserve(cache.ports.size() / 2);
  IndexPorts(cache);
  std::size_t place = 0;
  for (std::uint32_t position = 0; position < cache.ports.size(); ++position) {
    const PortEntry& entry = cache.ports[position];
    cache.bus_members[entry.bus].push_back(entry.device);
    NameFacts& device = cache.names.At(entry.deviceName, place);
    device.device_port = position;
    FilePort(cache, kinds, entry, device, progress);
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
  IndexHostedPorts();  // of as many ports as there are
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
  const std::uint32_t position = process_cache.names.Find(name, &NameFacts::device);
  if (position == NameFacts::kUnknown) return false;
  out = {name, position};
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
  const std::uint32_t position = process_cache.names.Find(portName, &NameFacts::port);
  return position == NameFacts::kUnknown ? null_port_entry : process_cache.ports[position];
}

bool IsPortName(const std::string& name, std::size_t& place) {
  const NameFacts* facts = process_cache.names.Find(name, place);
  return facts != nullptr && facts->port != NameFacts::kUnknown;
}
