// What the topology cache knows by name, for every name of a device or a port: one table for all
// its indexes, filled once and asked ever after. It takes half the time and the memory of a
// std::unordered_map per index, each with nodes and keys of its own.
//
// Thread rule: filled by one thread; read by any number of them afterwards.

#ifndef CACHE_KNOWN_NAMES_H_
#define CACHE_KNOWN_NAMES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Positions in the lists of the cache, or kUnknown.
struct NameFacts {
  static constexpr std::uint32_t kUnknown = UINT32_MAX;

  std::uint32_t device = kUnknown;          // the first device of this name
  std::uint32_t port = kUnknown;            // the first port of this name
  std::uint32_t device_port = kUnknown;     // the last port of a device of this name
  std::uint32_t hosted_port = kUnknown;     // the first port that a device of this name hosts
  std::uint32_t connected_port = kUnknown;  // of those the first on the lowest bus
  std::uint32_t port_record = kUnknown;     // the last controlled-by record of a port of this name
  std::uint32_t device_record = kUnknown;   // the same, of a device of this name
};

class KnownNames {
 public:
  struct Entry {
    std::string name;
    NameFacts facts;
  };

  // Makes room for so many names.
  void Reserve(std::size_t count);

  // The facts of the name; nothing is known of a new one. The reference holds until the next name.
  NameFacts& operator[](std::string_view name) { return entries_[PositionOf(name)].facts; }

  // The facts of the name, or null.
  const NameFacts* Find(std::string_view name) const;
  // One of its facts, or kUnknown.
  std::uint32_t Find(std::string_view name, std::uint32_t NameFacts::*fact) const {
    const NameFacts* facts = Find(name);
    return facts == nullptr ? NameFacts::kUnknown : facts->*fact;
  }

  // The same for names that are asked for in nearly the order in which they came: most stand right
  // behind the one before, and are found without the table. `place` goes from one question to the
  // next, from 0.
  NameFacts& At(std::string_view name, std::size_t& place);
  const NameFacts* Find(std::string_view name, std::size_t& place) const;
  NameFacts* Find(std::string_view name, std::size_t& place) {
    return const_cast<NameFacts*>(std::as_const(*this).Find(name, place));
  }

  // The names in the order in which they came.
  std::size_t size() const { return entries_.size(); }
  auto begin() const { return entries_.begin(); }
  auto end() const { return entries_.end(); }

 private:
  // A place in the table, which the hash chooses; it also tells most names apart without a look at
  // them.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t entry = NameFacts::kUnknown;  // position in the list

    bool is_free() const { return entry == NameFacts::kUnknown; }
  };

  std::uint32_t EntryOf(std::string_view name) const;
  std::size_t PositionOf(std::string_view name);
  std::size_t SlotOf(std::uint32_t hash, std::string_view name) const;
  bool StandsNear(std::size_t& place, std::string_view name) const;
  void Spread(std::size_t count);

  std::vector<Entry> entries_;
  std::vector<Slot> slots_;  // a power of two, at most three quarters taken
};

#endif  // CACHE_KNOWN_NAMES_H_
