// "Ostrel_PCIMemberOfCollection", as naive_providers.h has it.

#include <cstddef>
#include <optional>
#include <set>
#include <string>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::ObjectPath;

void Providers::ReturnMember(int bus, const std::string& port_name,
                             const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kMember, "Collection", GroupPath(bus), "Member", PortPath(port_name));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnMemberRef(int bus, const std::string& port_name) {
  ReturnPath(AssociationPath(kMember, "Collection", GroupPath(bus), "Member", PortPath(port_name)));
}

void Providers::MemberEnumInstanceNames() {
  for (const Port& port : topology().ports) {
    ReturnMemberRef(port.bus, port.name);
    if (!port.peer.empty()) ReturnMemberRef(port.bus, port.peer);
  }
  ReturnDone();
}

void Providers::MemberEnumInstances(const PropertyList& properties) {
  for (const Port& port : topology().ports) {
    ReturnMember(port.bus, port.name, properties);
    if (!port.peer.empty()) ReturnMember(port.bus, port.peer, properties);
  }
  ReturnDone();
}

void Providers::MemberGetInstance(const ObjectPath& path, const PropertyList& properties) {
  Log(kDebug, "PCIMemberOfCollection " + Text(path));
  const std::string id = ReadText(ReadReference(path, "Member"), "DeviceID");
  const Port* port = FindPort(id);
  if (port == nullptr) {
    Log(kDebug, "MemberOfCollection gi: lookup item '" + id + "' not found");
    NotFound();
  }
  ReturnMember(port->bus, port->name, properties);
  ReturnDone();
}

// The devices on the bus of a group. Nothing where the group does not parse (done is called then)
// or where nothing is on its bus (done is not called).
std::optional<Positions> Providers::DevicesOfGroup(const ObjectPath& path) {
  const std::optional<int> bus = ParseBusId(path);
  if (!bus) {
    ReturnDone();
    return {};
  }
  const auto found = topology().bus_members.find(*bus);
  if (found == topology().bus_members.end()) return {};
  return found->second;
}

void Providers::MemberAssociators(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* port = FindPort(ReadText(request.path, "DeviceID"));
    if (port != nullptr) {
      ReturnInstance(MakePortGroup(port->bus));  // unfiltered
      ReturnDone();
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      std::set<std::string> seen;
      for (const Position device : *devices) {
        MakePortsForDevice(DeviceAt(device), seen, request.properties);
      }
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::MemberAssociatorNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const Port* port = FindPort(ReadText(request.path, "DeviceID"));
    if (port != nullptr) {
      ReturnPath(GroupPath(port->bus));
      ReturnDone();
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      std::set<std::string> seen;
      for (const Position device : *devices) MakePortsForDeviceRef(DeviceAt(device), seen);
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection ai ignoring " + Text(request.path));
  }
  ReturnDone();
}

void Providers::MemberReferences(const Request& request) {
  if (IsA(request.path, kPort)) {
    const std::string id = ReadText(request.path, "DeviceID");
    const Port* port = FindPort(id);
    if (port != nullptr) {
      ReturnMember(port->bus, port->name, request.properties);
      if (!port->peer.empty()) ReturnMember(port->bus, port->peer, request.properties);
      ReturnDone();
    } else {
      Log(kDebug, "MemberOfCollection ri: lookup item '" + id + "' not found");
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      for (const Position position : *devices) {
        const fake::Device& device = DeviceAt(position);
        const auto found = topology().device_ports.find(model_.Ask("GetName", device, device.name));
        if (found == topology().device_ports.end()) continue;
        const Port& port = topology().ports[found->second];
        ReturnMember(port.bus, port.name, request.properties);
        if (!port.peer.empty()) ReturnMember(port.bus, port.peer, request.properties);
      }
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

void Providers::MemberReferenceNames(const Request& request) {
  if (IsA(request.path, kPort)) {
    const std::string id = ReadText(request.path, "DeviceID");
    const Port* port = FindPort(id);
    if (port != nullptr) {
      ReturnMemberRef(port->bus, port->name);
      if (!port->peer.empty()) ReturnMemberRef(port->bus, port->peer);
      ReturnDone();
    } else {
      Log(kDebug, "MemberOfCollection ri: lookup item '" + id + "' not found");
    }
  } else if (IsA(request.path, kPortGroup)) {
    const std::optional<Positions> devices = DevicesOfGroup(request.path);
    if (devices) {
      for (const Position position : *devices) {
        const fake::Device& device = DeviceAt(position);
        const auto found = topology().device_ports.find(model_.Ask("GetName", device, device.name));
        if (found == topology().device_ports.end()) continue;
        const Port& port = topology().ports[found->second];
        ReturnMemberRef(port.bus, port.name);
        // Not the peer's name, but one made of the last "-sec" in the port's own.
        const std::size_t secondary = port.name.rfind("-sec");
        if (secondary != std::string::npos) {
          ReturnMemberRef(port.bus, port.name.substr(0, secondary) + "-pri");
        }
      }
      ReturnDone();
    }
  } else {
    Log(kDebug, "PCIDeviceConnection reference unsupported class " + Text(request.path));
  }
  ReturnDone();
}

}  // namespace naive
