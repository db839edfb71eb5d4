// The association "Ostrel_PCIMemberOfCollection": a port group ("Collection") and a port on its bus
// ("Member").
//
// A port belongs to the group of its entry's bus, and its peer is placed in the same group. Both
// entries of a bridge carry the bridge's own bus, so each of its two ports is placed twice in that
// one group (intended).
// Association class, result class, role and result role are never examined. Where a worker below
// has ended the result, the association operation that called it ends it a second time (intended).
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: exceptions of devices and of the wrapper pass to the caller.

#ifndef ASSOCIATIONS_PCI_MEMBER_OF_COLLECTION_H_
#define ASSOCIATIONS_PCI_MEMBER_OF_COLLECTION_H_

#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"
#include "platform/ostint/cmpi_status.h"

// The association of a group and a port path, as path and as instance.
ostInt::CmpiObjectPath MakePCIMemberOfCollectionRef(const ostInt::CmpiObjectPath& collection,
                                                    const ostInt::CmpiObjectPath& member);
ostInt::CmpiInstance MakePCIMemberOfCollection(const ostInt::CmpiObjectPath& collection,
                                               const ostInt::CmpiObjectPath& member,
                                               const char** properties);

// The workers end the result and answer OK; where the source is unknown they answer
// CMPI_RC_ERR_NOT_FOUND and do not end the result, unless the group path itself names no bus.

// The group of a port; the instance comes without the property filter (intended).
ostInt::CmpiStatus PortToPortGroup(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& port,
                                   const char** properties);
ostInt::CmpiStatus PortToPortGroupRef(ostInt::CmpiResult& result,
                                      const ostInt::CmpiObjectPath& port);

// The ports of every device on the group's bus.
ostInt::CmpiStatus PortGroupToPorts(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& group,
                                    const char** properties);
ostInt::CmpiStatus PortGroupToPortsRef(ostInt::CmpiResult& result,
                                       const ostInt::CmpiObjectPath& group);

// The associations of a port.
ostInt::CmpiStatus GetMBInstanceByPort(ostInt::CmpiResult& result,
                                       const ostInt::CmpiObjectPath& port, const char** properties);
ostInt::CmpiStatus GetMBInstanceByPortRef(ostInt::CmpiResult& result,
                                          const ostInt::CmpiObjectPath& port);

// The associations of the last port of every device on the group's bus. The second one of a device
// is that of the peer; the reference form goes by the name ("-sec" becomes "-pri") instead of the
// recorded peer (intended).
ostInt::CmpiStatus GetMBInstanceByGroup(ostInt::CmpiResult& result,
                                        const ostInt::CmpiObjectPath& group,
                                        const char** properties);
ostInt::CmpiStatus GetMBInstanceByGroupRef(ostInt::CmpiResult& result,
                                           const ostInt::CmpiObjectPath& group);

#endif  // ASSOCIATIONS_PCI_MEMBER_OF_COLLECTION_H_
