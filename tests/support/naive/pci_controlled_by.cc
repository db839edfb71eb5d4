// "Ostrel_PCIControlledBy", as naive_providers.h has it.

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/naive/cim.h"
#include "support/naive_providers.h"

namespace naive {

using broker::PropertyList;
using cim::Instance;
using cim::ObjectPath;

Providers::Source Providers::ReadSource(const ObjectPath& path) const {
  Source source;
  try {
    source.id = ReadText(path, "DeviceID");
  } catch (const Status&) {  // no such key, or no text: as if it were empty
  }
  if (source.id.empty()) {
    for (const char* class_name : {kBridge, kSwitch, kDevice, kPort}) {
      if (source.class_name.empty() && IsA(path, class_name)) source.class_name = class_name;
    }
    return source;
  }
  const auto& map =
      HasDash(source.id) ? topology().controlled_by_port : topology().controlled_by_device;
  const auto found = map.find(source.id);
  if (found == map.end()) return source;
  const ControlledBy* record = &topology().controlled_by[found->second];
  (HasDash(source.id) ? source.port_record : source.device_record) = record;
  return source;
}

ObjectPath Providers::ControllerPath(const ControlledBy& record) {
  return DevicePath(DeviceAt(record.device), record.class_name);
}

void Providers::ReturnControlledBy(const ObjectPath& controller, const std::string& port_name,
                                   const PropertyList& properties) {
  const ObjectPath path =
      AssociationPath(kControlledBy, "Antecedent", controller, "Dependent", PortPath(port_name));
  ReturnInstance(Filtered(InstanceFrom(path), properties));
}

void Providers::ReturnControlledByRef(const ObjectPath& controller, const std::string& port_name) {
  ReturnPath(
      AssociationPath(kControlledBy, "Antecedent", controller, "Dependent", PortPath(port_name)));
}

void Providers::ControlledByEnumInstanceNames() {
  for (const ControlledBy& record : topology().controlled_by) {
    ReturnControlledByRef(ControllerPath(record), PortOf(record).name);
  }
  ReturnDone();
}

void Providers::ControlledByEnumInstances(const PropertyList& properties) {
  for (const ControlledBy& record : topology().controlled_by) {
    ReturnControlledBy(ControllerPath(record), PortOf(record).name, properties);
  }
  ReturnDone();
}

void Providers::ControlledByGetInstance(const ObjectPath& path, const PropertyList& properties) {
  Log(kDebug, "GetInstance for " + Text(path));
  const std::string id = ReadText(ReadReference(path, "Dependent"), "DeviceID");
  const Port* entry = FindPort(id);
  if (entry == nullptr) {
    Log(kDebug, "PCIControlledBy gi: lookup item '" + id + "' not found");
    NotFound();
  }
  const std::string parent_id = model_.PortOfDevice(entry->parent);
  const Port* parent = FindPort(parent_id);
  if (parent == nullptr) {
    Log(kDebug, "PCIControlledBy gi FAILED LookupPortEntry(parentID) = " + parent_id);
    NotFound();
  }
  const fake::Device& device = DeviceOf(*parent);
  const std::string class_name = model_.ClassName(device);
  ReturnControlledBy(DevicePath(device, class_name), parent->name, properties);
  ReturnDone();
}

// The functions below serve sources with an empty identifier, or without one: those that need it
// read the key again and fail with the wrapper's status where it is missing.

std::vector<std::string> Providers::PortsOfBridge(const ObjectPath& path) {
  std::vector<std::string> names;
  const auto found = topology().bridge_ports.find(ReadText(path, "DeviceID"));
  if (found == topology().bridge_ports.end()) return names;
  for (const Position position : found->second) {
    const Port& port = topology().ports[position];
    names.push_back(port.name);
    if (!port.peer.empty()) names.push_back(port.peer);
  }
  return names;
}

std::vector<std::string> Providers::PortsOfSwitch(const ObjectPath& path) {
  std::vector<std::string> names;
  const auto found = topology().switch_ports.find(ReadText(path, "DeviceID"));
  if (found == topology().switch_ports.end()) return names;
  for (const Position position : found->second) names.push_back(topology().ports[position].name);
  return names;
}

std::vector<std::string> Providers::PortsOfDevice(const ObjectPath& path) {
  std::vector<std::string> names;
  const std::string id = ReadText(path, "DeviceID");
  if (model_.PortOfDevice(id).empty()) return names;
  const std::optional<Position> connected = model_.FindConnectedPort(id);
  if (!connected) return names;
  const Port& port = topology().ports[*connected];
  names.push_back(port.name);
  if (!port.peer.empty()) names.push_back(port.peer);
  return names;
}

void Providers::ControlledByAssociators(const Request& request) {
  const Source source = ReadSource(request.path);
  if (source.port_record != nullptr) {
    const ControlledBy& record = *source.port_record;
    Instance instance = InstanceFrom(ControllerPath(record));
    PopulateDeviceDetails(DeviceAt(record.device), instance);
    ReturnInstance(Filtered(instance, request.properties));
  } else if (source.device_record != nullptr) {
    std::set<std::string> seen;
    MakePortsForDevice(DeviceAt(source.device_record->device), seen, request.properties);
  } else if (source.id.empty()) {
    if (source.class_name.empty()) {
      Log(kDebug, "PCIControlledBy ai ignoring " + Text(request.path));
    } else {
      ReadText(request.path, "DeviceID");  // the lists of all four kinds: empty for an empty key
    }
  }
  ReturnDone();
}

void Providers::ControlledByAssociatorNames(const Request& request) {
  const Source source = ReadSource(request.path);
  if (source.port_record != nullptr) {
    ReturnPath(ControllerPath(*source.port_record));
  } else if (source.device_record != nullptr) {
    const Port& port = PortOf(*source.device_record);
    ReturnPath(PortPath(port.name));
    if (!port.peer.empty()) ReturnPath(PortPath(port.peer));
  } else if (source.id.empty()) {
    if (source.class_name.empty()) {
      Log(kDebug, "PCIControlledBy ai ignoring " + Text(request.path));
    } else {
      ReadText(request.path, "DeviceID");  // the lists of all four kinds: empty for an empty key
    }
  }
  ReturnDone();
}

void Providers::ControlledByReferences(const Request& request) {
  const ObjectPath& path = request.path;
  const Source source = ReadSource(path);
  if (source.port_record != nullptr) {
    const ControlledBy& record = *source.port_record;
    ReturnControlledBy(ControllerPath(record), PortOf(record).name, request.properties);
  } else if (source.device_record != nullptr) {
    const ObjectPath controller = ControllerPath(*source.device_record);
    const Port& port = PortOf(*source.device_record);
    ReturnControlledBy(controller, port.name, request.properties);
    if (!port.peer.empty()) ReturnControlledBy(controller, port.peer, request.properties);
  } else if (source.id.empty()) {
    if (source.class_name == kBridge) {
      for (const std::string& port : PortsOfBridge(path)) {
        ReturnControlledBy(path, port, request.properties);
      }
    } else if (source.class_name == kSwitch) {
      for (const std::string& port : PortsOfSwitch(path)) {
        ReturnControlledBy(path, port, request.properties);
      }
    } else if (source.class_name == kDevice) {
      for (const std::string& port : PortsOfDevice(path)) {
        ReturnControlledBy(path, port, request.properties);
      }
    } else if (source.class_name == kPort) {
      ReadText(path, "DeviceID");  // no port has an empty name
    } else {
      Log(kDebug, "PCIControlledBy reference unsupported class " + Text(path));
    }
  }
  ReturnDone();
}

void Providers::ControlledByReferenceNames(const Request& request) {
  const ObjectPath& path = request.path;
  const Source source = ReadSource(path);
  if (source.port_record != nullptr) {
    const ControlledBy& record = *source.port_record;
    ReturnControlledByRef(ControllerPath(record), PortOf(record).name);
  } else if (source.device_record != nullptr) {
    const ObjectPath controller = ControllerPath(*source.device_record);
    const Port& port = PortOf(*source.device_record);
    ReturnControlledByRef(controller, port.name);
    if (!port.peer.empty()) ReturnControlledByRef(controller, port.peer);
  } else if (source.id.empty()) {
    if (source.class_name == kBridge) {
      for (const std::string& port : PortsOfBridge(path)) ReturnControlledByRef(path, port);
    } else if (source.class_name == kSwitch) {
      for (const std::string& port : PortsOfSwitch(path)) ReturnControlledByRef(path, port);
    } else if (source.class_name == kDevice) {
      for (const std::string& port : PortsOfDevice(path)) ReturnControlledByRef(path, port);
    } else if (source.class_name == kPort) {
      ReadText(path, "DeviceID");  // no port has an empty name
      Log(kDebug, "PCIControlledBy rin: lookup item '' not found");
    } else {
      Log(kDebug, "PCIControlledBy reference unsupported class " + Text(path));
    }
  }
  ReturnDone();
}

}  // namespace naive
