// A function's capabilities in CIM's words.
// Thread rule: a plain function.

#ifndef PLATFORM_HOSTCTL_CAPABILITY_CODES_H_
#define PLATFORM_HOSTCTL_CAPABILITY_CODES_H_

#include <cstdint>
#include <span>
#include <vector>

#include "pci/function.h"

namespace HostCtl::Linux {

// The codes of CIM_PCIController.Capabilities (CIM schema) that hold, ascending.
std::vector<std::uint32_t> CapabilityCodes(const pci::Function& function,
                                           std::span<const pci::Capability> capabilities);

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_CAPABILITY_CODES_H_
