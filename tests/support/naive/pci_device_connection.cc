// "Ostrel_PCIDeviceConnection", as naive_providers.h has it.

#include <optional>
#include <set>
#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::ObjectPath;

Providers::Connection Providers::ConnectionOfDevice(const fake::Device& device) {
  const std::string parent = AskParentName(device).value_or("");
  if (parent.empty()) return {};
  if (!topology().port_names.contains(parent)) return {};
  const Port* parent_port = FindPort(parent);
  const std::string id = model_.Ask("GetName", device, device.name);
  const std::optional<Position> connected = model_.FindConnectedPort(id);
  if (!connected) return {};
  return {{parent_port->name, topology().ports[*connected].name}};
}

// The first port of the device that hosts the asked one, and the asked one; null where either is
// missing.
const Port* Providers::PortAbove(const ObjectPath& path, const Port** asked) {
  *asked = FindPort(ReadText(path, "DeviceID"));
  if (*asked == nullptr) return nullptr;
  const std::string name = model_.PortOfDevice((*asked)->parent);
  if (name.empty() || !topology().port_names.contains(name)) return nullptr;
  return FindPort(name);
}

Providers::Connection Providers::ConnectionOfPort(const ObjectPath& path) {
  const Port* asked = nullptr;
  const Port* parent_port = PortAbove(path, &asked);
  if (parent_port == nullptr) return {};
  const fake::Device& device = DeviceOf(*asked);
  const std::string id = model_.Ask("GetName", device, device.name);
  const std::optional<Position> connected = model_.FindConnectedPort(id);
  if (!connected) return {};
  return {{parent_port->name, topology().ports[*connected].name}};
}

void Providers::ReturnConnection(const Connection& connection, const PropertyList& properties) {
  const ObjectPath path = AssociationPath(kConnection, "Antecedent", PortPath(connection->first),
                                          "Dependent", PortPath(connection->second));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnConnectionRef(const Connection& connection) {
  ReturnPath(AssociationPath(kConnection, "Antecedent", PortPath(connection->first), "Dependent",
                             PortPath(connection->second)));
}

void Providers::ConnectionEnumInstanceNames() {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const Connection connection = ConnectionOfDevice(DeviceAt(i));
    if (connection) ReturnConnectionRef(connection);
  }
  ReturnDone();
}

void Providers::ConnectionEnumInstances(const PropertyList& properties) {
  for (Position i = 0; i < DeviceCount(); ++i) {
    const Connection connection = ConnectionOfDevice(DeviceAt(i));
    if (connection) ReturnConnection(connection, properties);
  }
  ReturnDone();
}

void Providers::ConnectionGetInstance(const ObjectPath& path, const PropertyList& properties) {
  Log(kDebug, "PCIDeviceConnection gi using item '" + Text(path) + "'");
  const std::string dependent = ReadText(ReadReference(path, "Dependent"), "DeviceID");
  const Port* entry = FindPort(dependent);
  if (entry == nullptr) {
    Log(kDebug, "PCIDeviceConnection gi: lookup item '" + dependent + "' not found");
    NotFound();
  }
  const std::string parent = model_.PortOfDevice(entry->parent);
  if (parent.empty()) {
    Log(kDebug, "PCIDeviceConnection gi item " + dependent + " not found");
    NotFound();
  }
  if (!topology().port_names.contains(parent)) {
    Log(kDebug, "PCIDeviceConnection gi no portNames, found using '" + parent + "'");
    NotFound();
  }
  const Port* parent_entry = FindPort(parent);
  if (parent_entry == nullptr) {
    Log(kDebug, "PCIDeviceConnection gi FAILED LookupPortEntry(parentID) = " + parent);
    NotFound();
  }
  const std::string antecedent = ReadText(ReadReference(path, "Antecedent"), "DeviceID");
  const Port* other = FindPort(antecedent);
  if (other == nullptr) {
    Log(kDebug, "PCIDeviceConnection gi FAILED FindConnectedPort(" + antecedent + ")");
    NotFound();
  }
  ReturnConnection({{parent_entry->name, other->name}}, properties);
  ReturnDone();
}

void Providers::ConnectionAssociators(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* asked = nullptr;
    const Port* parent_port = PortAbove(request.path, &asked);
    if (parent_port != nullptr) {
      const fake::Device& above = DeviceOf(*parent_port);
      const std::string id = model_.Ask("GetName", above, above.name);
      const std::optional<Position> connected = model_.FindConnectedPort(id);
      if (connected) {
        std::set<std::string> seen;
        MakePortsForDevice(DeviceOf(topology().ports[*connected]), seen, request.properties);
        ReturnDone();
      }
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::ConnectionAssociatorNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* asked = nullptr;
    const Port* parent_port = PortAbove(request.path, &asked);
    if (parent_port != nullptr) {
      const fake::Device& above = DeviceOf(*parent_port);
      const std::string id = model_.Ask("GetName", above, above.name);
      const std::optional<Position> connected = model_.FindConnectedPort(id);
      if (connected) {
        ReturnPath(PortPath(topology().ports[*connected].name));
        ReturnDone();
      }
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ain ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::ConnectionReferences(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Connection connection = ConnectionOfPort(request.path);
    if (connection) {
      ReturnConnection(connection, request.properties);
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::ConnectionReferenceNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Connection connection = ConnectionOfPort(request.path);
    if (connection) {
      ReturnConnectionRef(connection);
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection rin unsupported class " + Text(request.path));
  }
  ReturnDone();
}

}  // namespace naive
