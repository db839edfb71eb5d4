// The provider of "Ostrel_PCIeSwitch": one instance per PCI Express switch, represented by the
// switch's upstream port. Also counts a switch's ports.
//
// Thread rule: reads the topology cache and the devices; may run on any thread.
// Errors: HostCtl::Lib::HostCtlException of a device leaves the enumerations; getInstance and the
// port count log it instead.

#ifndef ELEMENTS_PCIE_SWITCH_H_
#define ELEMENTS_PCIE_SWITCH_H_

#include <cstdint>

#include "cache/hostctl.h"

// Whether the parent of `device` is `parent`, by identifier. A device that cannot be read is no
// child; that is logged.
bool IsChildOf(const HostCtl::Hardware::PciDevice* parent, HostCtl::Hardware::PciDevice* device);

// The number of devices whose parent is `device`, in 16 bits (wraps). Asks every device of the
// host for its parent, each time; nothing is cached (intended).
std::uint16_t DownstreamPortsCount(const HostCtl::Hardware::PciDevice* device);

#endif  // ELEMENTS_PCIE_SWITCH_H_
