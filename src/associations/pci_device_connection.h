// The association "Ostrel_PCIDeviceConnection": a port on the parent side ("Antecedent") and the
// port to which a device is connected ("Dependent"). Only ports take part.
//
// Association class, result class, role and result role are never examined.
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: exceptions of devices and of the wrapper pass to the caller.

#ifndef ASSOCIATIONS_PCI_DEVICE_CONNECTION_H_
#define ASSOCIATIONS_PCI_DEVICE_CONNECTION_H_

#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"
#include "platform/ostint/cmpi_status.h"

// The association of two port paths, as instance and as path.
ostInt::CmpiInstance MakePCIDeviceConnection(const ostInt::CmpiObjectPath& antecedent,
                                             const ostInt::CmpiObjectPath& dependent,
                                             const char** properties);
ostInt::CmpiObjectPath MakePCIDeviceConnectionRef(const ostInt::CmpiObjectPath& antecedent,
                                                  const ostInt::CmpiObjectPath& dependent);

// The ports connected to a port, as instances (all ports of the connected device) or as one path.
// CMPI_RC_ERR_NOT_FOUND without returnDone() when there are none; else returnDone() and OK.
ostInt::CmpiStatus GetRelatedPort(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& port,
                                  const char** properties);
ostInt::CmpiStatus GetRelatedPortRef(ostInt::CmpiResult& result,
                                     const ostInt::CmpiObjectPath& port);

// The association of a port, with the same statuses.
ostInt::CmpiStatus GetDevConnByPort(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& port,
                                    const char** properties);
ostInt::CmpiStatus GetDevConnByPortRef(ostInt::CmpiResult& result,
                                       const ostInt::CmpiObjectPath& port);

#endif  // ASSOCIATIONS_PCI_DEVICE_CONNECTION_H_
