#include "associations/pci_member_of_collection.h"

#include <syslog.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "associations/source_dispatch.h"
#include "cache/controlled_by.h"
#include "cache/port_entry.h"
#include "cache/topology_cache.h"
#include "elements/pci_port.h"
#include "elements/pci_port_group.h"
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

// What the operations do with a port placed in the group of a bus: return the association's
// instance, or its path.
auto InstanceEmitter(CmpiResult& result, const char** properties) {
  return [&result, properties](std::uint8_t bus, const std::string& port_name) {
    const ostInt::CmpiElementScope scope;
    result.returnData(
        MakePCIMemberOfCollection(MakePortGroupRef(bus), MakePCIPortRef(port_name), properties));
  };
}
auto PathEmitter(CmpiResult& result) {
  return [&result](std::uint8_t bus, const std::string& port_name) {
    const ostInt::CmpiElementScope scope;
    result.returnData(
        MakePCIMemberOfCollectionRef(MakePortGroupRef(bus), MakePCIPortRef(port_name)));
  };
}

// Calls emit(bus, port name) for a port and, if it has one, its peer: both in the port's group.
template <typename Emit>
void ForPortAndPeer(const PortEntry& entry, Emit emit) {
  emit(entry.bus, entry.portName);
  if (!entry.peerName.empty()) emit(entry.bus, entry.peerName);
}

template <typename Emit>
void ForEachMember(Emit emit) {
  for (const PortEntry& entry : GetPortsCache()) ForPortAndPeer(entry, emit);
}

// Calls visit(entry) for the port that the path names, then ends the result.
template <typename Visit>
CmpiStatus ForPort(CmpiResult& result, const std::string& identifier, Visit visit) {
  const PortEntry& entry = LookupPortEntry(identifier);
  if (entry.portName.empty()) return CMPI_RC_ERR_NOT_FOUND;
  visit(entry);
  result.returnDone();
  return CMPI_RC_OK;
}

template <typename Emit>
CmpiStatus ForMembershipsOf(CmpiResult& result, const CmpiObjectPath& port, Emit emit) {
  const std::string identifier = DeviceIdOf(port);
  CmpiStatus status =
      ForPort(result, identifier, [&](const PortEntry& entry) { ForPortAndPeer(entry, emit); });
  if (status.rc() == CMPI_RC_ERR_NOT_FOUND) {
    syslog(LOG_DEBUG, "MemberOfCollection ri: lookup item '%s' not found", identifier.c_str());
  }
  return status;
}

// Calls visit(device) for each device on the group's bus, then ends the result. A path that names
// no bus ends it too, a bus without ports does not (intended).
template <typename Visit>
CmpiStatus ForDevicesOfGroup(CmpiResult& result, const CmpiObjectPath& group, Visit visit) {
  std::uint8_t bus = 0;
  if (!ParseBusID(group, bus)) {
    result.returnDone();
    return CMPI_RC_ERR_NOT_FOUND;
  }
  std::vector<const PciDevice*> devices;
  if (!FindPortsInGroup(bus, devices)) return CMPI_RC_ERR_NOT_FOUND;
  for (const PciDevice* device : devices) visit(device);
  result.returnDone();
  return CMPI_RC_OK;
}

// Calls visit(entry) for the last port of each device on the group's bus. The entry's own bus is
// what counts further on.
template <typename Visit>
CmpiStatus ForEntriesOfGroup(CmpiResult& result, const CmpiObjectPath& group, Visit visit) {
  return ForDevicesOfGroup(result, group, [&](const PciDevice* device) {
    const PortEntry& entry = LookupPortByDeviceEntry(device->GetName());
    if (!entry.portName.empty()) visit(entry);
  });
}

}  // namespace

CmpiObjectPath MakePCIMemberOfCollectionRef(const CmpiObjectPath& collection,
                                            const CmpiObjectPath& member) {
  CmpiObjectPath path(kNameSpace, "Ostrel_PCIMemberOfCollection");
  path.setKey("Collection", collection);
  path.setKey("Member", member);
  return path;
}

