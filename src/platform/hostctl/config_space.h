// The part of a function's configuration space that says what it can do: status register, header
// type, capability chain, PCI Express port type and link.
// Thread rule: a plain value over bytes that the caller keeps.

#ifndef PLATFORM_HOSTCTL_CONFIG_SPACE_H_
#define PLATFORM_HOSTCTL_CONFIG_SPACE_H_

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>

namespace HostCtl::Linux {

// Bytes of configuration space that hold the header and every capability of the chain.
inline constexpr std::size_t kConfigSize = 256;

inline constexpr std::size_t kStandardHeaderSize = 64;

// Buses behind a bridge. Nothing is behind a function that is no bridge: both are 0.
struct BusRange {
  std::uint8_t secondary = 0;
  std::uint8_t subordinate = 0;
};

struct CapabilityFacts {
  std::bitset<256> ids;             // capability IDs of the chain (PCI Local Bus 3.0, appendix H)
  std::int8_t pcie_port_type = -1;  // -1: no PCI Express capability
  bool link_5gt = false;            // the link runs at 5 GT/s or more
  bool link_8gt = false;            // the link runs at 8 GT/s or more
  bool cut_off = false;             // the chain goes on behind the bytes that are there
};

class ConfigSpace {
 public:
  // The first `bytes.size()` bytes of a configuration space, at most kConfigSize. None, or fewer
  // than the standard header, tell nothing.
  explicit ConfigSpace(std::span<const std::uint8_t> bytes);

  BusRange BusesBehind() const;

  // Walks the capability chain as far as it can be read. A chain that loops ends there.
  CapabilityFacts Capabilities() const;

  // Codes of CIM_PCIController.Capabilities (CIM schema) that hold: bit n stands for code n.
  std::uint16_t CapabilityCodes(const CapabilityFacts& facts) const;

 private:
  bool Holds(std::size_t position, std::size_t size) const {
    return position + size <= bytes_.size();
  }
  std::uint8_t Byte(std::size_t position) const;
  std::uint16_t Word(std::size_t position) const;
  std::uint32_t Long(std::size_t position) const;
  std::uint8_t HeaderType() const;
  void ReadPcieCapability(std::size_t position, CapabilityFacts& facts) const;
  std::uint32_t LinkSpeeds(std::size_t position) const;

  std::span<const std::uint8_t> bytes_;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_CONFIG_SPACE_H_
