// The floor under the providers: what answering an enumeration costs at the very least. A provider
// library written by hand against the C interface, in the manner of C, that makes the CMPI calls of
// the ten classes with the same values, reads from the host what a device's values are fresh reads
// of, and does nothing else: what can be known beforehand (which function is of which kind, which
// ports it has, what is connected, the texts of groups) is known beforehand.
//
// Answers enumerations alone. Every call is taken to succeed. floor_bench holds what it returns
// against what the library returns.
// Thread rule: one thread.

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cache/hostctl.h"
#include "platform/cmpi/cmpi.h"

namespace {

using HostCtl::Hardware::PciDevice;

struct Group {
  std::uint8_t bus;
  std::string identifier;
  std::string name;
};

struct Port {
  const PciDevice* device;
  std::string name;
  std::string peer;
  std::string controller;
  std::uint16_t type;
  std::uint8_t entry_bus;
  std::uint8_t reported_bus;
  const Group* group = nullptr;  // of the entry's bus
};

struct Element {
  const PciDevice* device;
  const char* class_name;
};

struct Connection {
  const PciDevice* device;
  std::string dependent;  // the antecedent is the name of the device's parent
};

// What is known before the first request.
struct Known {
  std::vector<std::unique_ptr<PciDevice>> devices;
  std::vector<const PciDevice*> plain;
  std::vector<const PciDevice*> bridges;
  std::vector<const PciDevice*> switches;
  std::vector<Port> ports;
  std::vector<Element> port_owners;  // of each port
  std::vector<Group> groups;
  std::vector<Connection> connections;
  std::string system_name;
};

const CMPIBroker* broker = nullptr;
Known known;

const char* const kNameSpace = "root/cimv2";
const char* const kSystem = "OMC_UnitaryComputerSystem";

void AddPorts(const PciDevice* device, bool on_switch, bool upstream, bool bridge) {
  const std::string name = device->GetName();
  const std::uint8_t bus = device->GetBus();
  const auto add = [&](const char* suffix, const std::string& controller, std::uint16_t type,
                       std::uint8_t reported, const std::string& peer, const char* owner) {
    known.ports.push_back({device, name + suffix, peer, controller, type, bus, reported});
    known.port_owners.push_back({device, owner});
  };
  if (upstream) {
    add("-up", name, 152, bus, "", "Ostrel_PCIeSwitch");
  } else if (on_switch) {
    add("-ep", device->GetParent()->GetName(), 152, bus, "", "Ostrel_PCIDevice");
  } else if (bridge) {
    if ((device->GetClassCode() & 0xff) != 4) return;
    add("-pri", name, 150, bus, name + "-sec", "Ostrel_PCIBridge");
    add("-sec", name, 150, device->GetSecondaryBus(), name + "-pri", "Ostrel_PCIBridge");
  } else {
    add("-ep", name, device->HasCapability(0x10) ? 152 : 150, bus, "", "Ostrel_PCIDevice");
  }
}

void LearnGroups() {
  std::array<bool, 256> buses{};
  for (const Port& port : known.ports) buses[port.entry_bus] = true;
  for (std::size_t bus = 0; bus < buses.size(); ++bus) {
    if (!buses[bus]) continue;
    const std::string number = std::to_string(bus);
    known.groups.push_back({static_cast<std::uint8_t>(bus), "Ostrel:bus-" + number,
                            "PCI port group with bus number " + number});
  }
  std::array<const Group*, 256> group_of{};
  for (const Group& group : known.groups) group_of[group.bus] = &group;
  for (Port& port : known.ports) port.group = group_of[port.entry_bus];
}

// A device is connected where its parent is called as a port is. On the synthetic host such a
// device is hosted by itself, and its first port is its only one.
void LearnConnections() {
  std::unordered_set<std::string> port_names;
  std::unordered_map<std::string, std::string> first_ports;
  for (const Port& port : known.ports) {
    port_names.insert(port.name);
    first_ports.try_emplace(port.controller, port.name);
  }
  for (const auto& device : known.devices) {
    const std::unique_ptr<PciDevice> parent = device->GetParent();
    if (parent == nullptr || !port_names.contains(parent->GetName())) continue;
    const auto connected = first_ports.find(device->GetName());
    if (connected == first_ports.end()) continue;
    known.connections.push_back({device.get(), connected->second});
  }
}

void Learn() {
  const auto hardware = HostCtl::Host::GetHardwareInfo();
  known.system_name = hardware->GetSystemName();
  for (char& letter : known.system_name) letter = static_cast<char>(std::tolower(letter));
  known.devices = hardware->GetPciInfo()->GetPciDevices();
  for (const auto& owned : known.devices) {
    const PciDevice* device = owned.get();
    const bool express = device->HasCapability(0x10);
    const int type = express ? device->GetPcieDeviceType() : -1;
    const bool on_switch = type == 5 || type == 6;
    const bool bridge = !on_switch && device->GetClassCode() >> 8 == 6;
    if (type == 5) known.switches.push_back(device);
    if (bridge && (device->GetClassCode() & 0xff) == 4) known.bridges.push_back(device);
    if (!on_switch && !bridge) known.plain.push_back(device);
    AddPorts(device, on_switch, type == 5, bridge);
  }
  LearnGroups();
  LearnConnections();
}

// ---------------------------------------------------------------------------------------------
// CMPI calls

CMPIObjectPath* NewPath(const char* class_name) {
  return broker->eft->newObjectPath(broker, kNameSpace, class_name, nullptr);
}

void Key(CMPIObjectPath* path, const char* name, const char* text) {
  path->ft->addKey(path, name, reinterpret_cast<const CMPIValue*>(text), CMPI_chars);
}

void Key(CMPIObjectPath* path, const char* name, CMPIObjectPath* reference) {
  CMPIValue value;
  value.ref = reference;
  path->ft->addKey(path, name, &value, CMPI_ref);
}

void Set(CMPIInstance* instance, const char* name, const char* text) {
  instance->ft->setProperty(instance, name, reinterpret_cast<const CMPIValue*>(text), CMPI_chars);
}

void Set(CMPIInstance* instance, const char* name, std::uint8_t number) {
  CMPIValue value;
  value.uint8 = number;
  instance->ft->setProperty(instance, name, &value, CMPI_uint8);
}

void Set(CMPIInstance* instance, const char* name, std::uint16_t number) {
  CMPIValue value;
  value.uint16 = number;
  instance->ft->setProperty(instance, name, &value, CMPI_uint16);
}

CMPIInstance* NewInstance(const CMPIObjectPath* path) {
  return broker->eft->newInstance(broker, path, nullptr);
}

void Return(const CMPIResult* result, CMPIInstance* instance, const char** properties) {
  instance->ft->setPropertyFilter(instance, properties, nullptr);
  result->ft->returnInstance(result, instance);
}

// ---------------------------------------------------------------------------------------------
// Paths

CMPIObjectPath* ElementPath(const PciDevice* device, const char* class_name) {
  CMPIObjectPath* path = NewPath(class_name);
  Key(path, "SystemCreationClassName", kSystem);
  Key(path, "SystemName", known.system_name.c_str());
  Key(path, "CreationClassName", class_name);
  Key(path, "DeviceID", device->GetName().c_str());
  return path;
}

CMPIObjectPath* PortPath(const char* name) {
  CMPIObjectPath* path = NewPath("Ostrel_PCIPort");
  Key(path, "SystemName", known.system_name.c_str());
  Key(path, "CreationClassName", "Ostrel_PCIPort");
  Key(path, "SystemCreationClassName", kSystem);
  Key(path, "DeviceID", name);
  return path;
}

CMPIObjectPath* SystemPath() {
  CMPIObjectPath* path = NewPath(kSystem);
  Key(path, "CreationClassName", kSystem);
  Key(path, "Name", known.system_name.c_str());
  return path;
}

CMPIObjectPath* GroupPath(const Group& group) {
  CMPIObjectPath* path = NewPath("Ostrel_PCIPortGroup");
  Key(path, "InstanceID", group.identifier.c_str());
  return path;
}

CMPIObjectPath* AssociationPath(const char* class_name, const char* left_role, CMPIObjectPath* left,
                                const char* right_role, CMPIObjectPath* right) {
  CMPIObjectPath* path = NewPath(class_name);
  Key(path, left_role, left);
  Key(path, right_role, right);
  return path;
}

// ---------------------------------------------------------------------------------------------
// Instances

void SetDeviceProperties(const PciDevice* device, CMPIInstance* instance) {
  std::string element_name = device->GetVendorName();
  element_name += ' ';
  element_name += device->GetDeviceName();
  element_name += " #";
  const std::uint8_t number = device->GetDeviceNumber();
  if (number >= 10) element_name += static_cast<char>('0' + number / 10);
  element_name += static_cast<char>('0' + number % 10);
  const std::unique_ptr<PciDevice> parent = device->GetParent();
  const std::string parent_name = parent == nullptr ? std::string() : parent->GetName();
  const std::vector<std::uint32_t> codes = device->GetCapabilities();
  CMPIArray* capabilities =
      broker->eft->newArray(broker, static_cast<CMPICount>(codes.size()), CMPI_uint16, nullptr);
  for (std::size_t index = 0; index < codes.size(); ++index) {
    CMPIValue value;
    value.uint16 = static_cast<std::uint16_t>(codes[index]);
    capabilities->ft->setElementAt(capabilities, static_cast<CMPICount>(index), &value,
                                   CMPI_uint16);
  }
  const std::uint16_t class_code = device->GetClassCode();
  const std::uint16_t zero = 0;
  Set(instance, "BusNumber", device->GetBus());
  Set(instance, "DeviceNumber", device->GetDeviceNumber());
  Set(instance, "FunctionNumber", device->GetFunction());
  Set(instance, "ElementName", element_name.c_str());
  Set(instance, "PrimaryStatus", zero);
  Set(instance, "HealthState", zero);
  Set(instance, "EnabledState", zero);
  Set(instance, "RequestedState", zero);
  CMPIValue array;
  array.array = capabilities;
  instance->ft->setProperty(instance, "Capabilities", &array, CMPI_uint16 | CMPI_ARRAY);
  Set(instance, "ClassCode", static_cast<std::uint8_t>(class_code >> 8));
  Set(instance, "SubsystemID", device->GetSubsystemId());
  Set(instance, "SubsystemVendorID", device->GetSubsystemVendorId());
  Set(instance, "PCIDeviceID", device->GetDeviceId());
  Set(instance, "VendorID", device->GetVendorId());
  Set(instance, "RevisionID", device->GetRevision());
  Set(instance, "SubClassCode", static_cast<std::uint8_t>(class_code & 0xff));
  Set(instance, "SegmentNumber", device->GetSegment());
  Set(instance, "ParentDeviceID", parent_name.c_str());
  const std::int32_t slot = device->GetPhysicalSlot();
  if (slot != -1) Set(instance, "PhysicalSlot", static_cast<std::uint8_t>(slot));
}

void SetPortProperties(const Port& port, CMPIInstance* instance) {
  std::string element_name = port.device->GetVendorName();
  element_name += ' ';
  element_name += port.device->GetDeviceName();
  Set(instance, "PortType", port.type);
  Set(instance, "ElementName", element_name.c_str());
  Set(instance, "ControllerDeviceID", port.controller.c_str());
  Set(instance, "BusNumber", port.reported_bus);
  Set(instance, "DeviceNumber", port.device->GetDeviceNumber());
  Set(instance, "FunctionNumber", port.device->GetFunction());
  Set(instance, "PCIDeviceID", port.device->GetDeviceId());
  Set(instance, "VendorID", port.device->GetVendorId());
  Set(instance, "RevisionID", port.device->GetRevision());
  const std::uint16_t class_code = port.device->GetClassCode();
  Set(instance, "ClassCode", static_cast<std::uint8_t>(class_code >> 8));
  Set(instance, "SubClassCode", static_cast<std::uint8_t>(class_code & 0xff));
}

std::uint16_t CountChildren(const PciDevice* device) {
  const std::string name = device->GetName();
  std::uint16_t count = 0;
  for (const auto& candidate : known.devices) {
    const std::unique_ptr<PciDevice> parent = candidate->GetParent();
    if (parent != nullptr && parent->GetName() == name) ++count;
  }
  return count;
}

// ---------------------------------------------------------------------------------------------
// Walks: each calls give(path, fill) per element, where fill(instance) sets what only instances
// have.

template <typename Give>
void Elements(const std::vector<const PciDevice*>& devices, const char* class_name, Give give) {
  for (const PciDevice* device : devices) {
    CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
    give(ElementPath(device, class_name), [&](CMPIInstance* instance) {
      SetDeviceProperties(device, instance);
      if (devices.data() == known.bridges.data()) {
        Set(instance, "BridgeType", static_cast<std::uint16_t>(device->GetClassCode() & 0xff));
        Set(instance, "SecondaryBusNumber", device->GetSecondaryBus());
      } else if (devices.data() == known.switches.data()) {
        Set(instance, "NumberOfPorts", CountChildren(device));
      }
    });
    broker->mft->release(broker, mark);
  }
}

const auto kNothing = [](CMPIInstance*) {};

struct DeviceWalk {
  template <typename Give>
  static void Run(Give give) {
    Elements(known.plain, "Ostrel_PCIDevice", give);
  }
};

struct BridgeWalk {
  template <typename Give>
  static void Run(Give give) {
    Elements(known.bridges, "Ostrel_PCIBridge", give);
  }
};

struct SwitchWalk {
  template <typename Give>
  static void Run(Give give) {
    Elements(known.switches, "Ostrel_PCIeSwitch", give);
  }
};

struct PortWalk {
  template <typename Give>
  static void Run(Give give) {
    for (const Port& port : known.ports) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      give(PortPath(port.name.c_str()),
           [&](CMPIInstance* instance) { SetPortProperties(port, instance); });
      broker->mft->release(broker, mark);
    }
  }
};

