// The association "Ostrel_PCIHostedCollection": the hosting system ("Antecedent") hosts every port
// group ("Dependent").
//
// Association class, result class, role and result role are never examined. Where a worker below
// has ended the result, the association operation that called it ends it a second time (intended).
// Thread rule: reads the topology cache; may run on any thread.
// Errors: the wrapper's CmpiStatus passes to the caller.

#ifndef ASSOCIATIONS_PCI_HOSTED_COLLECTION_H_
#define ASSOCIATIONS_PCI_HOSTED_COLLECTION_H_

#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"
#include "platform/ostint/cmpi_status.h"

// The association of the system and one group path, as path and as instance.
ostInt::CmpiObjectPath MakePCIHostedCollectionRef(const ostInt::CmpiObjectPath& antecedent,
                                                  const ostInt::CmpiObjectPath& dependent);
ostInt::CmpiInstance MakePCIHostedCollection(const ostInt::CmpiObjectPath& antecedent,
                                             const ostInt::CmpiObjectPath& dependent,
                                             const char** properties);

// Every association, as instances or paths, in the order of the bus numbers; then returnDone() and
// OK. The path is not used.
ostInt::CmpiStatus EnumInstances(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& path,
                                 const char** properties);
ostInt::CmpiStatus EnumInstanceRefs(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& path);

// The association of one group; then returnDone(). CMPI_RC_ERR_NOT_FOUND when the group path names
// no bus; OK, with nothing returned, when the bus has no group.
ostInt::CmpiStatus GetInstance(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& group,
                               const char** properties);
ostInt::CmpiStatus GetInstanceRef(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& group);

#endif  // ASSOCIATIONS_PCI_HOSTED_COLLECTION_H_
