// Reads PCI functions from a text dump as lspci -x, -xxx and -xxxx print it.
//
// A dump may have been taken with more options: -D, -n and -nn (whose numbers are the only ids that
// a virtual function has), -v and -k (whose lines have names of slots, drivers, NUMA nodes and
// IOMMU groups), -P and -PP. It may have been quoted by a mail. Thread rule: safe for concurrent
// use.

#ifndef PCI_DUMP_SOURCE_H_
#define PCI_DUMP_SOURCE_H_

#include <string>

#include "pci/inventory.h"

namespace pci {

// Reads the file at `path`. Parents are left unknown (parents.h). A function whose bytes are cut
// off or damaged is left out. Of a function that is there twice the first one stands. Throws Error
// where the file cannot be read, or holds no function that can.
Inventory ReadDump(const std::string& path, const Wanted& wanted);

}  // namespace pci

#endif  // PCI_DUMP_SOURCE_H_