struct GroupWalk {
  template <typename Give>
  static void Run(Give give) {
    for (const Group& group : known.groups) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      give(GroupPath(group), [&](CMPIInstance* instance) {
        Set(instance, "BusNumber", group.bus);
        Set(instance, "ElementName", group.name.c_str());
      });
      broker->mft->release(broker, mark);
    }
  }
};

struct SystemDeviceWalk {
  template <typename Give>
  static void Run(Give give) {
    CMPIObjectPath* system = SystemPath();
    const auto give_part = [&](CMPIObjectPath* part) {
      give(AssociationPath("Ostrel_PCISystemDevice", "GroupComponent", system, "PartComponent",
                           part),
           kNothing);
    };
    for (const PciDevice* device : known.plain) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      give_part(ElementPath(device, "Ostrel_PCIDevice"));
      broker->mft->release(broker, mark);
    }
    for (const Port& port : known.ports) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      give_part(PortPath(port.name.c_str()));
      broker->mft->release(broker, mark);
    }
  }
};

struct ControlledByWalk {
  template <typename Give>
  static void Run(Give give) {
    for (std::size_t index = 0; index < known.ports.size(); ++index) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      const Element& owner = known.port_owners[index];
      give(AssociationPath("Ostrel_PCIControlledBy", "Antecedent",
                           ElementPath(owner.device, owner.class_name), "Dependent",
                           PortPath(known.ports[index].name.c_str())),
           kNothing);
      broker->mft->release(broker, mark);
    }
  }
};

