#include "platform/hostctl/pci_address.h"

#include <charconv>
#include <cstdio>

namespace HostCtl::Linux {

std::string FormatAddress(const PciAddress& address) {
  char text[24];
  const int length =
      std::snprintf(text, sizeof text, "%04x:%02x:%02x.%x", address.domain, unsigned{address.bus},
                    unsigned{address.device}, unsigned{address.function});
  return std::string(text, static_cast<std::size_t>(length));
}

std::optional<std::uint32_t> ParseHex(std::string_view text, std::size_t digits) {
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, 16);
  if (text.size() != digits || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<PciAddress> ParseAddress(std::string_view text) {
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
  return PciAddress{*domain, static_cast<std::uint8_t>(*bus), static_cast<std::uint8_t>(*device),
                    static_cast<std::uint8_t>(*function)};
}

}  // namespace HostCtl::Linux
