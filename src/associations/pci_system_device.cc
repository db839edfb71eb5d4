#include "associations/pci_system_device.h"

#include <syslog.h>

#include "associations/hosting_system.h"
#include "associations/source_dispatch.h"
#include "elements/pci_device.h"
#include "elements/pci_port.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cim_name.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using HostCtl::Hardware::PciDevice;
using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

// Calls visit(path) for each port of the host, in the order of the port list, until a visit answers
// true; answers whether one did.
template <typename Visit>
bool AnyPort(Visit visit) {
  for (const PortEntry& entry : GetPortsCache()) {
    const ostInt::CmpiElementScope scope;
    if (visit(MakePCIPortRef(entry.portName))) return true;
  }
  return false;
}

// Calls emit(path) for each plain device, and for each port.
template <typename Emit>
void ForEachDevicePath(Emit emit) {
  AnyPlainDevice([&](const PciDevice* /*device*/, const CmpiObjectPath& path) {
    emit(path);
    return false;
  });
}
template <typename Emit>
void ForEachPortPath(Emit emit) {
  AnyPort([&](const CmpiObjectPath& path) {
    emit(path);
    return false;
  });
}

auto InstanceEmitter(const CmpiObjectPath& system, const char** properties, CmpiResult& result) {
  return [&system, properties, &result](const CmpiObjectPath& part) {
    result.returnData(MakePCISystemDevice(system, part, properties));
  };
}
auto PathEmitter(const CmpiObjectPath& system, CmpiResult& result) {
  return [&system, &result](const CmpiObjectPath& part) {
    result.returnData(MakePCISystemDeviceRef(system, part));
  };
}

void LogReferenceFailure(const HostCtl::Lib::HostCtlException& error) {
  syslog(LOG_ERR, "enumInstance request to retrieve PCI references failed,error %s",
         error.message.c_str());
}

bool IsResultClass(const char* wanted, const char* class_name) {
  return wanted != nullptr && ostInt::SameName(wanted, class_name);
}

// Which of the system's elements a result class asks for: one kind if it names that, else both.
template <typename ListPorts, typename ListDevices>
void ListSystemElements(const char* result_class, ListPorts list_ports, ListDevices list_devices) {
  const bool ports_only = IsResultClass(result_class, kPortClass);
  const bool devices_only = !ports_only && IsResultClass(result_class, kDeviceClass);
  if (!devices_only) list_ports();
  if (!ports_only) list_devices();
}

}  // namespace

CmpiObjectPath MakePCISystemDeviceRef(const CmpiObjectPath& system, const CmpiObjectPath& part) {
  CmpiObjectPath path(kNameSpace, "Ostrel_PCISystemDevice");
  path.setKey("GroupComponent", system);
  path.setKey("PartComponent", part);
  return path;
}

