#include "platform/hostctl/config_space.h"

#include <pci/header.h>

#include <iterator>

namespace HostCtl::Linux {
namespace {

// Registers that are absent, or of a function that has gone, read as all ones.
std::span<const std::uint8_t> Answering(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kStandardHeaderSize) return {};
  const bool gone = bytes[PCI_VENDOR_ID] == 0xff && bytes[PCI_VENDOR_ID + 1] == 0xff;
  return gone ? std::span<const std::uint8_t>{} : bytes;
}

}  // namespace

ConfigSpace::ConfigSpace(std::span<const std::uint8_t> bytes) : bytes_(Answering(bytes)) {}

std::uint8_t ConfigSpace::Byte(std::size_t position) const {
  return Holds(position, 1) ? bytes_[position] : std::uint8_t{0};
}

std::uint16_t ConfigSpace::Word(std::size_t position) const {
  return static_cast<std::uint16_t>(Byte(position) | Byte(position + 1) << 8);
}

std::uint32_t ConfigSpace::Long(std::size_t position) const {
  return Word(position) | std::uint32_t{Word(position + 2)} << 16;
}

std::uint8_t ConfigSpace::HeaderType() const { return Byte(PCI_HEADER_TYPE) & 0x7f; }

BusRange ConfigSpace::BusesBehind() const {
  // A CardBus bridge has its bus numbers where a PCI-to-PCI bridge has them.
  static_assert(PCI_SECONDARY_BUS == PCI_CB_CARD_BUS);
  static_assert(PCI_SUBORDINATE_BUS == PCI_CB_SUBORDINATE_BUS);
  const std::uint8_t type = HeaderType();
  if (type != PCI_HEADER_TYPE_BRIDGE && type != PCI_HEADER_TYPE_CARDBUS) return {};
  return {Byte(PCI_SECONDARY_BUS), Byte(PCI_SUBORDINATE_BUS)};
}

CapabilityFacts ConfigSpace::Capabilities() const {
  CapabilityFacts facts;
  if (!(Word(PCI_STATUS) & PCI_STATUS_CAP_LIST)) return facts;
  const bool cardbus = HeaderType() == PCI_HEADER_TYPE_CARDBUS;
  std::bitset<kConfigSize> seen;
  std::size_t position = Byte(cardbus ? PCI_CB_CAPABILITY_LIST : PCI_CAPABILITY_LIST) & ~3u;
  while (position >= kStandardHeaderSize && !seen[position]) {
    if (!Holds(position, 4)) {
      facts.cut_off = true;
      break;
    }
    seen.set(position);
    const std::uint8_t id = Byte(position + PCI_CAP_LIST_ID);
    if (id == 0xff) break;  // not a capability: the chain is broken here
    if (id == PCI_CAP_ID_EXP && !facts.ids[id]) ReadPcieCapability(position, facts);
    facts.ids.set(id);
    position = Byte(position + PCI_CAP_LIST_NEXT) & ~3u;
  }
  return facts;
}

void ConfigSpace::ReadPcieCapability(std::size_t position, CapabilityFacts& facts) const {
  const unsigned type = (Word(position + PCI_EXP_FLAGS) & PCI_EXP_FLAGS_TYPE) >> 4;
  facts.pcie_port_type = static_cast<std::int8_t>(type);
  const std::uint32_t speeds = LinkSpeeds(position);
  facts.link_5gt = speeds >= 1u << 2;
  facts.link_8gt = speeds >= 1u << 3;
}

// The speeds that the link can run at, as the supported link speeds vector has them: bit 1 stands
// for 2.5 GT/s, bit 2 for 5 GT/s, bit 3 for 8 GT/s and so on (PCI Express Base, 7.5.3.18). The
// older maximum link speed field names the place of its bit in that vector (7.5.3.6).
std::uint32_t ConfigSpace::LinkSpeeds(std::size_t position) const {
  const std::uint16_t flags = Word(position + PCI_EXP_FLAGS);
  const unsigned type = (flags & PCI_EXP_FLAGS_TYPE) >> 4;
  const unsigned version = flags & PCI_EXP_FLAGS_VERS;
  // In version 1 these functions of the root complex end before the link registers.
  const bool integrated = type == PCI_EXP_TYPE_ROOT_INT_EP || type == PCI_EXP_TYPE_ROOT_EC;
  if (version < 2 && integrated) return 0;

  std::uint32_t speeds = 1u << (Long(position + PCI_EXP_LNKCAP) & PCI_EXP_LNKCAP_SPEED);
  if (version >= 2) speeds |= Long(position + PCI_EXP_LNKCAP2) & 0xfe;
  return speeds;
}

std::uint16_t ConfigSpace::CapabilityCodes(const CapabilityFacts& facts) const {
  const std::uint16_t status = Word(PCI_STATUS);
  const auto& ids = facts.ids;
  // In the order of their codes, from 2 on.
  const bool holds[] = {
      (status & PCI_STATUS_66MHZ) != 0,
      (status & PCI_STATUS_UDF) != 0,
      (status & PCI_STATUS_FAST_BACK) != 0,
      ids[PCI_CAP_ID_PCIX],
      ids[PCI_CAP_ID_PM],
      ids[PCI_CAP_ID_MSI] || ids[PCI_CAP_ID_MSIX],
      false,  // 8, parity error recovery: no register tells
      ids[PCI_CAP_ID_AGP] || ids[PCI_CAP_ID_AGP3],
      ids[PCI_CAP_ID_VPD],
      ids[PCI_CAP_ID_SLOTID],
      ids[PCI_CAP_ID_CHSWP],
      ids[PCI_CAP_ID_EXP],
      facts.link_5gt,
      facts.link_8gt,
  };
  unsigned codes = 0;
  for (std::size_t i = 0; i < std::size(holds); ++i) {
    if (holds[i]) codes |= 1u << (i + 2);
  }
  return static_cast<std::uint16_t>(codes);
}

}  // namespace HostCtl::Linux
