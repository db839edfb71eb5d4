// Which function each function sits directly behind.
//
// A bridge's secondary bus has a higher number than the bus that the bridge is on (the kernel
// renumbers bridges that break this). A parent is therefore only accepted on a lower bus of the
// same domain, which makes cycles impossible, whatever a source says. Thread rule: plain functions;
// the caller owns the records.

#ifndef PLATFORM_HOSTCTL_TOPOLOGY_H_
#define PLATFORM_HOSTCTL_TOPOLOGY_H_

#include <span>

#include "platform/hostctl/function_record.h"
#include "platform/hostctl/sysfs_tree.h"

namespace HostCtl::Linux {

// Sets every parent by bus numbers: the deepest bridge of the domain whose secondary to subordinate
// bus holds the function's bus. `records` ascend by address.
void LinkByBusNumbers(std::span<FunctionRecord> records);

// Replaces the parent of every function whose place the kernel tells. `records` ascend by address.
void LinkAsKernelSays(std::span<FunctionRecord> records, const SysfsTree& tree);

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_TOPOLOGY_H_
