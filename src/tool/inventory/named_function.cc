#include "tool/inventory/named_function.h"

#include <fmt/format.h>

#include <vector>

#include "tool/errors.h"
#include "tool/inventory/place_pattern.h"

namespace tool {
namespace {

std::vector<std::uint32_t> PlacesOf(const PlacePattern& pattern, const pci::Host& host) {
  std::vector<std::uint32_t> places;
  for (std::uint32_t i = 0; i < host.functions().size(); ++i) {
    if (pattern.Matches(host.functions()[i].address)) places.push_back(i);
  }
  return places;
}

}  // namespace

std::uint32_t FunctionNamed(std::string_view text, const pci::Host& host) {
  PlacePattern pattern = PlacePattern::Parse(text);
  std::vector<std::uint32_t> places = PlacesOf(pattern, host);
  if (places.size() > 1 && !pattern.domain) {
    pattern.domain = 0;
    const std::vector<std::uint32_t> in_first = PlacesOf(pattern, host);
    if (!in_first.empty()) places = in_first;
  }
  if (places.empty()) {
    throw CommandError(fmt::format("not found: there is no PCI function {}", text));
  }
  if (places.size() == 1) return places.front();
  throw CommandError(fmt::format("{} is {} PCI functions, {} and {} among them: name one", text,
                                 places.size(), FormatAddress(host.functions()[places[0]].address),
                                 FormatAddress(host.functions()[places[1]].address)));
}

}  // namespace tool
