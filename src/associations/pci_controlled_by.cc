#include "associations/pci_controlled_by.h"

#include <syslog.h>

#include <set>
#include <string>

#include "associations/source_dispatch.h"
#include "cache/classification.h"
#include "cache/controlled_by.h"
#include "cache/port_entry.h"
#include "cache/topology_cache.h"
#include "elements/pci_device.h"
#include "elements/pci_port.h"
#include "frame/header_constants.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

// What the operations do with an association: return its instance, or its path.
auto InstanceEmitter(CmpiResult& result, const char** properties) {
  return [&result, properties](const CmpiObjectPath& antecedent, const CmpiObjectPath& dependent) {
    result.returnData(MakePCIControlledBy(antecedent, dependent, properties));
  };
}
auto PathEmitter(CmpiResult& result) {
  return [&result](const CmpiObjectPath& antecedent, const CmpiObjectPath& dependent) {
    result.returnData(MakePCIControlledByRef(antecedent, dependent));
  };
}

CmpiObjectPath ControllerOf(const ControlledByRecord& record) {
  return MakeElementRef(record.device, record.className);
}

// Calls emit(controller, port) for each record of the index.
template <typename Emit>
void ForEachRecord(Emit emit) {
  for (const ControlledByRecord& record : GetControlledByCache()) {
    const ostInt::CmpiElementScope scope;
    emit(ControllerOf(record), MakePCIPortRef(record.entry->portName));
  }
}

// Calls visit(port path) for a port and, if it has one, its peer.
template <typename Visit>
void ForPortAndPeer(const PortEntry& entry, Visit visit) {
  visit(MakePCIPortRef(entry.portName));
  if (!entry.peerName.empty()) visit(MakePCIPortRef(entry.peerName));
}

// What a request's source path names. A key that is missing, no string or refused by the object
// manager counts as empty.
std::string SourceIdentifier(const CmpiObjectPath& source) {
  try {
    return DeviceIdOf(source);
  } catch (const CmpiStatus&) {
    return {};
  }
}

// Answers a request by what its source path names: on_port(record) for a port, which has a "-" in
// its name, on_device(record) for a device, nothing when the index knows neither; without an
// identifier by the class of the path. Names decide before classes do (intended).
template <typename OnPort, typename OnDevice, typename... Actions>
void AnswerSource(const CmpiObjectPath& source, const char* unserved, OnPort on_port,
                  OnDevice on_device, const SourceRule<Actions>&... by_class) {
  const std::string identifier = SourceIdentifier(source);
  if (identifier.empty()) {
    DispatchOnSource(source, unserved, by_class...);
  } else if (identifier.find('-') != std::string::npos) {
    if (const ControlledByRecord* record = LookupControlledByPort(identifier)) on_port(*record);
  } else {
    if (const ControlledByRecord* record = LookupControlledByDevice(identifier)) on_device(*record);
  }
}

// references and referenceNames but for the classes: the record's own port, and for a device its
// peer too.
template <typename Emit, typename... Actions>
void AnswerReferences(const CmpiObjectPath& source, Emit emit,
                      const SourceRule<Actions>&... by_class) {
  AnswerSource(
      source, "PCIControlledBy reference unsupported class",
      [&](const ControlledByRecord& record) {
        emit(ControllerOf(record), MakePCIPortRef(record.entry->portName));
      },
      [&](const ControlledByRecord& record) {
        const CmpiObjectPath controller = ControllerOf(record);
        ForPortAndPeer(*record.entry, [&](const CmpiObjectPath& port) { emit(controller, port); });
      },
      by_class...);
}

