#include "pci/config_space.h"

#include <linux/pci_regs.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>

namespace pci {
namespace {

bool IsCardBus(const Function& function) { return function.header_type == PCI_HEADER_TYPE_CARDBUS; }

// Whether its downstream side is PCI Express, where a slot can be (PCI Express Base, 7.5.3.2).
bool CanHaveSlot(unsigned type) {
  return type == PCI_EXP_TYPE_ROOT_PORT || type == PCI_EXP_TYPE_DOWNSTREAM ||
         type == PCI_EXP_TYPE_PCIE_BRIDGE;
}

constexpr int kRegisterSize = 4;
static_assert(ConfigSpace::kSize / kRegisterSize == 64);

// A bit for each register that has one of these bytes.
std::uint64_t RegistersOf(std::size_t position, std::size_t size) {
  const std::size_t first = position / kRegisterSize;
  const std::size_t last = (position + size - 1) / kRegisterSize;
  return ~std::uint64_t{0} >> (63 - last + first) << first;
}

}  // namespace

ConfigSpace::ConfigSpace(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kHeaderSize) return;
  const std::size_t size = std::min(bytes.size(), kSize);
  std::copy_n(bytes.begin(), size, bytes_.begin());
  held_ = RegistersOf(0, size / kRegisterSize * kRegisterSize);
}

ConfigSpace::ConfigSpace(int file, Fetch fetch) {
  if (file < 0) return;
  file_ = file;
  if (fetch == Fetch::kAsWanted) return;
  FetchFromFile(0, kSize);
  file_ = -1;
  if (!Holds(0, kHeaderSize)) held_ = 0;
}

void ConfigSpace::FetchFromFile(std::size_t position, std::size_t size) {
  const ssize_t got = pread(file_, &bytes_[position], size, static_cast<off_t>(position));
  if (got >= kRegisterSize) {
    held_ |= RegistersOf(position, static_cast<std::size_t>(got) / kRegisterSize * kRegisterSize);
  }
}

// Whether these bytes are known, or can be had.
bool ConfigSpace::Holds(std::size_t position, std::size_t size) {
  if (position + size > kSize) return false;
  const std::uint64_t wanted = RegistersOf(position, size);
  if ((held_ & wanted) != wanted && file_ >= 0) {
    const std::size_t first = position / kRegisterSize * kRegisterSize;
    const std::size_t end = (position + size + kRegisterSize - 1) / kRegisterSize * kRegisterSize;
    FetchFromFile(first, end - first);
  }
  return (held_ & wanted) == wanted;
}

std::uint8_t ConfigSpace::Byte(std::size_t position) {
  return Holds(position, 1) ? bytes_[position] : std::uint8_t{0};
}

std::uint16_t ConfigSpace::Word(std::size_t position) {
  return static_cast<std::uint16_t>(Byte(position) | Byte(position + 1) << 8);
}

std::uint32_t ConfigSpace::Long(std::size_t position) {
  return Word(position) | std::uint32_t{Word(position + 2)} << 16;
}

bool ConfigSpace::HasGone() {
  return std::all_of(bytes_.begin(), bytes_.begin() + kIdentitySize,
                     [](std::uint8_t byte) { return byte == 0xff; });
}

void ConfigSpace::Identify(Function& function) {
  function.ids.vendor = Word(PCI_VENDOR_ID);
  function.ids.device = Word(PCI_DEVICE_ID);
  function.class_code = Word(PCI_CLASS_DEVICE);
  function.programming_interface = Byte(PCI_CLASS_PROG);
  function.revision = Byte(PCI_REVISION_ID);
}

void ConfigSpace::Describe(Function& function, std::vector<Capability>& capabilities) {
  function.first_capability = static_cast<std::uint32_t>(capabilities.size());
  function.cut_off = !HasHeader();
  if (!Answer()) return;
  function.revision = Byte(PCI_REVISION_ID);
  function.status = Word(PCI_STATUS);
  function.header_type = Byte(PCI_HEADER_TYPE) & PCI_HEADER_TYPE_MASK;
  // A CardBus bridge has its bus numbers where a PCI-to-PCI bridge has them.
  static_assert(PCI_SECONDARY_BUS == PCI_CB_CARD_BUS);
  static_assert(PCI_SUBORDINATE_BUS == PCI_CB_SUBORDINATE_BUS);
  if (function.header_type == PCI_HEADER_TYPE_BRIDGE || IsCardBus(function)) {
    function.buses = {Byte(PCI_SECONDARY_BUS), Byte(PCI_SUBORDINATE_BUS)};
  }
  WalkChain(function, capabilities);
  function.capability_count =
      static_cast<std::uint32_t>(capabilities.size()) - function.first_capability;
}

