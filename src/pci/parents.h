// Which function each function sits directly behind.
//
// A bridge's secondary bus has a higher number than the bus that the bridge is on (the kernel
// renumbers bridges that break this). A parent is therefore only accepted on a lower bus of the
// same domain, which makes cycles impossible, whatever a source says. Thread rule: plain functions;
// the caller owns the functions, which ascend by address.

#ifndef PCI_PARENTS_H_
#define PCI_PARENTS_H_

#include <span>

#include "pci/function.h"

namespace pci {

// A parent that the source does not tell: bus numbers do.
inline constexpr std::uint32_t kUnknownParent = kNone - 1;

// The place of the function with this address, or kNone.
std::uint32_t FindFunction(std::span<const Function> functions, const Address& address);

// Sets the parents that are unknown: the deepest bridge of the domain whose secondary to
// subordinate bus holds the function's bus, or kNone.
void LinkByBusNumbers(std::span<Function> functions);

}  // namespace pci

#endif  // PCI_PARENTS_H_
