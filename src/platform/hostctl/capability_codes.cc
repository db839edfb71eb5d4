#include "platform/hostctl/capability_codes.h"

#include <linux/pci_regs.h>

#include <bitset>
#include <utility>

namespace HostCtl::Linux {

std::vector<std::uint32_t> CapabilityCodes(const pci::Function& function,
                                           std::span<const pci::Capability> capabilities) {
  std::bitset<256> ids;
  for (const pci::Capability& capability : capabilities) ids.set(capability.id);
  const unsigned status = function.status;
  // The older maximum link speed names the place of its bit in the vector of supported speeds.
  const unsigned speeds = function.link.speeds | 1u << function.link.possible.speed;
  // Code 8, parity error recovery, is told by no register.
  const std::pair<std::uint32_t, bool> codes[] = {
      {2, (status & PCI_STATUS_66MHZ) != 0},
      {3, (status & PCI_STATUS_UDF) != 0},
      {4, (status & PCI_STATUS_FAST_BACK) != 0},
      {5, ids[PCI_CAP_ID_PCIX]},
      {6, ids[PCI_CAP_ID_PM]},
      {7, ids[PCI_CAP_ID_MSI] || ids[PCI_CAP_ID_MSIX]},
      {9, ids[PCI_CAP_ID_AGP] || ids[PCI_CAP_ID_AGP3]},
      {10, ids[PCI_CAP_ID_VPD]},
      {11, ids[PCI_CAP_ID_SLOTID]},
      {12, ids[PCI_CAP_ID_CHSWP]},
      {13, ids[PCI_CAP_ID_EXP]},
      {14, speeds >= 1u << 2},  // 5 GT/s or more
      {15, speeds >= 1u << 3},  // 8 GT/s or more
  };
  std::vector<std::uint32_t> held;
  for (const auto& [code, holds] : codes) {
    if (holds) held.push_back(code);
  }
  return held;
}

}  // namespace HostCtl::Linux