struct DeviceConnectionWalk {
  template <typename Give>
  static void Run(Give give) {
    for (const Connection& connection : known.connections) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      const std::string parent = connection.device->GetParent()->GetName();
      CMPIObjectPath* antecedent = PortPath(parent.c_str());
      give(AssociationPath("Ostrel_PCIDeviceConnection", "Antecedent", antecedent, "Dependent",
                           PortPath(connection.dependent.c_str())),
           kNothing);
      broker->mft->release(broker, mark);
    }
  }
};

struct HostedCollectionWalk {
  template <typename Give>
  static void Run(Give give) {
    CMPIObjectPath* system = SystemPath();
    for (const Group& group : known.groups) {
      CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
      give(AssociationPath("Ostrel_PCIHostedCollection", "Antecedent", system, "Dependent",
                           GroupPath(group)),
           kNothing);
      broker->mft->release(broker, mark);
    }
  }
};

struct MemberOfCollectionWalk {
  template <typename Give>
  static void Run(Give give) {
    for (const Port& port : known.ports) {
      const Group& group = *port.group;
      for (const std::string* name : {&port.name, &port.peer}) {
        if (name->empty()) continue;
        CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
        give(AssociationPath("Ostrel_PCIMemberOfCollection", "Collection", GroupPath(group),
                             "Member", PortPath(name->c_str())),
             kNothing);
        broker->mft->release(broker, mark);
      }
    }
  }
};

