// The least that answers what stands at a name without a search: one open table for devices and
// ports together, in which a name is kept once. It is the floor's own; the cache has a map for each
// question.
//
// Thread rule: filled by one thread; read by any number of them afterwards.

#ifndef BENCH_NAME_TABLE_H_
#define BENCH_NAME_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

class NameTable {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // Positions in the lists of devices and ports, or kNone.
  struct Entry {
    std::string name;
    std::uint32_t device = kNone;
    std::uint32_t port = kNone;
  };

  // Makes room for so many names; no more than that may come.
  void Reserve(std::size_t count) {
    entries_.reserve(count);
    std::size_t slots = 8;
    while (slots / 4 * 3 < count) slots *= 2;
    for (const Slot& slot : std::exchange(slots_, std::vector<Slot>(slots))) {
      if (slot.entry != kNone) *Find(slot.hash, entries_[slot.entry].name) = slot;
    }
  }

  // The entry of the name, made where there is none. It stays where it is until the next name.
  Entry& operator[](std::string_view name) {
    const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
    Slot& slot = *Find(hash, name);
    if (slot.entry == kNone) {
      slot = {hash, static_cast<std::uint32_t>(entries_.size())};
      entries_.push_back({std::string(name)});
    }
    return entries_[slot.entry];
  }

  // In the order in which the names came.
  const std::vector<Entry>& entries() const { return entries_; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t entry = kNone;
  };

  // The slot of the name, or the free one where it belongs.
  Slot* Find(std::uint32_t hash, std::string_view name) {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t position = hash & mask;; position = (position + 1) & mask) {
      Slot& slot = slots_[position];
      if (slot.entry == kNone || (slot.hash == hash && entries_[slot.entry].name == name)) {
        return &slot;
      }
    }
  }

  std::vector<Entry> entries_;
  std::vector<Slot> slots_;  // a power of two, at most three quarters taken
};

}  // namespace bench

#endif  // BENCH_NAME_TABLE_H_
