#include "cache/port_entry.h"

#include <memory>
#include <utility>

#include "cache/classification.h"

using HostCtl::Hardware::PciDevice;

namespace {

// A device's own port: hosted by the device itself.
PortEntry MakeOwnPort(const PciDevice* device, const char* suffix) {
  const std::string name = device->GetName();
  return MakePCIPortTRef(name + suffix, name, device);
}

}  // namespace

PortEntry MakePCIPortTRef(const std::string& portName, const std::string& parentName,
                          const PciDevice* device) {
  PortEntry entry;
  entry.parentName = parentName;
  entry.portName = portName;
  entry.bus = device->GetBus();
  entry.deviceName = device->GetName();
  entry.device = device;
  return entry;
}

void MakePCIeDownstreamPortTRef(const PciDevice* device, std::vector<PortEntry>& ports) {
  const std::unique_ptr<PciDevice> parent = device->GetParent();
  if (parent == nullptr) return;
  const std::string port_name = device->GetName() + kEndpointSuffix;
  ports.push_back(MakePCIPortTRef(port_name, parent->GetName(), device));
}

void MakePCIeUpstreamPortTRef(const PciDevice* device, std::vector<PortEntry>& ports) {
  ports.push_back(MakeOwnPort(device, kUpstreamSuffix));
}

void MakePCIBridgePortTRef(const PciDevice* device, std::vector<PortEntry>& ports) {
  if (!IsBridgeWithPorts(device->GetClassCode())) return;
  const std::string name = device->GetName();
  const std::string primary_name = name + kPrimarySuffix;
  const std::string secondary_name = name + kSecondarySuffix;

  PortEntry primary = MakePCIPortTRef(primary_name, name, device);
  primary.peerName = secondary_name;
  ports.push_back(std::move(primary));

  PortEntry secondary = MakePCIPortTRef(secondary_name, name, device);
  secondary.peerName = primary_name;
  ports.push_back(std::move(secondary));
}

void MakePCIEndpointPortTRef(const PciDevice* device, std::vector<PortEntry>& ports) {
  ports.push_back(MakeOwnPort(device, kEndpointSuffix));
}

void MakePortEntryfromDevice(const PciDevice* device, std::vector<PortEntry>& ports) {
  switch (ClassifyPorts(device)) {
    case PortKind::kSwitchDownstream: return MakePCIeDownstreamPortTRef(device, ports);
    case PortKind::kSwitchUpstream: return MakePCIeUpstreamPortTRef(device, ports);
    case PortKind::kBridge: return MakePCIBridgePortTRef(device, ports);
    case PortKind::kEndpoint: return MakePCIEndpointPortTRef(device, ports);
    case PortKind::kNone: return;
  }
}
