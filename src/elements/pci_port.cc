#include "elements/pci_port.h"

#include <syslog.h>

#include <memory>

#include "cache/classification.h"
#include "cache/controlled_by.h"
#include "cache/topology_cache.h"
#include "elements/pci_device.h"
#include "frame/header_constants.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using HostCtl::Hardware::PciDevice;
using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

void ReturnPort(CmpiResult& result, const char** properties, const std::string& name,
                const std::string& controller, const PciDevice* device, PCIPortType type,
                std::uint8_t bus) {
  const ostInt::CmpiElementScope scope;
  result.returnData(MakePCIPort(properties, name, controller.c_str(), device, type, bus));
}

void ReturnPortRef(CmpiResult& result, const std::string& name) {
  const ostInt::CmpiElementScope scope;
  result.returnData(MakePCIPortRef(name));
}

PCIPortType EndpointPortType(const PciDevice* device) {
  if (device->HasCapability(kPciExpressCapability)) return PCIPortTypePCIe;
  if (device->HasCapability(kPciXCapability)) return PCIPortTypePCIX;
  return PCIPortTypePCI;
}

// The sides of a bridge by its subclass: of a semi-transparent bridge (0x0a) the secondary side is
// PCI Express, of an InfiniBand bridge (0x0b) the primary side; the pairing is part of the
// contract.
PCIPortType PrimaryPortType(std::uint8_t subclass) {
  return subclass == 0x0b ? PCIPortTypePCIe : PCIPortTypePCI;
}
PCIPortType SecondaryPortType(std::uint8_t subclass) {
  return subclass == 0x0a ? PCIPortTypePCIe : PCIPortTypePCI;
}

// Calls emit(identifier, subclass) for a bridge that has ports and is met for the first time.
template <typename Emit>
void OncePerBridge(const PciDevice* device, std::set<std::string>& seen, Emit emit) {
  const std::uint16_t class_code = device->GetClassCode();
  if (!IsBridgeWithPorts(class_code)) return;
  const std::string name = device->GetName();
  if (seen.insert(name).second) emit(name, SubClass(class_code));
}

// Calls emit(device) for the first port entry that the path's "DeviceID" hosts.
template <typename Emit>
void ForHostedPort(const CmpiObjectPath& path, Emit emit) {
  const std::string identifier = DeviceIdOf(path);
  if (identifier.empty()) return;
  const PortEntry& entry = FindHostedPort(identifier);
  if (!entry.portName.empty()) emit(entry.device);
}

// Calls emit(device) for every port filed under a key that holds the path's "DeviceID".
template <typename Emit>
void ForEachBridgePort(const CmpiObjectPath& path, Emit emit) {
  const std::string identifier = DeviceIdOf(path);
  if (identifier.empty()) return;
  for (const auto& [bridge, ports] : GetBridgePortsCache()) {
    if (bridge.find(identifier) == std::string::npos) continue;
    for (const PortEntry* entry : ports) emit(entry->device);
  }
}

// Calls emit(device) for every port filed under the path's "DeviceID"; traces as `caller`. Looks at
// every switch, so that the trace shows them all (intended).
template <typename Emit>
void ForEachSwitchPort(const char* caller, const CmpiObjectPath& path, Emit emit) {
  const std::string identifier = DeviceIdOf(path);
  if (identifier.empty()) return;
  for (const auto& [name, ports] : GetSwitchPortsCache()) {
    syslog(LOG_CRIT, "%s searching %s (p:%lu) for %s", caller, name.c_str(), ports.size(),
           identifier.c_str());
    if (name != identifier) continue;
    for (const PortEntry* entry : ports) emit(entry->device);
  }
}

// What the walks do with a device: return its port instances, or the paths of its ports. Each
// carries the one seen set of its walk.
auto InstanceEmitter(CmpiResult& result, const char** properties) {
  return [&result, properties, seen = std::set<std::string>()](const PciDevice* device) mutable {
    MakePortsForDevice(device, result, seen, properties);
  };
}
auto PathEmitter(CmpiResult& result) {
  return [&result, seen = std::set<std::string>()](const PciDevice* device) mutable {
    MakePortsForDeviceRef(device, seen, result);
  };
}

}  // namespace

