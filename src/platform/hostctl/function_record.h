// All that a snapshot keeps of one PCI function.
// Thread rule: a plain value, immutable once its snapshot is taken.

#ifndef PLATFORM_HOSTCTL_FUNCTION_RECORD_H_
#define PLATFORM_HOSTCTL_FUNCTION_RECORD_H_

#include <bitset>
#include <cstdint>

#include "platform/hostctl/access.h"
#include "platform/hostctl/config_space.h"
#include "platform/hostctl/pci_address.h"

namespace HostCtl::Linux {

inline constexpr std::uint32_t kNoParent = 0xffffffff;

struct FunctionRecord {
  PciAddress address;
  Identity identity;
  BusRange buses;
  std::int8_t pcie_port_type = -1;
  std::uint16_t capability_codes = 0;  // bit n: code n of CIM_PCIController.Capabilities
  std::bitset<256> capability_ids;
  bool cut_off = false;  // the source shows too little of it to tell all capabilities
  std::int32_t slot = -1;
  std::uint32_t parent = kNoParent;  // place in the snapshot
  std::uint32_t vendor_name = 0;     // places in the snapshot's names
  std::uint32_t device_name = 0;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_FUNCTION_RECORD_H_
