// The association "Ostrel_PCISystemDevice": the hosting system ("GroupComponent") and the PCI
// elements that are parts of it ("PartComponent"): every plain device, then every port. Bridges and
// switch ports are no parts themselves; their ports are.
//
// Association class, role and result role are never examined; the result class only where the
// system is the source of associators and associatorNames.
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: exceptions of devices and of the wrapper pass to the caller unless a function says that
// it logs them; what was returned before stays returned.

#ifndef ASSOCIATIONS_PCI_SYSTEM_DEVICE_H_
#define ASSOCIATIONS_PCI_SYSTEM_DEVICE_H_

#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"

// The association of the system and one part, as instance and as path.
ostInt::CmpiInstance MakePCISystemDevice(const ostInt::CmpiObjectPath& system,
                                         const ostInt::CmpiObjectPath& part,
                                         const char** properties);
ostInt::CmpiObjectPath MakePCISystemDeviceRef(const ostInt::CmpiObjectPath& system,
                                              const ostInt::CmpiObjectPath& part);

// Return one association per plain device, in the order of the device list.
void LoadSysDevices(const ostInt::CmpiObjectPath& system, const char** properties,
                    ostInt::CmpiResult& result);
void LoadSysDevicesRef(const ostInt::CmpiObjectPath& system, ostInt::CmpiResult& result);

// Return one association per port, in the order of the port list.
void LoadSysPorts(const ostInt::CmpiObjectPath& system, const char** properties,
                  ostInt::CmpiResult& result);
void LoadSysPortsRef(const ostInt::CmpiObjectPath& system, ostInt::CmpiResult& result);

// The devices, then the ports. The reference form logs the first exception of a device and ends
// there; the instance form lets it pass (intended).
void LoadDevicesAndPorts(const ostInt::CmpiObjectPath& system, const char** properties,
                         ostInt::CmpiResult& result);
void LoadDevicesAndPortsRef(const ostInt::CmpiObjectPath& system, ostInt::CmpiResult& result);

// Returns the instance of the association that `path` names; false, with nothing returned, when
// there is none or (logged) a device fails.
bool FindDevicePort(const ostInt::CmpiObjectPath& path, ostInt::CmpiResult& result,
                    const char** properties);

#endif  // ASSOCIATIONS_PCI_SYSTEM_DEVICE_H_
