#include "tool/inventory/way.h"

#include <algorithm>
#include <array>

#include "tool/inventory/function_text.h"

namespace tool {
namespace {

using Kind = Way::Kind;

// The function and all above it.
std::vector<std::uint32_t> UpFrom(const pci::Host& host, std::uint32_t from) {
  std::vector<std::uint32_t> up;
  for (std::uint32_t at = from; at != pci::kNone; at = host.functions()[at].parent)
    up.push_back(at);
  return up;
}

bool IsOneDevice(const pci::Address& a, const pci::Address& b) {
  return a.domain == b.domain && a.bus == b.bus && a.device == b.device;
}

Kind KindBelowTop(const pci::Host& host, const Way& way) {
  const auto is_switch = [&](std::uint32_t place) {
    return host.functions()[place].pcie_port_type == kUpstreamPort;
  };
  const auto switches = std::count_if(way.up.begin(), way.up.end(), is_switch) +
                        std::count_if(way.down.begin(), way.down.end(), is_switch);
  if (switches == 0) return Kind::kBridge;
  return switches == 1 ? Kind::kSwitch : Kind::kSwitches;
}

Kind KindAboveRootBuses(const pci::Host& host, const Way& way) {
  const pci::Function& first = host.functions()[way.up.back()];
  const pci::Function& second = host.functions()[way.down.back()];
  const std::int32_t node = host.DetailOf(first).numa_node;
  const std::int32_t other_node = host.DetailOf(second).numa_node;
  if (node >= 0 && other_node >= 0 && node != other_node) return Kind::kNumaNodes;
  const bool same_bus =
      first.address.domain == second.address.domain && first.address.bus == second.address.bus;
  return same_bus ? Kind::kHostBridge : Kind::kHostBridges;
}

// Bits a second that are data, in units that serve comparison alone: the first two generations send
// ten bits for eight, the later ones 130 for 128 (PCI Express Base, 4.2).
double Throughput(const pci::LinkRate& rate) {
  constexpr std::array kPerLane = {0.0, 2.0, 4.0, 7.88, 15.75, 31.5, 63.0};
  return rate.speed < kPerLane.size() ? kPerLane[rate.speed] * rate.width : 0.0;
}

}  // namespace

Way WayToRoot(const pci::Host& host, std::uint32_t from) {
  Way way;
  way.up = UpFrom(host, from);
  return way;
}

Way WayBetween(const pci::Host& host, std::uint32_t from, std::uint32_t to) {
  Way way;
  way.up = UpFrom(host, from);
  way.down = UpFrom(host, to);
  while (!way.up.empty() && !way.down.empty() && way.up.back() == way.down.back()) {
    way.has_common_top = true;
    const std::uint32_t top = way.up.back();
    way.up.pop_back();
    way.down.pop_back();
    const bool apart = way.up.empty() || way.down.empty() || way.up.back() != way.down.back();
    if (apart) {
      way.up.push_back(top);
      break;
    }
  }
  if (from == to) {
    way.kind = Kind::kSelf;
  } else if (IsOneDevice(host.functions()[from].address, host.functions()[to].address)) {
    way.kind = Kind::kDevice;
  } else {
    way.kind = way.has_common_top ? KindBelowTop(host, way) : KindAboveRootBuses(host, way);
  }
  return way;
}

std::string_view KindText(Kind kind) {
  switch (kind) {
    case Kind::kSelf: return "the same function";
    case Kind::kDevice: return "same device";
    case Kind::kBridge: return "same bridge";
    case Kind::kSwitch: return "same switch";
    case Kind::kSwitches: return "several switches";
    case Kind::kHostBridge: return "host bridge";
    case Kind::kHostBridges: return "several host bridges";
    case Kind::kNumaNodes: break;
  }
  return "across NUMA nodes";
}

std::string_view ShortKindText(Kind kind) {
  switch (kind) {
    case Kind::kSelf: return "-";
    case Kind::kDevice: return "DEV";
    case Kind::kBridge: return "BR";
    case Kind::kSwitch: return "SW";
    case Kind::kSwitches: return "SWS";
    case Kind::kHostBridge: return "HB";
    case Kind::kHostBridges: return "HBS";
    case Kind::kNumaNodes: break;
  }
  return "NUMA";
}

const HostLink* NarrowestLink(const Way& way, const HostLinks& links) {
  // The link above the common top is not on the way.
  std::vector<std::uint32_t> lower_ends = way.up;
  if (way.has_common_top) lower_ends.pop_back();
  lower_ends.insert(lower_ends.end(), way.down.begin(), way.down.end());
  const HostLink* narrowest = nullptr;
  for (const std::uint32_t place : lower_ends) {
    const HostLink* link = links.Above(place);
    if (link == nullptr || Throughput(link->now) == 0) continue;
    if (narrowest == nullptr || Throughput(link->now) < Throughput(narrowest->now)) {
      narrowest = link;
    }
  }
  return narrowest;
}

}  // namespace tool
