// The one-time build of the topology cache.

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>

#include "cache/cache_state.h"
#include "cache/classification.h"
#include "cache/controlled_by.h"
#include "cache/hostctl.h"
#include "cache/port_entry.h"
#include "cache/topology_cache.h"

using HostCtl::Hardware::PciDevice;

namespace {

// The names of bridges and of switch upstream ports; needed by the build alone.
enum class HostKind : std::uint8_t { kNone, kBridge, kSwitch };
using HostKinds = std::unordered_map<std::string, HostKind>;

HostKind KindOf(const HostKinds& kinds, const std::string& name) {
  const auto found = kinds.find(name);
  return found == kinds.end() ? HostKind::kNone : found->second;
}

// Administrators raise the progress lines of the build by creating this file.
int ProgressPriority() { return access("/tmp/dump_pci", R_OK) == 0 ? LOG_CRIT : LOG_DEBUG; }

// A device whose name an earlier one has is neither indexed nor classified.
HostKinds IndexDevices(TopologyCache& cache, int progress) {
  HostKinds kinds;
  cache.device_index.reserve(cache.devices.size());
  for (std::size_t position = 0; position < cache.devices.size(); ++position) {
    const PciDevice* device = cache.devices[position].get();
    const std::string name = device->GetName();
    if (!cache.device_index.try_emplace(name, position).second) {
      syslog(LOG_ERR, "duplicate name found '%s' skipped", name.c_str());
      continue;
    }
    if (IsBridge(device)) {
      kinds[name] = HostKind::kBridge;
      syslog(progress, " *** Bridge: %s", name.c_str());
    } else if (IsUpstreamPortOnSwitch(device)) {
      kinds[name] = HostKind::kSwitch;
      syslog(progress, " *** Switch: %s", name.c_str());
    }
  }
  return kinds;
}

void IndexPorts(TopologyCache& cache) {
  std::set<std::uint8_t> buses;
  cache.port_index.reserve(cache.ports.size());
  for (std::size_t position = 0; position < cache.ports.size(); ++position) {
    const PortEntry& entry = cache.ports[position];
    if (!cache.port_index.try_emplace(entry.portName, position).second) {
      // The missing quote and the semicolon are part of the text that log readers know.
      syslog(LOG_ERR, "duplicate port name found '%s; skipped", entry.portName.c_str());
      continue;
    }
    // Hosts mostly report in the order of names: then each belongs at the end.
    cache.port_names.insert(cache.port_names.end(), entry.portName);
    buses.insert(entry.bus);
  }
  cache.bus_numbers.reserve(buses.size());
  cache.bus_numbers.insert(cache.bus_numbers.end(), buses.begin(), buses.end());
}

// Sorts one port into the lists of switches, bridges and hosted ports. A bridge's own secondary
// port goes into none of them, and an ordinary endpoint, hosted by itself, always ends as "not
// loaded": both intended.
void FilePort(TopologyCache& cache, const HostKinds& kinds, const PortEntry& entry, int progress) {
  const char* port = entry.portName.c_str();
  const HostKind own = KindOf(kinds, entry.deviceName);
  if (own == HostKind::kSwitch) {
    cache.switches.push_back(&entry);
    return syslog(progress, "loaded switch %s", port);
  }
  if (own == HostKind::kBridge) {
    if (entry.portName.rfind(kPrimarySuffix) == std::string::npos) return;
    cache.bridges.push_back(&entry);
    return syslog(progress, "loaded bridge %s", port);
  }
  switch (KindOf(kinds, entry.parentName)) {
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

void FilePorts(TopologyCache& cache, const HostKinds& kinds, int progress) {
  cache.device_ports.reserve(cache.devices.size());
  for (const PortEntry& entry : cache.ports) {
    cache.bus_members[entry.bus].push_back(entry.device);
    cache.device_ports[entry.deviceName] = &entry;
    FilePort(cache, kinds, entry, progress);
  }
}

// What may fail half way; what it has filled by then stays.
void BuildTopology(TopologyCache& cache, int progress) {
  HostCtl::HostFactory::GetHost();
  const std::unique_ptr<HostCtl::PciInfo> pci_info = HostCtl::Host::GetHardwareInfo()->GetPciInfo();
  cache.devices = pci_info->GetPciDevices();

  const HostKinds kinds = IndexDevices(cache, progress);
  cache.ports.reserve(cache.devices.size() + kinds.size());  // a bridge has two
  BuildPortDefs(cache.ports);
  cache.switches.reserve(cache.ports.size() / 2);
  IndexPorts(cache);
  FilePorts(cache, kinds, progress);
  CacheControlledBy();
}

}  // namespace

void LoadCache() { pthread_once(&ProcessCache().build_guard, &GetPCIData); }

void PCICacheSystemName() {
  const std::unique_ptr<HostCtl::HardwareInfo> hardware = HostCtl::Host::GetHardwareInfo();
  std::string& name = ProcessCache().system_name;
  name = hardware->GetSystemName();
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
}

void BuildPortDefs(std::vector<PortEntry>& ports) {
  constexpr std::size_t kSpareEntries = 20;
  ports.reserve(GetDevicesCache().size() + kSpareEntries);
  for (const auto& device : GetDevicesCache()) {
    device->GetName();  // the name is not needed; a device that cannot even say it fails here first
    MakePortEntryfromDevice(device.get(), ports);
  }
}

void GetPCIData() {
  const int progress = ProgressPriority();
  syslog(progress, "GetPCIData started to analyze and cache HKI PCI data");
  PCICacheSystemName();  // a failure here is not absorbed: without a name there are no paths
  TopologyCache& cache = ProcessCache();
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
