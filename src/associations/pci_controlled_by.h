// The association "Ostrel_PCIControlledBy": a controlling device ("Antecedent": a bridge, a PCI
// Express switch or a plain device) and one of its ports ("Dependent").
//
// Association class, result class, role and result role are never examined. Every operation calls
// returnDone() once, except getInstance when it finds nothing; the functions below never do.
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: exceptions of devices and of the wrapper pass to the caller.

#ifndef ASSOCIATIONS_PCI_CONTROLLED_BY_H_
#define ASSOCIATIONS_PCI_CONTROLLED_BY_H_

#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"
#include "platform/ostint/cmpi_status.h"

// The association of a controller and a port path, as path and as instance.
ostInt::CmpiObjectPath MakePCIControlledByRef(const ostInt::CmpiObjectPath& antecedent,
                                              const ostInt::CmpiObjectPath& dependent);
ostInt::CmpiInstance MakePCIControlledBy(const ostInt::CmpiObjectPath& antecedent,
                                         const ostInt::CmpiObjectPath& dependent,
                                         const char** properties);

// The associations of one source, whose path becomes the "Antecedent" as it stands. They look the
// "DeviceID" up literally, an empty one too, and throw CmpiStatus when it is missing.
void GetCBInstancesByBridge(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& bridge,
                            const char** properties);
void GetCBInstancesByBridgeRef(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& bridge);
void GetCBInstancesBySwitch(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& switch_path,
                            const char** properties);
void GetCBInstancesBySwitchRef(ostInt::CmpiResult& result,
                               const ostInt::CmpiObjectPath& switch_path);
void GetCBInstanceByDevice(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& device,
                           const char** properties);
void GetCBInstanceByDeviceRef(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& device);

// The association of the device that hosts a port with that device's first port, which need not be
// the port asked about (intended). The reference form logs a miss, the instance form does not.
void GetCBInstanceByPort(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& port,
                         const char** properties);
void GetCBInstanceByPortRef(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& port);

// The device of a port, as instance or path, its "CreationClassName" always "Ostrel_PCIDevice"
// (intended). An unknown port is logged, an empty identifier is not.
void ListControllers(const ostInt::CmpiObjectPath& port, const char** properties,
                     ostInt::CmpiResult& result);
void ListControllersRef(const ostInt::CmpiObjectPath& port, ostInt::CmpiResult& result);

// Carries out getInstance. CMPI_RC_ERR_NOT_FOUND, without returnDone(), when the port in
// "Dependent" or its controller is unknown; "Antecedent" is never read (intended).
ostInt::CmpiStatus GetInstance(const ostInt::CmpiContext& context, ostInt::CmpiResult& result,
                               const ostInt::CmpiObjectPath& path, const char** properties);

#endif  // ASSOCIATIONS_PCI_CONTROLLED_BY_H_