// ---------------------------------------------------------------------------------------------
// Providers

constexpr CMPIStatus kOk{CMPI_RC_OK, nullptr};

CMPIStatus Cleanup(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                   CMPIBoolean /*terminating*/) {
  return kOk;
}

template <typename Walk>
CMPIStatus EnumerateNames(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                          const CMPIResult* result, const CMPIObjectPath* /*path*/) {
  Walk::Run([&](CMPIObjectPath* path, const auto& /*fill*/) {
    result->ft->returnObjectPath(result, path);
  });
  result->ft->returnDone(result);
  return kOk;
}

template <typename Walk>
CMPIStatus EnumerateInstances(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                              const CMPIResult* result, const CMPIObjectPath* /*path*/,
                              const char** properties) {
  Walk::Run([&](CMPIObjectPath* path, const auto& fill) {
    CMPIInstance* instance = NewInstance(path);
    fill(instance);
    Return(result, instance, properties);
  });
  result->ft->returnDone(result);
  return kOk;
}

template <typename Walk>
CMPIInstanceMI* Provider(const CMPIBroker* object_manager) {
  static CMPIInstanceMIFT table{CMPIVersion200,
                                CMPIVersion200,
                                "floor",
                                Cleanup,
                                EnumerateNames<Walk>,
                                EnumerateInstances<Walk>,
                                nullptr,
                                nullptr,
                                nullptr,
                                nullptr,
                                nullptr};
  static CMPIInstanceMI record{nullptr, &table};
  broker = object_manager;
  if (known.devices.empty()) Learn();
  return &record;
}

}  // namespace

#define FLOOR_PROVIDER(Class, Walk)                                                    \
  extern "C" __attribute__((visibility("default")))                                    \
  CMPIInstanceMI* Ostrel_##Class##_Create_InstanceMI(const CMPIBroker* object_manager, \
                                                     const CMPIContext* /*context*/) { \
    return Provider<Walk>(object_manager);                                             \
  }                                                                                    \
  static_assert(true)

FLOOR_PROVIDER(PCIDevice, DeviceWalk);
FLOOR_PROVIDER(PCIBridge, BridgeWalk);
FLOOR_PROVIDER(PCIeSwitch, SwitchWalk);
FLOOR_PROVIDER(PCIPort, PortWalk);
FLOOR_PROVIDER(PCIPortGroup, GroupWalk);
FLOOR_PROVIDER(PCISystemDevice, SystemDeviceWalk);
FLOOR_PROVIDER(PCIDeviceConnection, DeviceConnectionWalk);
FLOOR_PROVIDER(PCIControlledBy, ControlledByWalk);
FLOOR_PROVIDER(PCIHostedCollection, HostedCollectionWalk);
FLOOR_PROVIDER(PCIMemberOfCollection, MemberOfCollectionWalk);
