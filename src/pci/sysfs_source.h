// Reads PCI functions from sysfs: the running kernel's, or a copy of it.
//
// Of each function that is its place (where the link in devices/ leads), its configuration space,
// and one file for what the kernel knows better than the registers: "modalias" or "uevent"; the
// single attributes ("vendor", "device", "class") where a copy has neither.
// Thread rule: safe for concurrent use.

#ifndef PCI_SYSFS_SOURCE_H_
#define PCI_SYSFS_SOURCE_H_

#include <string>

#include "pci/inventory.h"

namespace pci {

// `path` is /sys, its bus/pci, or devices/ there; or the same of a copy. Parents that the tree does
// not tell are left unknown (parents.h). A function that cannot be read is left out; one that is
// pulled out meanwhile was never there. Throws Error where the tree, or every function in it,
// cannot be read, and where a copy has no function.
Inventory ReadSysfs(const std::string& path, const Wanted& wanted);

}  // namespace pci

#endif  // PCI_SYSFS_SOURCE_H_
