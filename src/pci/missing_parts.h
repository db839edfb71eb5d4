// What of a host its reading lacks, in words for a log or a person.
// Thread rule: plain functions.

#ifndef PCI_MISSING_PARTS_H_
#define PCI_MISSING_PARTS_H_

#include <string>
#include <vector>

#include "pci/host.h"
#include "pci/source.h"

namespace pci {

// How many functions are left out: "1 of 31 PCI functions could not be read". Empty where none is.
std::string MissingFunctions(const Host& host);

// One line each: functions that are left out, the first ones with their reason; capabilities that
// are not shown, and how they would be; slots and names that could be had. Empty where all is
// there.
std::vector<std::string> MissingParts(const Host& host, const Source& source);

}  // namespace pci

#endif  // PCI_MISSING_PARTS_H_