void ConfigSpace::WalkChain(Function& function, std::vector<Capability>& capabilities) {
  if (!(function.status & PCI_STATUS_CAP_LIST)) return;
  std::bitset<kSize / 4> seen;
  std::size_t position =
      Byte(IsCardBus(function) ? PCI_CB_CAPABILITY_LIST : PCI_CAPABILITY_LIST) & ~3u;
  // What was copied without the right to read it is zeros: a chain does not begin with them.
  if (position >= kHeaderSize && Word(position) == 0) function.cut_off = true;
  while (position >= kHeaderSize && !seen[position / 4] && !function.cut_off) {
    if (!Holds(position, 4)) {
      function.cut_off = true;
      return;
    }
    seen.set(position / 4);
    const std::uint8_t id = Byte(position + PCI_CAP_LIST_ID);
    if (id == 0xff) return;  // not a capability: the chain is broken here
    if (id == PCI_CAP_ID_EXP && function.pcie_port_type < 0) DescribeExpress(position, function);
    capabilities.push_back({id, static_cast<std::uint8_t>(position)});
    position = Byte(position + PCI_CAP_LIST_NEXT) & ~3u;
  }
}

void ConfigSpace::DescribeExpress(std::size_t position, Function& function) {
  const std::uint16_t flags = Word(position + PCI_EXP_FLAGS);
  const unsigned type = (flags & PCI_EXP_FLAGS_TYPE) >> 4;
  const unsigned version = flags & PCI_EXP_FLAGS_VERS;
  function.pcie_port_type = static_cast<std::int8_t>(type);
  // Functions of the root complex itself have no link, whatever stands in its registers; in version
  // 1 they end before them.
  if (type == PCI_EXP_TYPE_RC_END || type == PCI_EXP_TYPE_RC_EC) return;

  function.has_slot = (flags & PCI_EXP_FLAGS_SLOT) != 0 && CanHaveSlot(type);
  const std::size_t end = function.has_slot ? PCI_EXP_SLTCTL : PCI_EXP_SLTCAP;
  Holds(position + PCI_EXP_LNKCAP, end - PCI_EXP_LNKCAP);  // in one piece
  const std::uint32_t possible = Long(position + PCI_EXP_LNKCAP);
  const std::uint16_t now = Word(position + PCI_EXP_LNKSTA);
  Link& link = function.link;
  link.possible.speed = possible & PCI_EXP_LNKCAP_SLS;
  link.possible.width = static_cast<std::uint8_t>((possible & PCI_EXP_LNKCAP_MLW) >> 4);
  link.now.speed = now & PCI_EXP_LNKSTA_CLS;
  link.now.width =
      static_cast<std::uint8_t>((now & PCI_EXP_LNKSTA_NLW) >> PCI_EXP_LNKSTA_NLW_SHIFT);
  link.reports_active = (possible & PCI_EXP_LNKCAP_DLLLARC) != 0;
  link.active = (now & PCI_EXP_LNKSTA_DLLLA) != 0;
  if (version >= 2) link.speeds = Byte(position + PCI_EXP_LNKCAP2) & 0xfe;
  if (function.has_slot) function.slot_capabilities = Long(position + PCI_EXP_SLTCAP);
}

void ConfigSpace::FindSubsystem(Function& function, std::span<const Capability> chain) {
  std::size_t position = 0;
  if (function.header_type == PCI_HEADER_TYPE_NORMAL) position = PCI_SUBSYSTEM_VENDOR_ID;
  if (IsCardBus(function)) position = PCI_CB_SUBSYSTEM_VENDOR_ID;
  for (const Capability& capability : chain) {
    const bool bridge = function.header_type == PCI_HEADER_TYPE_BRIDGE;
    if (bridge && capability.id == PCI_CAP_ID_SSVID) {
      position = std::size_t{capability.position} + PCI_SSVID_VENDOR_ID;
      break;
    }
  }
  if (position == 0 || Word(position) == 0xffff) return;
  function.ids.subsystem_vendor = Word(position);
  function.ids.subsystem = Word(position + 2);
}

}  // namespace pci
