#include "pci/address.h"

#include <array>
#include <charconv>

namespace pci {

// By hand, because every answer about a function holds addresses: printf takes ten times as long.
std::string FormatAddress(const Address& address) {
  std::array<char, std::string_view("dddddddd:bb:dd.f").size()> text;
  char* const end = text.data() + text.size();
  char* begin = end;
  const auto prepend = [&](std::uint32_t number, std::size_t digits) {
    for (; digits > 0 || number != 0; number >>= 4) {
      *--begin = "0123456789abcdef"[number & 0xf];
      if (digits > 0) --digits;
    }
  };
  prepend(address.function, 1);
  *--begin = '.';
  prepend(address.device, 2);
  *--begin = ':';
  prepend(address.bus, 2);
  *--begin = ':';
  prepend(address.domain, 4);
  return {begin, end};
}

std::optional<std::uint32_t> ParseHex(std::string_view text, std::size_t digits) {
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, 16);
  if (text.size() != digits || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<Address> ParseAddress(std::string_view text) {
  constexpr std::string_view kTail = ":bb:dd.f";
  if (text.size() < 4 + kTail.size() || text.size() > 8 + kTail.size()) return std::nullopt;
  const std::size_t domain_digits = text.size() - kTail.size();
  const std::string_view tail = text.substr(domain_digits);
  if (tail[0] != ':' || tail[3] != ':' || tail[6] != '.') return std::nullopt;

  const auto domain = ParseHex(text.substr(0, domain_digits), domain_digits);
  const auto bus = ParseHex(tail.substr(1, 2), 2);
  const auto device = ParseHex(tail.substr(4, 2), 2);
  const auto function = ParseHex(tail.substr(7, 1), 1);
  if (!domain || !bus || !device || !function) return std::nullopt;
  if (*domain > kMaxDomain || *device > 31 || *function > 7) return std::nullopt;
  return Address{*domain, static_cast<std::uint8_t>(*bus), static_cast<std::uint8_t>(*device),
                 static_cast<std::uint8_t>(*function)};
}

}  // namespace pci
