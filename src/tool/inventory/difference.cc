#include "tool/inventory/difference.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace tool {
namespace {

using Change = Difference::Change;

constexpr std::array<std::string_view, 7> kCompared = {"ids",    "subsystem", "rev", "slot",
                                                       "driver", "numa",      "link"};

const std::string* Find(const FunctionRecord& record, std::string_view name) {
  const auto found = record.find(std::string(name));
  return found == record.end() ? nullptr : &found->second;
}

// Whether both tell the value, and differently.
bool Differs(const FunctionRecord& before, const FunctionRecord& after, std::string_view name) {
  const std::string* old_value = Find(before, name);
  const std::string* new_value = Find(after, name);
  return old_value != nullptr && new_value != nullptr && *old_value != *new_value;
}

class Comparison {
 public:
  Comparison(const Snapshot& before, const Snapshot& after, const std::set<std::string>& ignored)
      : before_(before),
        after_(after),
        ignored_(ignored),
        partners_(before.functions.size()),
        taken_(after.functions.size()) {}

  std::vector<Difference> Run() {
    FindPartners();
    FindMoved();
    for (std::size_t i = 0; i < partners_.size(); ++i) Tell(i);
    for (std::size_t i = 0; i < taken_.size() && !before_.is_partial; ++i) {
      if (!taken_[i]) differences_.push_back({Change::kNew, {}, after_.functions[i]});
    }
    return std::move(differences_);
  }

 private:
  using Places = std::multimap<std::string, std::size_t>;  // of new functions, by a value

  // By the first of these that the old function tells.
  void FindPartners() {
    constexpr std::array<std::string_view, 3> kNames = {"path", "address", "slot"};
    std::array<Places, kNames.size()> places;
    for (std::size_t name = 0; name < kNames.size(); ++name) {
      for (std::size_t i = 0; i < after_.functions.size(); ++i) {
        const std::string* value = Find(after_.functions[i], kNames[name]);
        if (value != nullptr && !value->empty()) places[name].emplace(*value, i);
      }
    }
    for (std::size_t i = 0; i < partners_.size(); ++i) {
      const FunctionRecord& function = before_.functions[i];
      bool is_placed = false;
      for (std::size_t name = 0; name < kNames.size() && !is_placed; ++name) {
        const std::string* value = Find(function, kNames[name]);
        is_placed = value != nullptr && !value->empty();
        if (is_placed) TakeOneOf(places[name].equal_range(*value), i);
      }
      if (!is_placed) TakeLike(i);
    }
  }

  // Of several functions in one slot the one with the same ids comes first.
  void TakeOneOf(std::pair<Places::iterator, Places::iterator> range, std::size_t old_place) {
    std::optional<std::size_t> found;
    for (auto at = range.first; at != range.second; ++at) {
      const std::size_t place = at->second;
      if (taken_[place]) continue;
      const bool alike = !Differs(before_.functions[old_place], after_.functions[place], "ids");
      if (!found || alike) found = place;
      if (alike) break;
    }
    if (found) Pair(old_place, *found);
  }

  // The first that has all that the old function tells.
  void TakeLike(std::size_t old_place) {
    const FunctionRecord& wanted = before_.functions[old_place];
    for (std::size_t i = 0; i < taken_.size(); ++i) {
      if (taken_[i]) continue;
      const bool alike = std::all_of(wanted.begin(), wanted.end(), [&](const auto& member) {
        return ignored_.contains(member.first) ||
               !Differs(wanted, after_.functions[i], member.first);
      });
      if (alike) return Pair(old_place, i);
    }
  }

  void Pair(std::size_t old_place, std::size_t new_place) {
    partners_[old_place] = new_place;
    taken_[new_place] = true;
  }

  // What is gone and has come somewhere else.
  void FindMoved() {
    Places by_ids;
    for (std::size_t i = 0; i < taken_.size(); ++i) {
      if (!taken_[i]) by_ids.emplace(IdsOf(after_.functions[i]), i);
    }
    for (std::size_t i = 0; i < partners_.size(); ++i) {
      if (partners_[i] || Find(before_.functions[i], "ids") == nullptr) continue;
      const auto found = by_ids.find(IdsOf(before_.functions[i]));
      if (found == by_ids.end()) continue;
      Pair(i, found->second);
      moved_.insert(i);
      by_ids.erase(found);
    }
  }

  static std::string IdsOf(const FunctionRecord& function) {
    const std::string* ids = Find(function, "ids");
    const std::string* subsystem = Find(function, "subsystem");
    return (ids == nullptr ? "" : *ids) + ' ' + (subsystem == nullptr ? "" : *subsystem);
  }

  void Tell(std::size_t old_place) {
    const FunctionRecord& old_function = before_.functions[old_place];
    if (!partners_[old_place]) {
      differences_.push_back({Change::kMissing, old_function, {}});
      return;
    }
    const FunctionRecord& new_function = after_.functions[*partners_[old_place]];
    const bool moved = moved_.contains(old_place);
    if (moved) differences_.push_back({Change::kMoved, old_function, new_function});
    for (const std::string_view value : kCompared) {
      if (moved && value == "slot") continue;  // that it has moved says so
      if (ignored_.contains(std::string(value)) || !Differs(old_function, new_function, value)) {
        continue;
      }
      differences_.push_back({Change::kChanged, old_function, new_function, std::string(value)});
    }
  }

  const Snapshot& before_;
  const Snapshot& after_;
  const std::set<std::string>& ignored_;
  std::vector<std::optional<std::size_t>> partners_;  // of old functions, places of new ones
  std::vector<bool> taken_;                           // new functions that are partners
  std::set<std::size_t> moved_;                       // old functions
  std::vector<Difference> differences_;
};

}  // namespace

std::span<const std::string_view> ComparedValues() { return kCompared; }

std::vector<Difference> Compare(const Snapshot& before, const Snapshot& after,
                                const std::set<std::string>& ignored) {
  return Comparison(before, after, ignored).Run();
}

}  // namespace tool