CmpiInstance MakePCISystemDevice(const CmpiObjectPath& system, const CmpiObjectPath& part,
                                 const char** properties) {
  CmpiInstance instance(MakePCISystemDeviceRef(system, part));
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

void LoadSysDevices(const CmpiObjectPath& system, const char** properties, CmpiResult& result) {
  ForEachDevicePath(InstanceEmitter(system, properties, result));
}

void LoadSysDevicesRef(const CmpiObjectPath& system, CmpiResult& result) {
  ForEachDevicePath(PathEmitter(system, result));
}

void LoadSysPorts(const CmpiObjectPath& system, const char** properties, CmpiResult& result) {
  ForEachPortPath(InstanceEmitter(system, properties, result));
}

void LoadSysPortsRef(const CmpiObjectPath& system, CmpiResult& result) {
  ForEachPortPath(PathEmitter(system, result));
}

void LoadDevicesAndPorts(const CmpiObjectPath& system, const char** properties,
                         CmpiResult& result) {
  LoadSysDevices(system, properties, result);
  LoadSysPorts(system, properties, result);
}

void LoadDevicesAndPortsRef(const CmpiObjectPath& system, CmpiResult& result) {
  try {
    LoadSysDevicesRef(system, result);
    LoadSysPortsRef(system, result);
  } catch (const HostCtl::Lib::HostCtlException& error) {
    LogReferenceFailure(error);  // only the reference form absorbs it: intended
  }
}

bool FindDevicePort(const CmpiObjectPath& path, CmpiResult& result, const char** properties) {
  try {
    const CmpiObjectPath system = PciCreateSystemRef();
    if (KeyRef(path, "GroupComponent") != system) return false;
    const CmpiObjectPath wanted = KeyRef(path, "PartComponent");
    const auto emit = InstanceEmitter(system, properties, result);
    const auto emit_if_wanted = [&](const CmpiObjectPath& part) {
      if (part != wanted) return false;
      emit(part);
      return true;
    };
    return AnyPlainDevice([&](const PciDevice* /*device*/, const CmpiObjectPath& part) {
             return emit_if_wanted(part);
           }) ||
           AnyPort(emit_if_wanted);
  } catch (const HostCtl::Lib::HostCtlException& error) {
    LogReferenceFailure(error);
    return false;
  }
}

class PCISystemDevice : virtual public ostInt::CmpiInstanceMI,
                        virtual public ostInt::CmpiAssociationMI {
 public:
  PCISystemDevice(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    LoadDevicesAndPortsRef(PciCreateSystemRef(), result);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    LoadDevicesAndPorts(PciCreateSystemRef(), properties, result);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    if (!FindDevicePort(path, result, properties)) return CMPI_RC_ERR_NOT_FOUND;
    result.returnDone();
    return CMPI_RC_OK;
  }

  // associators asks the object manager for the system, associatorNames builds its path; and these
  // two test for ports first, references and referenceNames for devices (all intended).

  CmpiStatus associators(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char* /*assocClass*/, const char* resultClass, const char* /*role*/,
                         const char* /*resultRole*/, const char** properties) override {
    const auto return_system = [&] { ReturnHostingSystem(broker(), context, result, properties); };
    DispatchOnSource(path, "PCISystemDevice ai ignoring", SourceRule{kPortClass, return_system},
                     SourceRule{kDeviceClass, return_system},
                     SourceRule{kSystemClass, [&] {
                                  ListSystemElements(
                                      resultClass, [&] { PortList(result, properties); },
                                      [&] { DeviceList(result, properties); });
                                }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus associatorNames(const CmpiContext& /*context*/, CmpiResult& result,
                             const CmpiObjectPath& path, const char* /*assocClass*/,
                             const char* resultClass, const char* /*role*/,
                             const char* /*resultRole*/) override {
    const auto return_system = [&] { result.returnData(PciCreateSystemRef()); };
    DispatchOnSource(path, "PCISystemDevice ai ignoring", SourceRule{kPortClass, return_system},
                     SourceRule{kDeviceClass, return_system},
                     SourceRule{kSystemClass, [&] {
                                  ListSystemElements(
                                      resultClass, [&] { PortListRef(result); },
                                      [&] { DeviceListRef(result); });
                                }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  // A device or port as source yields the associations of all devices or ports of the system, not
  // of the one alone: this breadth is wanted.

  CmpiStatus references(const CmpiContext& /*context*/, CmpiResult& result,
                        const CmpiObjectPath& path, const char* /*resultClass*/,
                        const char* /*role*/, const char** properties) override {
    const CmpiObjectPath system = PciCreateSystemRef();
    DispatchOnSource(
        path, "PCISystemDevice reference unsupported class",
        SourceRule{kDeviceClass, [&] { LoadSysDevices(system, properties, result); }},
        SourceRule{kPortClass, [&] { LoadSysPorts(system, properties, result); }},
        SourceRule{kSystemClass, [&] { LoadDevicesAndPorts(system, properties, result); }});
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus referenceNames(const CmpiContext& /*context*/, CmpiResult& result,
                            const CmpiObjectPath& path, const char* /*resultClass*/,
                            const char* /*role*/) override {
    const CmpiObjectPath system = PciCreateSystemRef();
    DispatchOnSource(path, "PCISystemDevice reference unsupported class",
                     SourceRule{kDeviceClass, [&] { LoadSysDevicesRef(system, result); }},
                     SourceRule{kPortClass, [&] { LoadSysPortsRef(system, result); }},
                     SourceRule{kSystemClass, [&] { LoadDevicesAndPortsRef(system, result); }});
    result.returnDone();
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_ASSOCIATION_PROVIDER(PCISystemDevice);
