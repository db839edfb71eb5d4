// Where a function sits: domain, bus, device and function number, and their text in the kernel's
// spelling.
// Thread rule: a plain value.

#ifndef PCI_ADDRESS_H_
#define PCI_ADDRESS_H_

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pci {

struct Address {
  std::uint32_t domain = 0;  // at most kMaxDomain
  std::uint8_t bus = 0;
  std::uint8_t device = 0;    // 0 to 31
  std::uint8_t function = 0;  // 0 to 7

  auto operator<=>(const Address&) const = default;
};

// The kernel counts domains in an int.
inline constexpr std::uint32_t kMaxDomain = 0x7fffffff;

// The address as the kernel spells it: dddd:bb:dd.f in lower-case hex, the domain with as many
// digits as it needs and at least four.
std::string FormatAddress(const Address& address);

// Reads dddd:bb:dd.f with four to eight domain digits; nothing where the text is anything else or a
// number is out of range.
std::optional<Address> ParseAddress(std::string_view text);

// Reads hexadecimal digits and nothing else, `digits` of them; nothing where the text is shorter,
// longer or has another character.
std::optional<std::uint32_t> ParseHex(std::string_view text, std::size_t digits);

}  // namespace pci

#endif  // PCI_ADDRESS_H_
