// The provider of "Ostrel_PCIPortGroup": one group per PCI bus, for the ports on that bus. A group
// has no data beyond its bus number, which its "InstanceID" carries.
//
// Which groups are enumerated is decided by the cache's bus numbers; whether a single group exists
// is decided by the cache's ports (intended).
// Thread rule: reads the topology cache; may run on any thread.
// Errors: the wrapper's CmpiStatus passes to the caller; no device is asked anything.

#ifndef ELEMENTS_PCI_PORT_GROUP_H_
#define ELEMENTS_PCI_PORT_GROUP_H_

#include <cstdint>

#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"
#include "platform/ostint/cmpi_status.h"

// The path of the group of a bus.
ostInt::CmpiObjectPath MakePortGroupRef(std::uint8_t bus);

// The instance of the group of a bus. The property list is not applied; the caller does that.
ostInt::CmpiInstance MakePortGroup(std::uint8_t bus, const char** properties);

// Takes the bus number from the path's "InstanceID": whatever strtol makes of the text after the
// first "-", in 8 bits. Lenient by design: any prefix, no number (bus 0), numbers over 255 (modulo
// 256) and trailing text are accepted. False, and `bus` untouched, when there is no "-".
bool ParseBusID(const ostInt::CmpiObjectPath& path, std::uint8_t& bus);

// Whether some port of the cache is on the bus.
bool PortGroupExists(std::uint8_t bus);

// All groups, as instances or paths, in the order of the bus numbers; then returnDone() and OK.
// The path is not used.
ostInt::CmpiStatus ListPortGroups(ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& path,
                                  const char** properties);
ostInt::CmpiStatus ListPortGroupRefs(ostInt::CmpiResult& result,
                                     const ostInt::CmpiObjectPath& path);

// The group that the path names; what getInstance does.
ostInt::CmpiStatus GetRelatedPortGroup(ostInt::CmpiResult& result,
                                       const ostInt::CmpiObjectPath& path, const char** properties);

#endif  // ELEMENTS_PCI_PORT_GROUP_H_
