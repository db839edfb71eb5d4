// What the system has made of a function: driver, NUMA node, IOMMU group, and the devices that an
// administrator knows by name.
// Thread rule: safe for concurrent use.

#ifndef PCI_DETAILS_H_
#define PCI_DETAILS_H_

#include "pci/function.h"
#include "pci/sysfs_function.h"

namespace pci {

// Reads what is wanted of it from the function's folder and those below. What is not told there
// stays as it is in a new Detail. Throws Error where something else than a
// kernel's attribute stands in place of one.
Detail ReadDetail(SysfsFunction& folder, const Function& function, const WantedDetails& wanted);

}  // namespace pci

#endif  // PCI_DETAILS_H_