CmpiInstance MakeController(const HostCtl::Hardware::PciDevice* device, const CmpiObjectPath& path,
                            const char** properties) {
  CmpiInstance instance(path);
  PopulateDeviceDetails(device, instance);
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

template <typename Emit>
void ForBridge(const CmpiObjectPath& bridge, Emit emit) {
  for (const PortEntry* entry : LookupBridgePorts(DeviceIdOf(bridge))) {
    const ostInt::CmpiElementScope scope;
    ForPortAndPeer(*entry, [&](const CmpiObjectPath& port) { emit(bridge, port); });
  }
}

template <typename Emit>
void ForSwitch(const CmpiObjectPath& switch_path, Emit emit) {
  for (const PortEntry* entry : LookupSwitchPorts(DeviceIdOf(switch_path))) {
    const ostInt::CmpiElementScope scope;
    emit(switch_path, MakePCIPortRef(entry->portName));  // peers are left out: intended
  }
}

template <typename Emit>
void ForDevice(const CmpiObjectPath& device, Emit emit) {
  const std::string identifier = DeviceIdOf(device);
  if (BuildPortFromDevice(identifier).empty()) return;
  const PortEntry& connected = FindConnectedPort(identifier);
  if (connected.device == nullptr) return;
  ForPortAndPeer(connected, [&](const CmpiObjectPath& port) { emit(device, port); });
}

// How a search for the controller of a port ends.
enum class Search { kFound, kNoPort, kNoDevice, kNoParent };

// Calls emit(controller, port) with the device that hosts the named port and that device's first
// port. `parent` receives the name of that port as far as the search came.
template <typename Emit>
Search ForController(const std::string& port_name, std::string& parent, Emit emit) {
  const PortEntry& entry = LookupPortEntry(port_name);
  if (entry.portName.empty()) return Search::kNoPort;
  parent = BuildPortFromDevice(entry.parentName);
  const PortEntry& parent_entry = LookupPortEntry(parent);
  if (parent_entry.device == nullptr) return Search::kNoDevice;
  if (parent.empty()) return Search::kNoParent;
  const char* class_name = SetClassName(parent_entry.device);
  emit(MakeElementRef(parent_entry.device, class_name), MakePCIPortRef(parent_entry.portName));
  return Search::kFound;
}

// Logs how a search failed; `lookup_miss` is the text for an unknown port.
void LogSearch(Search outcome, const char* lookup_miss, const std::string& port_name,
               const std::string& parent) {
  switch (outcome) {
    case Search::kFound: return;
    case Search::kNoPort: return syslog(LOG_DEBUG, lookup_miss, port_name.c_str());
    case Search::kNoDevice:
      return syslog(LOG_DEBUG, "PCIControlledBy gi FAILED LookupPortEntry(parentID) = %s",
                    parent.c_str());
    case Search::kNoParent:
      return syslog(LOG_DEBUG, "PCIControlledBy gi item %s not found", port_name.c_str());
  }
}

// Calls emit(device, path) with the device of the port and its path, whose "CreationClassName" is
// the plain device's whatever the class (intended); logs an unknown port as `caller`.
template <typename Emit>
void ForControllerOf(const char* caller, const CmpiObjectPath& port, Emit emit) {
  const std::string identifier = DeviceIdOf(port);
  if (identifier.empty()) return;
  const PortEntry& entry = LookupPortEntry(identifier);
  if (entry.portName.empty()) {
    syslog(LOG_DEBUG, "%s cop=%s not found", caller, identifier.c_str());
    return;
  }
  CmpiObjectPath path(kNameSpace, SetClassName(entry.device));
  PopulateDevicePath(entry.device, path);
  emit(entry.device, path);
}

}  // namespace

CmpiObjectPath MakePCIControlledByRef(const CmpiObjectPath& antecedent,
                                      const CmpiObjectPath& dependent) {
  CmpiObjectPath path(kNameSpace, "Ostrel_PCIControlledBy");
  path.setKey("Antecedent", antecedent);
  path.setKey("Dependent", dependent);
  return path;
}

