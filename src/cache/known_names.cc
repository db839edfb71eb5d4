#include "cache/known_names.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

std::uint32_t HashOf(std::string_view name) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

std::size_t SlotsFor(std::size_t names) {
  std::size_t slots = 8;
  while (slots / 4 * 3 < names) slots *= 2;
  return slots;
}

}  // namespace

void KnownNames::Reserve(std::size_t count) {
  entries_.reserve(count);
  if (SlotsFor(count) > slots_.size()) Spread(SlotsFor(count));
}

const NameFacts* KnownNames::Find(std::string_view name) const {
  const std::uint32_t position = EntryOf(name);
  return position == NameFacts::kUnknown ? nullptr : &entries_[position].facts;
}

NameFacts& KnownNames::At(std::string_view name, std::size_t& place) {
  if (!StandsNear(place, name)) place = PositionOf(name);
  return entries_[place].facts;
}

const NameFacts* KnownNames::Find(std::string_view name, std::size_t& place) const {
  if (StandsNear(place, name)) return &entries_[place].facts;
  const std::uint32_t position = EntryOf(name);
  if (position == NameFacts::kUnknown) return nullptr;
  place = position;
  return &entries_[place].facts;
}

// Whether the name stands at the place or right behind it; the place is moved there.
bool KnownNames::StandsNear(std::size_t& place, std::string_view name) const {
  constexpr std::size_t kLookedAt = 3;  // the last once more, the next, and one that was left out
  const std::size_t end = std::min(place + kLookedAt, entries_.size());
  for (std::size_t position = place; position < end; ++position) {
    if (entries_[position].name != name) continue;
    place = position;
    return true;
  }
  return false;
}

// Where the name stands in the list, or kUnknown.
std::uint32_t KnownNames::EntryOf(std::string_view name) const {
  return slots_.empty() ? NameFacts::kUnknown : slots_[SlotOf(HashOf(name), name)].entry;
}

// Where the name stands in the list; it is added where it does not.
std::size_t KnownNames::PositionOf(std::string_view name) {
  if (SlotsFor(entries_.size() + 1) > slots_.size()) Spread(SlotsFor(entries_.size() + 1));
  const std::uint32_t hash = HashOf(name);
  Slot& slot = slots_[SlotOf(hash, name)];
  if (slot.is_free()) {
    entries_.push_back({std::string(name), {}});
    slot = {hash, static_cast<std::uint32_t>(entries_.size() - 1)};
  }
  return slot.entry;
}

// The slot that holds the name, or the free one where it belongs.
std::size_t KnownNames::SlotOf(std::uint32_t hash, std::string_view name) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t position = hash & mask;
  while (!slots_[position].is_free()) {
    const Slot& slot = slots_[position];
    if (slot.hash == hash && entries_[slot.entry].name == name) break;
    position = (position + 1) & mask;
  }
  return position;
}

// Spreads the names over so many slots.
void KnownNames::Spread(std::size_t count) {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(count));
  for (const Slot& slot : old) {
    if (slot.is_free()) continue;
    std::size_t position = slot.hash & (count - 1);
    while (!slots_[position].is_free()) position = (position + 1) & (count - 1);
    slots_[position] = slot;
  }
}
