#include "tool/topology.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace tool {
namespace {

constexpr std::size_t kTop = static_cast<std::size_t>(-1);

using Parents = std::vector<std::size_t>;  // position by position; kTop: has none

bool ByAddress(const Function& a, const Function& b) {
  return std::tie(a.domain, a.bus, a.device, a.number, a.id) <
         std::tie(b.domain, b.bus, b.device, b.number, b.id);
}

void SortByAddress(std::vector<Function>& functions) {
  if (std::is_sorted(functions.begin(), functions.end(), ByAddress)) return;
  std::sort(functions.begin(), functions.end(), ByAddress);
}

Parents FindParents(const std::vector<Function>& functions) {
  std::unordered_map<std::string_view, std::size_t> positions(functions.size());
  for (std::size_t i = 0; i < functions.size(); ++i) positions.emplace(functions[i].id, i);
  Parents parents;
  parents.reserve(functions.size());
  for (const Function& function : functions) {
    const auto parent = positions.find(function.parent);
    parents.push_back(parent == positions.end() ? kTop : parent->second);
  }
  return parents;
}

// Of functions that are each other's ancestors one gets to the top.
void CutCircles(Parents& parents) {
  std::vector<std::size_t> met_from(parents.size(), kTop);
  for (std::size_t start = 0; start < parents.size(); ++start) {
    std::size_t at = start;
    while (at != kTop && met_from[at] == kTop) {
      met_from[at] = start;
      at = parents[at];
    }
    if (at != kTop && met_from[at] == start) parents[at] = kTop;
  }
}

// The range of every ancestor comes to hold the function's buses. One that holds them already was
// widened by another function, and so were those above it.
void FillBusNumbers(std::vector<Function>& functions, const Parents& parents) {
  for (std::size_t i = 0; i < functions.size(); ++i) {
    const std::uint8_t bus = functions[i].bus;
    const std::uint8_t highest = functions[i].buses ? functions[i].buses->subordinate : bus;
    for (std::size_t above = parents[i]; above != kTop; above = parents[above]) {
      std::optional<BusRange>& range = functions[above].buses;
      if (range && range->subordinate >= highest) break;
      range = BusRange{range ? range->secondary : bus, highest};
    }
  }
}

// The text before the device number, where the identifier has the kernel's form.
std::string RootBusOf(const Function& function) {
  const std::size_t colon = function.id.rfind(':');
  if (colon != std::string::npos) return function.id.substr(0, colon);
  return fmt::format("{:04x}:{:02x}", function.domain, function.bus);
}

// Every function below its parent, those at the top below their root buses.
void Hang(Topology& topology, const Parents& parents) {
  std::unordered_map<std::string, std::size_t> roots;  // by identifier: place in topology.roots
  for (std::size_t i = 0; i < parents.size(); ++i) {
    if (parents[i] != kTop) {
      topology.functions[parents[i]].children.push_back(i);
      ++topology.functions[parents[i]].hanging;
      continue;
    }
    const std::string bus = RootBusOf(topology.functions[i]);
    const auto [root, is_new] = roots.emplace(bus, topology.roots.size());
    if (is_new) topology.roots.push_back({bus, {}});
    topology.roots[root->second].functions.push_back(i);
  }
}

class Pruning {
 public:
  Pruning(const std::set<std::string>& ids, Topology& topology) : ids_(ids), topology_(topology) {}

  // Leaves out of the places those that do not stay; below a selected function all do.
  void Prune(std::vector<std::size_t>& places, bool below_selected) {
    std::erase_if(places, [&](std::size_t place) {
      Function& function = topology_.functions[place];
      const bool selected = below_selected || ids_.contains(function.id);
      Prune(function.children, selected);
      const bool stays = selected || !function.children.empty();
      if (stays) kept_.insert(function.id);
      return !stays;
    });
  }

  const std::set<std::string>& kept() const { return kept_; }

 private:
  const std::set<std::string>& ids_;
  Topology& topology_;
  std::set<std::string> kept_;
};

}  // namespace

std::string SlotText(const Function& function) {
  std::string text;
  if (!function.slot.empty()) text.append(" (slot ").append(function.slot).append(")");
  if (!function.empty_slot.empty()) {
    text.append(" (empty slot ").append(function.empty_slot).append(")");
  }
  return text;
}

Topology BuildTopology(std::string system_name, std::vector<Function> functions,
                       BusNumbers bus_numbers) {
  SortByAddress(functions);
  Parents parents = FindParents(functions);
  CutCircles(parents);
  if (bus_numbers == BusNumbers::kSeen) FillBusNumbers(functions, parents);
  Topology topology;
  topology.system_name = std::move(system_name);
  topology.functions = std::move(functions);
  Hang(topology, parents);
  return topology;
}

void KeepSelected(const std::set<std::string>& ids, Topology& topology) {
  Pruning pruning(ids, topology);
  for (RootBus& root : topology.roots) pruning.Prune(root.functions, false);
  std::erase_if(topology.roots, [](const RootBus& root) { return root.functions.empty(); });
  for (TopologyBus& bus : topology.buses) {
    std::erase_if(bus.ports, [&](const std::string& port) {
      return !pruning.kept().contains(port.substr(0, port.rfind('-')));
    });
  }
  std::erase_if(topology.buses, [](const TopologyBus& bus) { return bus.ports.empty(); });
}

}  // namespace tool