CmpiInstance MakePCIPort(const char** properties, const std::string& portName,
                         const char* controller, const PciDevice* device, PCIPortType type,
                         std::uint8_t bus) {
  CmpiInstance instance(MakePCIPortRef(portName));
  instance.setProperty("PortType", static_cast<std::uint16_t>(type));
  instance.setProperty("ElementName", ProductName(device).c_str());
  instance.setProperty("ControllerDeviceID", controller);
  instance.setProperty("BusNumber", bus);
  instance.setProperty("DeviceNumber", device->GetDeviceNumber());
  instance.setProperty("FunctionNumber", device->GetFunction());
  instance.setProperty("PCIDeviceID", device->GetDeviceId());
  instance.setProperty("VendorID", device->GetVendorId());
  instance.setProperty("RevisionID", device->GetRevision());
  const std::uint16_t class_code = device->GetClassCode();
  instance.setProperty("ClassCode", BaseClass(class_code));
  instance.setProperty("SubClassCode", SubClass(class_code));
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

void MakePCIeUpstreamPort(const PciDevice* device, CmpiResult& result, const char** properties) {
  const std::string name = device->GetName();
  ReturnPort(result, properties, name + kUpstreamSuffix, name, device, PCIPortTypePCIe,
             device->GetBus());
}

void MakePCIeUpstreamPortRef(const PciDevice* device, CmpiResult& result) {
  ReturnPortRef(result, device->GetName() + kUpstreamSuffix);
}

void MakePCIeDownstreamPort(const PciDevice* device, CmpiResult& result, const char** properties) {
  const std::unique_ptr<PciDevice> parent = device->GetParent();
  if (parent == nullptr) return;
  const std::string name = device->GetName();
  const std::string controller = parent->GetName();
  ReturnPort(result, properties, name + kEndpointSuffix, controller, device, PCIPortTypePCIe,
             device->GetBus());
}

void MakePCIeDownstreamPortRef(const PciDevice* device, CmpiResult& result) {
  ReturnPortRef(result, device->GetName() + kEndpointSuffix);  // parent or not: intended
}

void MakePCIEndpointPort(const PciDevice* device, CmpiResult& result, const char** properties) {
  const std::string name = device->GetName();
  const PCIPortType type = EndpointPortType(device);
  ReturnPort(result, properties, name + kEndpointSuffix, name, device, type, device->GetBus());
}

void MakePCIEndpointPortRef(const PciDevice* device, CmpiResult& result) {
  ReturnPortRef(result, device->GetName() + kEndpointSuffix);
}

void MakePCIBridgePorts(const PciDevice* device, CmpiResult& result, std::set<std::string>& seen,
                        const char** properties) {
  OncePerBridge(device, seen, [&](const std::string& name, std::uint8_t subclass) {
    ReturnPort(result, properties, name + kPrimarySuffix, name, device, PrimaryPortType(subclass),
               device->GetBus());
    // The secondary bus, where the cached entry of this port carries the bridge's own (intended).
    ReturnPort(result, properties, name + kSecondarySuffix, name, device,
               SecondaryPortType(subclass), device->GetSecondaryBus());
  });
}

void MakePCIBridgePortsRef(const PciDevice* device, std::set<std::string>& seen,
                           CmpiResult& result) {
  OncePerBridge(device, seen, [&](const std::string& name, std::uint8_t /*subclass*/) {
    ReturnPortRef(result, name + kPrimarySuffix);
    ReturnPortRef(result, name + kSecondarySuffix);
  });
}

void MakePortsForDevice(const PciDevice* device, CmpiResult& result, std::set<std::string>& seen,
                        const char** properties) {
  if (device == nullptr) return;
  switch (ClassifyPorts(device)) {
    case PortKind::kSwitchDownstream: return MakePCIeDownstreamPort(device, result, properties);
    case PortKind::kSwitchUpstream: return MakePCIeUpstreamPort(device, result, properties);
    case PortKind::kBridge: return MakePCIBridgePorts(device, result, seen, properties);
    case PortKind::kEndpoint: return MakePCIEndpointPort(device, result, properties);
    case PortKind::kNone: return;
  }
}

void MakePortsForDeviceRef(const PciDevice* device, std::set<std::string>& seen,
                           CmpiResult& result) {
  if (device == nullptr) {
    syslog(LOG_CRIT, "ignoring null device");  // the instance form is silent: intended
    return;
  }
  switch (ClassifyPorts(device)) {
    case PortKind::kSwitchDownstream: return MakePCIeDownstreamPortRef(device, result);
    case PortKind::kSwitchUpstream: return MakePCIeUpstreamPortRef(device, result);
    case PortKind::kBridge: return MakePCIBridgePortsRef(device, seen, result);
    case PortKind::kEndpoint: return MakePCIEndpointPortRef(device, result);
    case PortKind::kNone: return;
  }
}

void PortList(CmpiResult& result, const char** properties) {
  auto emit = InstanceEmitter(result, properties);
  for (const PortEntry& entry : GetPortsCache()) emit(entry.device);
}

void PortListRef(CmpiResult& result) {
  auto emit = PathEmitter(result);
  for (const PortEntry& entry : GetPortsCache()) emit(entry.device);
}

void ListPorts(const CmpiObjectPath& path, const char** properties, CmpiResult& result) {
  ForHostedPort(path, InstanceEmitter(result, properties));
}

void ListPortsRef(const CmpiObjectPath& path, CmpiResult& result) {
  ForHostedPort(path, PathEmitter(result));
}

void ListBridgePorts(const CmpiObjectPath& path, const char** properties, CmpiResult& result) {
  ForEachBridgePort(path, InstanceEmitter(result, properties));
}

void ListBridgePortsRef(const CmpiObjectPath& path, CmpiResult& result) {
  ForEachBridgePort(path, PathEmitter(result));
}

void ListSwitchPorts(const CmpiObjectPath& path, const char** properties, CmpiResult& result) {
  ForEachSwitchPort("ListSwitchPorts", path, InstanceEmitter(result, properties));
}

void ListSwitchPortsRef(const CmpiObjectPath& path, CmpiResult& result) {
  ForEachSwitchPort("ListSwitchPortsRef", path, PathEmitter(result));
}

class PCIPort : virtual public ostInt::CmpiInstanceMI {
 public:
  PCIPort(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    PortListRef(result);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    PortList(result, properties);
    result.returnDone();
    return CMPI_RC_OK;
  }

  // Returns all ports of the device that the named port belongs to: both of a bridge's (intended).
  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    const std::string name = DeviceIdOf(path);
    if (name.empty()) return CMPI_RC_ERR_NOT_FOUND;
    const PciDevice* device = nullptr;
    if (LookupPort(name, device)) InstanceEmitter(result, properties)(device);
    result.returnDone();
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_INSTANCE_PROVIDER(PCIPort);
