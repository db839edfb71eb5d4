// What the kernel says that a function is: ids and class, which it knows better than the registers
// do. It corrects classes, and a virtual function's ids are nowhere else.
// Thread rule: plain functions.

#ifndef PCI_KERNEL_IDENTITY_H_
#define PCI_KERNEL_IDENTITY_H_

#include "pci/function.h"
#include "pci/sysfs_function.h"

namespace pci {

// Sets ids, class and programming interface from "modalias" or "uevent"; where there is neither,
// from "vendor", "device" and "class", which leave the subsystem's ids unknown: false. Throws Error
// where one of these cannot be read.
bool ReadIdentity(SysfsFunction& folder, Function& function);

// Sets revision and subsystem from the attributes that there are.
void ReadOtherAttributes(SysfsFunction& folder, Function& function);

}  // namespace pci

#endif  // PCI_KERNEL_IDENTITY_H_
