#include "tool/inventory/place_pattern.h"

#include <fmt/format.h>

#include <utility>

#include "tool/errors.h"

namespace tool {
namespace {

// The text up to the last `separator`, and the one behind it; without one the first is missing.
std::pair<std::optional<std::string_view>, std::string_view> SplitAtLast(char separator,
                                                                         std::string_view text) {
  const std::size_t place = text.rfind(separator);
  if (place == std::string_view::npos) return {std::nullopt, text};
  return {text.substr(0, place), text.substr(place + 1)};
}

bool IsAny(const std::optional<std::uint32_t>& wanted, std::uint32_t number) {
  return !wanted || *wanted == number;
}

}  // namespace

std::optional<std::uint32_t> ParsePart(std::string_view text, std::uint32_t largest,
                                       const std::string& what) {
  if (text.empty() || text == "*") return std::nullopt;
  const auto number = text.size() <= 8 ? pci::ParseHex(text, text.size()) : std::nullopt;
  if (!number || *number > largest) {
    throw UsageError(
        fmt::format("\"{}\" is no {}, which is hexadecimal and at most {:x}", text, what, largest));
  }
  return number;
}

PlacePattern PlacePattern::Parse(std::string_view text) {
  const auto [buses, place] = SplitAtLast(':', text);
  const auto [domain, bus] = SplitAtLast(':', buses.value_or(""));
  const std::size_t dot = place.find('.');
  PlacePattern pattern;
  pattern.domain = ParsePart(domain.value_or(""), pci::kMaxDomain, "PCI domain");
  pattern.bus = ParsePart(bus, 0xff, "PCI bus");
  pattern.device = ParsePart(place.substr(0, dot), 0x1f, "device of a PCI bus");
  if (dot != std::string_view::npos) {
    pattern.function = ParsePart(place.substr(dot + 1), 7, "function of a PCI device");
  }
  return pattern;
}

bool PlacePattern::Matches(const pci::Address& address) const {
  return IsAny(domain, address.domain) && IsAny(bus, address.bus) &&
         IsAny(device, address.device) && IsAny(function, address.function);
}

}  // namespace tool
