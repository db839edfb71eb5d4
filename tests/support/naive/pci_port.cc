// "Ostrel_PCIPort", as naive_providers.h has it.

#include <optional>
#include <set>
#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

Instance Providers::MakePort(const PropertyList& properties, const std::string& port_name,
                             const std::string& controller, const fake::Device& device,
                             int port_type, int bus) {
  Instance instance = InstanceFrom(PortPath(port_name));
  Set(instance, "PortType", Uint16(port_type));
  const std::string vendor = model_.Ask("GetVendorName", device, device.vendor_name);
  const std::string name = model_.Ask("GetDeviceName", device, device.device_name);
  Set(instance, "ElementName", vendor + " " + name);
  Set(instance, "ControllerDeviceID", controller);
  Set(instance, "BusNumber", Uint8(bus));
  Set(instance, "DeviceNumber", Uint8(model_.Ask("GetDeviceNumber", device, device.number)));
  Set(instance, "FunctionNumber", Uint8(model_.Ask("GetFunction", device, device.function)));
  Set(instance, "PCIDeviceID", Uint16(model_.Ask("GetDeviceId", device, device.device_id)));
  Set(instance, "VendorID", Uint16(model_.Ask("GetVendorId", device, device.vendor_id)));
  Set(instance, "RevisionID", Uint8(model_.Ask("GetRevision", device, device.revision)));
  const int class_code = model_.Ask("GetClassCode", device, device.class_code);
  Set(instance, "ClassCode", Uint8(class_code / 256));
  Set(instance, "SubClassCode", Uint8(class_code % 256));
  return Filtered(instance, properties);
}

void Providers::MakeUpstreamPort(const fake::Device& device, const PropertyList& properties) {
  const std::string id = model_.Ask("GetName", device, device.name);
  const int bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-up", id, device, 152, bus));
}

void Providers::MakeDownstreamPort(const fake::Device& device, const PropertyList& properties) {
  const std::optional<std::string> parent = model_.Ask("GetParent", device, device.parent);
  if (!parent) return;
  const std::string id = model_.Ask("GetName", device, device.name);
  const std::string controller = AskNameOfParent(*parent);
  const int bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-ep", controller, device, 152, bus));
}

void Providers::MakeEndpointPort(const fake::Device& device, const PropertyList& properties) {
  const std::string id = model_.Ask("GetName", device, device.name);
  int port_type = 150;
  if (model_.Ask("HasCapability", device, device.capability_ids).contains(0x10)) {
    port_type = 152;
  } else if (model_.Ask("HasCapability", device, device.capability_ids).contains(0x07)) {
    port_type = 151;
  }
  const int bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-ep", id, device, port_type, bus));
}

void Providers::MakeBridgePorts(const fake::Device& device, std::set<std::string>& seen,
                                const PropertyList& properties) {
  const int subclass = model_.Ask("GetClassCode", device, device.class_code) % 256;
  if (subclass != 0x04 && subclass != 0x0a && subclass != 0x0b) return;
  const std::string id = model_.Ask("GetName", device, device.name);
  if (seen.contains(id)) return;
  seen.insert(id);
  int primary_type = 150;
  int secondary_type = 150;
  if (subclass == 0x0a) secondary_type = 152;
  if (subclass == 0x0b) primary_type = 152;
  const int primary_bus = model_.Ask("GetBus", device, device.bus);
  ReturnInstance(MakePort(properties, id + "-pri", id, device, primary_type, primary_bus));
  const int secondary_bus = model_.Ask("GetSecondaryBus", device, device.secondary_bus);
  ReturnInstance(MakePort(properties, id + "-sec", id, device, secondary_type, secondary_bus));
}

void Providers::MakeBridgePortsRef(const fake::Device& device, std::set<std::string>& seen) {
  const int subclass = model_.Ask("GetClassCode", device, device.class_code) % 256;
  if (subclass != 0x04 && subclass != 0x0a && subclass != 0x0b) return;
  const std::string id = model_.Ask("GetName", device, device.name);
  if (seen.contains(id)) return;
  seen.insert(id);
  ReturnPath(PortPath(id + "-pri"));
  ReturnPath(PortPath(id + "-sec"));
}

Providers::PortKind Providers::KindOf(const fake::Device& device) {
  if (model_.IsPortOnSwitch(device) && !model_.IsUpstreamPortOnSwitch(device)) {
    return PortKind::kDownstream;
  }
  if (model_.IsPortOnSwitch(device) && model_.IsUpstreamPortOnSwitch(device)) {
    return PortKind::kUpstream;
  }
  if (model_.IsBridge(device)) return PortKind::kBridge;
  if (!model_.IsPortOnSwitch(device)) return PortKind::kEndpoint;
  return PortKind::kNone;
}

void Providers::MakePortsForDevice(const fake::Device& device, std::set<std::string>& seen,
                                   const PropertyList& properties) {
  switch (KindOf(device)) {
    case PortKind::kDownstream: return MakeDownstreamPort(device, properties);
    case PortKind::kUpstream: return MakeUpstreamPort(device, properties);
    case PortKind::kBridge: return MakeBridgePorts(device, seen, properties);
    case PortKind::kEndpoint: return MakeEndpointPort(device, properties);
    case PortKind::kNone: return;
  }
}

void Providers::MakePortsForDeviceRef(const fake::Device& device, std::set<std::string>& seen) {
  switch (KindOf(device)) {
    case PortKind::kDownstream:
      return ReturnPath(PortPath(model_.Ask("GetName", device, device.name) + "-ep"));
    case PortKind::kUpstream:
      return ReturnPath(PortPath(model_.Ask("GetName", device, device.name) + "-up"));
    case PortKind::kBridge: return MakeBridgePortsRef(device, seen);
    case PortKind::kEndpoint:
      return ReturnPath(PortPath(model_.Ask("GetName", device, device.name) + "-ep"));
    case PortKind::kNone: return;
  }
}

void Providers::PortList(const PropertyList& properties) {
  std::set<std::string> seen;
  for (const Port& port : topology().ports) MakePortsForDevice(DeviceOf(port), seen, properties);
}

void Providers::PortListRef() {
  std::set<std::string> seen;
  for (const Port& port : topology().ports) MakePortsForDeviceRef(DeviceOf(port), seen);
}

void Providers::PortEnumInstanceNames() {
  PortListRef();
  ReturnDone();
}

void Providers::PortEnumInstances(const PropertyList& properties) {
  PortList(properties);
  ReturnDone();
}

void Providers::PortGetInstance(const ObjectPath& path, const PropertyList& properties) {
  const std::string id = ReadText(path, "DeviceID");
  if (id.empty()) NotFound();
  const Port* port = FindPort(id);
  if (port != nullptr) {
    std::set<std::string> seen;
    MakePortsForDevice(DeviceOf(*port), seen, properties);
  }
  ReturnDone();
}

}  // namespace naive