CmpiInstance MakePCIControlledBy(const CmpiObjectPath& antecedent, const CmpiObjectPath& dependent,
                                 const char** properties) {
  CmpiInstance instance(MakePCIControlledByRef(antecedent, dependent));
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

void GetCBInstancesByBridge(CmpiResult& result, const CmpiObjectPath& bridge,
                            const char** properties) {
  ForBridge(bridge, InstanceEmitter(result, properties));
}

void GetCBInstancesByBridgeRef(CmpiResult& result, const CmpiObjectPath& bridge) {
  ForBridge(bridge, PathEmitter(result));
}

void GetCBInstancesBySwitch(CmpiResult& result, const CmpiObjectPath& switch_path,
                            const char** properties) {
  ForSwitch(switch_path, InstanceEmitter(result, properties));
}

void GetCBInstancesBySwitchRef(CmpiResult& result, const CmpiObjectPath& switch_path) {
  ForSwitch(switch_path, PathEmitter(result));
}

void GetCBInstanceByDevice(CmpiResult& result, const CmpiObjectPath& device,
                           const char** properties) {
  ForDevice(device, InstanceEmitter(result, properties));
}

void GetCBInstanceByDeviceRef(CmpiResult& result, const CmpiObjectPath& device) {
  ForDevice(device, PathEmitter(result));
}

void GetCBInstanceByPort(CmpiResult& result, const CmpiObjectPath& port, const char** properties) {
  std::string parent;
  ForController(DeviceIdOf(port), parent, InstanceEmitter(result, properties));
}

void GetCBInstanceByPortRef(CmpiResult& result, const CmpiObjectPath& port) {
  const std::string identifier = DeviceIdOf(port);
  std::string parent;
  const Search outcome = ForController(identifier, parent, PathEmitter(result));
  LogSearch(outcome, "PCIControlledBy rin: lookup item '%s' not found", identifier, parent);
}

void ListControllers(const CmpiObjectPath& port, const char** properties, CmpiResult& result) {
  ForControllerOf("ListControllers", port, [&](const auto* device, const CmpiObjectPath& path) {
    result.returnData(MakeController(device, path, properties));
  });
}

void ListControllersRef(const CmpiObjectPath& port, CmpiResult& result) {
  ForControllerOf("ListControllersRef", port,
                  [&](const auto* /*device*/, const auto& path) { result.returnData(path); });
}

CmpiStatus GetInstance(const CmpiContext& /*context*/, CmpiResult& result,
                       const CmpiObjectPath& path, const char** properties) {
  syslog(LOG_DEBUG, "GetInstance for %s", path.toString().charPtr());
  const std::string port_name = DeviceIdOf(KeyRef(path, "Dependent"));
  std::string parent;
  const Search outcome = ForController(port_name, parent, InstanceEmitter(result, properties));
  LogSearch(outcome, "PCIControlledBy gi: lookup item '%s' not found", port_name, parent);
  if (outcome != Search::kFound) return CMPI_RC_ERR_NOT_FOUND;
  result.returnDone();
  return CMPI_RC_OK;
}

class PCIControlledBy : virtual public ostInt::CmpiInstanceMI,
                        virtual public ostInt::CmpiAssociationMI {
 public:
  PCIControlledBy(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    ForEachRecord(PathEmitter(result));
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    ForEachRecord(InstanceEmitter(result, properties));
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override {
    return GetInstance(context, result, path, properties);
  }

  // From a device, associators returns all its ports through the port provider, associatorNames the
  // recorded port and its peer: intended.

  CmpiStatus associators(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char* /*assocClass*/,
                         const char* /*resultClass*/, const char* /*role*/,
                         const char* /*resultRole*/, const char** properties) override {
    AnswerSource(
        path, "PCIControlledBy ai ignoring",
        [&](const ControlledByRecord& record) {
          result.returnData(MakeController(record.entry->device, ControllerOf(record), properties));
        },
        [&](const ControlledByRecord& record) {
          std::set<std::string> seen;
          MakePortsForDevice(record.entry->device, result, seen, properties);
        },
        SourceRule{kBridgeClass, [&] { ListBridgePorts(path, properties, result); }},
        SourceRule{kSwitchClass, [&] { ListSwitchPorts(path, properties, result); }},
        SourceRule{kDeviceClass, [&] { ListPorts(path, properties, result); }},
        SourceRule{kPortClass, [&] { ListControllers(path, properties, result); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus associatorNames(const CmpiContext& /*context*/, CmpiResult& result,
                             const CmpiObjectPath& path, const char* /*assocClass*/,
                             const char* /*resultClass*/, const char* /*role*/,
                             const char* /*resultRole*/) override {
    AnswerSource(
        path, "PCIControlledBy ai ignoring",
        [&](const ControlledByRecord& record) { result.returnData(ControllerOf(record)); },
        [&](const ControlledByRecord& record) {
          ForPortAndPeer(*record.entry,
                         [&](const CmpiObjectPath& port) { result.returnData(port); });
        },
        SourceRule{kBridgeClass, [&] { ListBridgePortsRef(path, result); }},
        SourceRule{kSwitchClass, [&] { ListSwitchPortsRef(path, result); }},
        SourceRule{kDeviceClass, [&] { ListPortsRef(path, result); }},
        SourceRule{kPortClass, [&] { ListControllersRef(path, result); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus references(const CmpiContext& /*context*/, CmpiResult& result,
                        const CmpiObjectPath& path, const char* /*resultClass*/,
                        const char* /*role*/, const char** properties) override {
    AnswerReferences(
        path, InstanceEmitter(result, properties),
        SourceRule{kBridgeClass, [&] { GetCBInstancesByBridge(result, path, properties); }},
        SourceRule{kSwitchClass, [&] { GetCBInstancesBySwitch(result, path, properties); }},
        SourceRule{kDeviceClass, [&] { GetCBInstanceByDevice(result, path, properties); }},
        SourceRule{kPortClass, [&] { GetCBInstanceByPort(result, path, properties); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus referenceNames(const CmpiContext& /*context*/, CmpiResult& result,
                            const CmpiObjectPath& path, const char* /*resultClass*/,
                            const char* /*role*/) override {
    AnswerReferences(path, PathEmitter(result),
                     SourceRule{kBridgeClass, [&] { GetCBInstancesByBridgeRef(result, path); }},
                     SourceRule{kSwitchClass, [&] { GetCBInstancesBySwitchRef(result, path); }},
                     SourceRule{kDeviceClass, [&] { GetCBInstanceByDeviceRef(result, path); }},
                     SourceRule{kPortClass, [&] { GetCBInstanceByPortRef(result, path); }});
    result.returnDone();
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_ASSOCIATION_PROVIDER(PCIControlledBy);