CmpiInstance MakePCIMemberOfCollection(const CmpiObjectPath& collection,
                                       const CmpiObjectPath& member, const char** properties) {
  CmpiInstance instance(MakePCIMemberOfCollectionRef(collection, member));
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

CmpiStatus PortToPortGroup(CmpiResult& result, const CmpiObjectPath& port,
                           const char** properties) {
  return ForPort(result, DeviceIdOf(port), [&](const PortEntry& entry) {
    result.returnData(MakePortGroup(entry.bus, properties));
  });
}

CmpiStatus PortToPortGroupRef(CmpiResult& result, const CmpiObjectPath& port) {
  return ForPort(result, DeviceIdOf(port),
                 [&](const PortEntry& entry) { result.returnData(MakePortGroupRef(entry.bus)); });
}

CmpiStatus PortGroupToPorts(CmpiResult& result, const CmpiObjectPath& group,
                            const char** properties) {
  std::set<std::string> seen;
  return ForDevicesOfGroup(result, group, [&](const PciDevice* device) {
    MakePortsForDevice(device, result, seen, properties);
  });
}

CmpiStatus PortGroupToPortsRef(CmpiResult& result, const CmpiObjectPath& group) {
  std::set<std::string> seen;
  return ForDevicesOfGroup(
      result, group, [&](const PciDevice* device) { MakePortsForDeviceRef(device, seen, result); });
}

CmpiStatus GetMBInstanceByPort(CmpiResult& result, const CmpiObjectPath& port,
                               const char** properties) {
  return ForMembershipsOf(result, port, InstanceEmitter(result, properties));
}

CmpiStatus GetMBInstanceByPortRef(CmpiResult& result, const CmpiObjectPath& port) {
  return ForMembershipsOf(result, port, PathEmitter(result));
}

CmpiStatus GetMBInstanceByGroup(CmpiResult& result, const CmpiObjectPath& group,
                                const char** properties) {
  const auto emit = InstanceEmitter(result, properties);
  return ForEntriesOfGroup(result, group,
                           [&](const PortEntry& entry) { ForPortAndPeer(entry, emit); });
}

CmpiStatus GetMBInstanceByGroupRef(CmpiResult& result, const CmpiObjectPath& group) {
  const auto emit = PathEmitter(result);
  return ForEntriesOfGroup(result, group, [&](const PortEntry& entry) {
    emit(entry.bus, entry.portName);
    // By name, not by the recorded peer as in the instance form: intended.
    const std::size_t suffix = entry.portName.rfind(kSecondarySuffix);
    if (suffix == std::string::npos) return;
    emit(entry.bus, entry.portName.substr(0, suffix) + kPrimarySuffix);
  });
}

class PCIMemberOfCollection : virtual public ostInt::CmpiInstanceMI,
                              virtual public ostInt::CmpiAssociationMI {
 public:
  PCIMemberOfCollection(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    ForEachMember(PathEmitter(result));
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    ForEachMember(InstanceEmitter(result, properties));
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    syslog(LOG_DEBUG, "PCIMemberOfCollection %s", path.toString().charPtr());
    // "Collection" is not compared with anything: intended.
    const std::string identifier = DeviceIdOf(KeyRef(path, "Member"));
    CmpiStatus status = ForPort(result, identifier, [&](const PortEntry& entry) {
      InstanceEmitter(result, properties)(entry.bus, entry.portName);
    });
    if (status.rc() == CMPI_RC_ERR_NOT_FOUND) {
      syslog(LOG_DEBUG, "MemberOfCollection gi: lookup item '%s' not found", identifier.c_str());
    }
    return status;
  }

  // The texts for sources that are not served name another association: log readers know them so.

  CmpiStatus associators(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char* /*assocClass*/,
                         const char* /*resultClass*/, const char* /*role*/,
                         const char* /*resultRole*/, const char** properties) override {
    DispatchOnSource(
        path, "PCIDeviceConnection ai ignoring",
        SourceRule{kPortClass, [&] { PortToPortGroup(result, path, properties); }},
        SourceRule{kPortGroupClass, [&] { PortGroupToPorts(result, path, properties); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus associatorNames(const CmpiContext& /*context*/, CmpiResult& result,
                             const CmpiObjectPath& path, const char* /*assocClass*/,
                             const char* /*resultClass*/, const char* /*role*/,
                             const char* /*resultRole*/) override {
    DispatchOnSource(path, "PCIDeviceConnection ai ignoring",
                     SourceRule{kPortClass, [&] { PortToPortGroupRef(result, path); }},
                     SourceRule{kPortGroupClass, [&] { PortGroupToPortsRef(result, path); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus references(const CmpiContext& /*context*/, CmpiResult& result,
                        const CmpiObjectPath& path, const char* /*resultClass*/,
                        const char* /*role*/, const char** properties) override {
    DispatchOnSource(
        path, "PCIDeviceConnection reference unsupported class",
        SourceRule{kPortClass, [&] { GetMBInstanceByPort(result, path, properties); }},
        SourceRule{kPortGroupClass, [&] { GetMBInstanceByGroup(result, path, properties); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus referenceNames(const CmpiContext& /*context*/, CmpiResult& result,
                            const CmpiObjectPath& path, const char* /*resultClass*/,
                            const char* /*role*/) override {
    DispatchOnSource(path, "PCIDeviceConnection reference unsupported class",
                     SourceRule{kPortClass, [&] { GetMBInstanceByPortRef(result, path); }},
                     SourceRule{kPortGroupClass, [&] { GetMBInstanceByGroupRef(result, path); }});
    result.returnDone();
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_ASSOCIATION_PROVIDER(PCIMemberOfCollection);
