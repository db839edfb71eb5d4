#include "tool/inventory/selection.h"

#include <algorithm>
#include <string_view>

#include "tool/errors.h"
#include "tool/inventory/function_text.h"

namespace tool {
namespace {

constexpr std::string_view kNoDriver = "none";

template <class Pattern>
std::vector<Pattern> ParseAll(const std::vector<std::string>& texts) {
  std::vector<Pattern> patterns;
  patterns.reserve(texts.size());
  for (const std::string& text : texts) patterns.push_back(Pattern::Parse(text));
  return patterns;
}

// Whether one of them fits, or nothing was asked for.
template <class Wanted, class Fits>
bool AnyFits(const std::vector<Wanted>& wanted, Fits fits) {
  return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), fits);
}

}  // namespace

Selection::Selection(const SelectionOptions& options)
    : places_(ParseAll<PlacePattern>(options.places)),
      ids_(ParseAll<IdPattern>(options.ids)),
      classes_(ParseAll<ClassPattern>(options.classes)),
      slots_(options.slots),
      drivers_(options.drivers) {}

bool Selection::is_all() const {
  return places_.empty() && ids_.empty() && classes_.empty() && slots_.empty() && drivers_.empty();
}

void Selection::AddWanted(pci::Host::Wanted& wanted) const {
  if (!drivers_.empty()) wanted.details.driver = true;
}

bool Selection::Holds(const pci::Host& host, const pci::Function& function) const {
  return AnyFits(places_, [&](const auto& place) { return place.Matches(function.address); }) &&
         AnyFits(ids_, [&](const auto& ids) { return ids.Matches(function); }) &&
         AnyFits(classes_, [&](const auto& cls) { return cls.Matches(function); }) &&
         AnyFits(slots_, [&](const auto& slot) { return slot == SlotName(host, function); }) &&
         AnyFits(drivers_, [&](const auto& driver) {
           return host.DetailOf(function).driver == (driver == kNoDriver ? "" : driver);
         });
}

std::vector<std::uint32_t> Selection::Of(const pci::Host& host) const {
  std::vector<std::uint32_t> selected;
  for (std::uint32_t i = 0; i < host.functions().size(); ++i) {
    if (Holds(host, host.functions()[i])) selected.push_back(i);
  }
  if (selected.empty() && !is_all()) throw CommandError("no PCI function of the host is selected");
  return selected;
}

}  // namespace tool
