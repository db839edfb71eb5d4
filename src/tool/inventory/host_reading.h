// The host's PCI functions as room pci reads them, for commands that need no provider. What can be
// read is the running kernel's or what --sysfs or --dump name, whichever host control library there
// is.
//
// Thread rule: reads the environment; one thread at a time.

#ifndef TOOL_INVENTORY_HOST_READING_H_
#define TOOL_INVENTORY_HOST_READING_H_

#include "pci/host.h"

namespace tool {

struct HostReading {
  pci::Host host;
  bool incomplete = false;  // functions could not be read, as standard error says
};

// Reads the host that SelectHost chose, and says once on standard error what of it is missing.
// Throws CommandError where it cannot be read at all.
HostReading ReadHost(const pci::Host::Wanted& wanted);

// Of any source.
HostReading ReadHost(const pci::Source& source, const pci::Host::Wanted& wanted);

}  // namespace tool

#endif  // TOOL_INVENTORY_HOST_READING_H_
