#include "platform/hostctl/topology.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <vector>

namespace HostCtl::Linux {
namespace {

using BridgeByBus = std::array<std::uint32_t, 256>;

// The bridges among records[begin, end), so that of two whose ranges hold the same bus the deeper
// one comes later: ranges nest, the deeper one begins later or ends earlier.
std::vector<std::uint32_t> BridgesByDepth(std::span<const FunctionRecord> records,
                                          std::uint32_t begin, std::uint32_t end) {
  std::vector<std::uint32_t> bridges;
  for (std::uint32_t i = begin; i < end; ++i) {
    if (records[i].buses.secondary > records[i].address.bus) bridges.push_back(i);
  }
  std::sort(bridges.begin(), bridges.end(), [&](std::uint32_t left, std::uint32_t right) {
    const BusRange& a = records[left].buses;
    const BusRange& b = records[right].buses;
    return std::tuple(a.secondary, b.subordinate, right) <
           std::tuple(b.secondary, a.subordinate, left);
  });
  return bridges;
}

BridgeByBus DeepestBridges(std::span<const FunctionRecord> records, std::uint32_t begin,
                           std::uint32_t end) {
  BridgeByBus deepest;
  deepest.fill(kNoParent);
  for (const std::uint32_t bridge : BridgesByDepth(records, begin, end)) {
    const BusRange& buses = records[bridge].buses;
    for (unsigned bus = buses.secondary; bus <= buses.subordinate; ++bus) deepest[bus] = bridge;
  }
  return deepest;
}

std::optional<std::uint32_t> Find(std::span<const FunctionRecord> records,
                                  const PciAddress& address) {
  const auto found = std::lower_bound(
      records.begin(), records.end(), address,
      [](const FunctionRecord& record, const PciAddress& key) { return record.address < key; });
  if (found == records.end() || found->address != address) return std::nullopt;
  return static_cast<std::uint32_t>(found - records.begin());
}

}  // namespace

void LinkByBusNumbers(std::span<FunctionRecord> records) {
  const auto count = static_cast<std::uint32_t>(records.size());
  for (std::uint32_t begin = 0, end = 0; begin < count; begin = end) {
    const std::uint32_t domain = records[begin].address.domain;
    while (end < count && records[end].address.domain == domain) ++end;
    const BridgeByBus deepest = DeepestBridges(records, begin, end);
    for (std::uint32_t i = begin; i < end; ++i) {
      records[i].parent = deepest[records[i].address.bus];
    }
  }
}

void LinkAsKernelSays(std::span<FunctionRecord> records, const SysfsTree& tree) {
  for (FunctionRecord& record : records) {
    const Upstream upstream = tree.UpstreamOf(record.address);
    if (upstream.kind == Upstream::Kind::kRootBus) record.parent = kNoParent;
    if (upstream.kind != Upstream::Kind::kFunction) continue;
    const bool possible = upstream.function.domain == record.address.domain &&
                          upstream.function.bus < record.address.bus;
    const auto parent = Find(records, upstream.function);
    if (possible && parent) record.parent = *parent;
  }
}

}  // namespace HostCtl::Linux
