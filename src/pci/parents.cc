#include "pci/parents.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <vector>

namespace pci {
namespace {

using BridgeByBus = std::array<std::uint32_t, 256>;

// The bridges among functions[begin, end), so that of two whose ranges hold the same bus the deeper
// one comes later: ranges nest, the deeper one begins later or ends earlier.
std::vector<std::uint32_t> BridgesByDepth(std::span<const Function> functions, std::uint32_t begin,
                                          std::uint32_t end) {
  std::vector<std::uint32_t> bridges;
  for (std::uint32_t i = begin; i < end; ++i) {
    if (functions[i].buses.secondary > functions[i].address.bus) bridges.push_back(i);
  }
  std::sort(bridges.begin(), bridges.end(), [&](std::uint32_t left, std::uint32_t right) {
    const BusRange& a = functions[left].buses;
    const BusRange& b = functions[right].buses;
    return std::tuple(a.secondary, b.subordinate, right) <
           std::tuple(b.secondary, a.subordinate, left);
  });
  return bridges;
}

BridgeByBus DeepestBridges(std::span<const Function> functions, std::uint32_t begin,
                           std::uint32_t end) {
  BridgeByBus deepest;
  deepest.fill(kNone);
  for (const std::uint32_t bridge : BridgesByDepth(functions, begin, end)) {
    const BusRange& buses = functions[bridge].buses;
    for (unsigned bus = buses.secondary; bus <= buses.subordinate; ++bus) deepest[bus] = bridge;
  }
  return deepest;
}

}  // namespace

std::uint32_t FindFunction(std::span<const Function> functions, const Address& address) {
  const auto found = std::lower_bound(
      functions.begin(), functions.end(), address,
      [](const Function& function, const Address& key) { return function.address < key; });
  if (found == functions.end() || found->address != address) return kNone;
  return static_cast<std::uint32_t>(found - functions.begin());
}

void LinkByBusNumbers(std::span<Function> functions) {
  const auto count = static_cast<std::uint32_t>(functions.size());
  for (std::uint32_t begin = 0, end = 0; begin < count; begin = end) {
    const std::uint32_t domain = functions[begin].address.domain;
    while (end < count && functions[end].address.domain == domain) ++end;
    const BridgeByBus deepest = DeepestBridges(functions, begin, end);
    for (std::uint32_t i = begin; i < end; ++i) {
      if (functions[i].parent != kUnknownParent) continue;
      functions[i].parent = deepest[functions[i].address.bus];
    }
  }
}

}  // namespace pci
