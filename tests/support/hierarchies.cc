#include "support/hierarchies.h"

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>

namespace compact_host {
namespace {

enum class Kind {
  kHostBridge,
  kConventional,
  kPciBridge,
  kIntegrated,
  kRootPort,
  kEndpoint,
  kPcieToPci,
  kUpstream,
  kDownstream,
};

enum class BusKind { kRoot, kPci, kLink, kInner };

// What may stand on a bus, in the order in which small hierarchies have them.
const std::vector<Kind>& KindsOn(BusKind bus) {
  static const std::vector<Kind> root = {Kind::kHostBridge, Kind::kConventional, Kind::kPciBridge,
                                         Kind::kIntegrated, Kind::kRootPort};
  static const std::vector<Kind> pci = {Kind::kConventional, Kind::kPciBridge};
  static const std::vector<Kind> link = {Kind::kEndpoint, Kind::kPcieToPci, Kind::kUpstream};
  static const std::vector<Kind> inner = {Kind::kDownstream};
  switch (bus) {
    case BusKind::kRoot: return root;
    case BusKind::kPci: return pci;
    case BusKind::kLink: return link;
    case BusKind::kInner: break;
  }
  return inner;
}

bool IsBridge(Kind kind) {
  return kind == Kind::kPciBridge || kind == Kind::kRootPort || kind == Kind::kPcieToPci ||
         kind == Kind::kUpstream || kind == Kind::kDownstream;
}

BusKind BusBehind(Kind bridge) {
  if (bridge == Kind::kUpstream) return BusKind::kInner;
  return bridge == Kind::kRootPort || bridge == Kind::kDownstream ? BusKind::kLink : BusKind::kPci;
}

// The facts of one kind, which pci.ids knows.
Function Make(Kind kind) {
  Function function;
  const auto set = [&](unsigned class_code, unsigned vendor, unsigned device, int pcie_type,
                       std::vector<unsigned> capabilities) {
    function.class_code = class_code;
    function.vendor = vendor;
    function.device = device;
    function.pcie_type = pcie_type;
    function.capabilities = std::move(capabilities);
  };
  switch (kind) {
    case Kind::kHostBridge: set(0x060000, 0x8086, 0x29c0, -1, {}); break;
    case Kind::kConventional: set(0x020000, 0x10ec, 0x8139, -1, {0x01}); break;
    case Kind::kPciBridge: set(0x060400, 0x1b36, 0x0001, -1, {0x05}); break;
    case Kind::kIntegrated: set(0x0c0330, 0x1b36, 0x000d, 9, {0x11}); break;
    case Kind::kRootPort: set(0x060400, 0x1b36, 0x000c, 4, {0x05, 0x0d}); break;
    case Kind::kEndpoint: set(0x010802, 0x1b36, 0x0010, 0, {0x01, 0x11}); break;
    case Kind::kPcieToPci: set(0x060400, 0x104c, 0x8231, 7, {0x0d}); break;
    case Kind::kUpstream: set(0x060400, 0x104c, 0x8232, 5, {0x05}); break;
    case Kind::kDownstream: set(0x060400, 0x104c, 0x8233, 6, {0x05}); break;
  }
  if (IsBridge(kind)) function.header_type = 1;
  if (function.pcie_type >= 0) function.possible = {3, 4};
  return function;
}

// ---- Small hierarchies.

struct Node {
  Kind kind;
  std::vector<Node> below;
};
using Forest = std::vector<Node>;

// All that may stand on a bus with so many functions in all. Of the kinds on one bus none comes
// before `first`.
std::vector<Forest> Forests(BusKind bus, std::size_t size, std::size_t first = 0) {
  if (size == 0) return {{}};
  std::vector<Forest> forests;
  const std::vector<Kind>& kinds = KindsOn(bus);
  for (std::size_t k = first; k < kinds.size(); ++k) {
    const std::size_t most_below = IsBridge(kinds[k]) ? size - 1 : 0;
    for (std::size_t below_size = 0; below_size <= most_below; ++below_size) {
      for (const Forest& below : Forests(BusBehind(kinds[k]), below_size)) {
        for (const Forest& others : Forests(bus, size - 1 - below_size, k)) {
          Forest forest = {{kinds[k], below}};
          forest.insert(forest.end(), others.begin(), others.end());
          forests.push_back(std::move(forest));
        }
      }
    }
  }
  return forests;
}

// Puts hierarchies into a host and numbers their buses.
class Builder {
 public:
  explicit Builder(Host& host) : host_(host) {}

  void AddDomain(unsigned domain, unsigned root_bus, const Forest& forest, bool one_device) {
    domain_ = domain;
    last_bus_ = root_bus;
    one_device_ = one_device;
    AddForest(forest, BusKind::kRoot, root_bus, kNone);
  }

 private:
  void AddForest(const Forest& forest, BusKind kind, unsigned bus, std::size_t above) {
    unsigned position = kind == BusKind::kLink ? 0 : 1;
    for (const Node& node : forest) {
      Function function = Make(node.kind);
      // Nothing but one device can be on a link.
      const bool one_device = one_device_ || kind == BusKind::kLink;
      function.address = {domain_, bus, one_device ? 0 : position, one_device ? position : 0};
      function.above = above;
      ++position;
      const unsigned before = last_bus_;
      if (IsBridge(node.kind)) {
        function.secondary = before + 1;
        function.subordinate = last_bus_ = before + BusesBelow(node);
      }
      const std::size_t place = host_.Add(function);
      if (!IsBridge(node.kind)) continue;
      last_bus_ = before + 1;
      AddForest(node.below, BusBehind(node.kind), before + 1, place);
    }
  }

  // The bridge's own, and those below.
  static unsigned BusesBelow(const Node& bridge) {
    unsigned buses = 1;
    for (const Node& node : bridge.below) buses += IsBridge(node.kind) ? BusesBelow(node) : 0;
    return buses;
  }

  Host& host_;
  unsigned domain_ = 0;
  unsigned last_bus_ = 0;
  bool one_device_ = false;
};

// ---- Random hosts.

class RandomBuilder {
 public:
  explicit RandomBuilder(unsigned seed) : random_(seed) {}

  Host Build() {
    constexpr std::array kDomains = {0U, 1U, 0xffffU, 0x10000U, 0x10001U, 0x7ffffU};
    std::size_t next_domain = Below(2);
    for (unsigned count = 1 + Below(3); count > 0; --count) {
      domain_ = kDomains[next_domain];
      next_domain += 1 + Below(2);
      if (next_domain >= kDomains.size()) next_domain = kDomains.size() - 1, count = 1;
      AddDomain();
    }
    return std::move(host_);
  }

 private:
  unsigned Below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }
  bool Chance(unsigned percent) { return Below(100) < percent; }

  void AddDomain() {
    unsigned root_bus = Chance(70) ? 0 : Below(0x40);
    for (unsigned count = 1 + Below(3); count > 0 && root_bus < 0xe0; --count) {
      last_bus_ = root_bus;
      limit_ = std::min(root_bus + 8 + Below(40), 0xffU);
      FillBus(BusKind::kRoot, root_bus, kNone, 0);
      root_bus = limit_ + 1 + Below(0x40);
    }
    // Processors' own: host bridges and nothing else.
    if (Chance(25) && root_bus < 0xff) {
      for (unsigned device = 0; device < 4; ++device)
        Add(Kind::kHostBridge, {0xff, device, 0}, kNone);
    }
  }

  struct Place {
    unsigned bus, device, function;
  };

  std::size_t Add(Kind kind, Place place, std::size_t above) {
    Function function = Make(kind);
    function.address = {domain_, place.bus, place.device, place.function};
    function.above = above;
    function.revision = Chance(50) ? Below(0x100) : 0;
    function.status = Below(8) << 5;
    if (Chance(50) && !IsBridge(kind)) {
      function.subsystem_vendor = 0x1af4;
      function.subsystem = Below(0x10000);
    }
    if (!IsBridge(kind) && Chance(60)) ChangeEndpoint(function);
    if (function.pcie_type >= 0 && kind != Kind::kIntegrated) {
      function.possible = {1 + Below(5), 1U << Below(5)};
      if (Chance(70)) function.now = {1 + Below(function.possible.speed), 1};
    }
    return host_.Add(std::move(function));
  }

  void ChangeEndpoint(Function& function) {
    constexpr std::array kClasses = {0x020000U, 0x030000U, 0x010601U, 0x050210U, 0x060100U,
                                     0x068000U, 0x088000U, 0xff0000U, 0x120000U, 0x0c0500U};
    constexpr std::array kIds = {std::pair{0x8086U, 0x1521U}, std::pair{0x15b3U, 0x101dU},
                                 std::pair{0x1234U, 0x5678U}, std::pair{0xabcdU, 0x0001U},
                                 std::pair{0x8086U, 0xfffeU}, std::pair{0x10deU, 0x20b0U}};
    constexpr std::array kCapabilities = {0x01U, 0x02U, 0x03U, 0x04U, 0x05U, 0x06U,
                                          0x07U, 0x09U, 0x0aU, 0x0eU, 0x11U, 0x12U};
    if (Chance(70)) function.class_code = kClasses[Below(kClasses.size())];
    std::tie(function.vendor, function.device) = kIds[Below(kIds.size())];
    function.capabilities.clear();
    for (const unsigned id : kCapabilities) {
      if (Chance(30)) function.capabilities.push_back(id);
    }
    std::shuffle(function.capabilities.begin(), function.capabilities.end(), random_);
  }

  // Devices of one to eight functions, now and then without the first.
  std::vector<Place> Places(BusKind kind, unsigned bus, unsigned depth) {
    std::vector<Place> places;
    const bool link = kind == BusKind::kLink;
    if (depth > 0 && Chance(15)) return places;
    const unsigned devices = link ? 1 : 1 + Below(depth == 0 ? 5 : 3);
    unsigned device = link ? 0 : Below(3);
    for (unsigned i = 0; i < devices && device < 32; ++i, device += 1 + Below(6)) {
      const bool several = Chance(30);
      for (unsigned function = several ? Below(3) : 0; function < 8; function += 1 + Below(5)) {
        places.push_back({bus, device, function});
        if (!several) break;
      }
    }
    return places;
  }

  // Deep down there are more and more endpoints, and nothing else where no bus number is left.
  std::optional<Kind> Choose(BusKind bus, unsigned depth) {
    const bool is_last = last_bus_ >= limit_;
    const bool ends = is_last || Below(10) < depth;
    switch (bus) {
      case BusKind::kRoot:
        if (is_last) return Kind::kIntegrated;
        if (Chance(40)) return Kind::kRootPort;
        break;
      case BusKind::kLink:
        if (ends) return Kind::kEndpoint;
        break;
      case BusKind::kPci:
        if (ends || Chance(50)) return Kind::kConventional;
        break;
      case BusKind::kInner:
        if (is_last) return std::nullopt;
        break;
    }
    const std::vector<Kind>& kinds = KindsOn(bus);
    return kinds[Below(kinds.size())];
  }

  void FillBus(BusKind kind, unsigned bus, std::size_t above, unsigned depth) {
    for (const Place& place : Places(kind, bus, depth)) {
      const std::optional<Kind> chosen = Choose(kind, depth);
      if (!chosen) break;
      const std::size_t added = Add(*chosen, place, above);
      if (IsBridge(*chosen)) FillBridge(*chosen, added, depth);
      if (chosen == Kind::kEndpoint && Chance(15)) AddVirtualFunctions(added);
      if (chosen == Kind::kConventional && last_bus_ < limit_ && Chance(10)) MakeCardBus(added);
    }
  }

  void FillBridge(Kind kind, std::size_t place, unsigned depth) {
    // Not set up: buses 00 to 00. In other domains lspci 3.9 runs in circles then, where the root
    // bus is 00 as well.
    if (domain_ == 0 && Chance(5)) return;
    const unsigned secondary = ++last_bus_;
    Function bridge = host_.functions()[place];
    bridge.secondary = secondary;
    AddSlot(kind, bridge);
    host_.Replace(place, bridge);
    FillBus(BusBehind(kind), secondary, place, depth + 1);
    if (Chance(15)) last_bus_ = std::min(limit_, last_bus_ + 1 + Below(3));  // in reserve
    bridge.subordinate = last_bus_;
    host_.Replace(place, bridge);
  }

  void AddSlot(Kind kind, Function& bridge) {
    if (kind != Kind::kRootPort && kind != Kind::kDownstream) return;
    if (Chance(50)) bridge.slot = Chance(20) ? Below(8192) : Below(300);
    if (Chance(50)) {
      // The kernel makes a second slot of one name "0-1".
      bridge.label =
          std::to_string(bridge.slot.value_or(Below(300))) + '-' + std::to_string(++labels_);
      if (Chance(40)) bridge.label = std::to_string(1000 + labels_);
      if (Chance(20)) bridge.label = "000001" + std::to_string(10 + labels_) + 'a';
    }
  }

  // On the rest of the physical one's bus, or on buses that are in reserve for them.
  void AddVirtualFunctions(std::size_t place) {
    const Function physical = host_.functions()[place];
    const unsigned count = 1 + Below(12);
    Address first = physical.address;
    first.device = 4 + 3 * physical.address.function;  // apart from those of its neighbours
    first.function = Below(8);
    if (last_bus_ + 1 < limit_ && Chance(50)) first.bus = ++last_bus_;
    host_.AddVirtualFunctions(place, count, first, 0x1520);
  }

  void MakeCardBus(std::size_t place) {
    Function bridge = host_.functions()[place];
    bridge.class_code = 0x060700;
    bridge.header_type = 2;
    std::erase(bridge.capabilities, 0x07U);  // of which lspci does not end the line
    bridge.secondary = bridge.subordinate = ++last_bus_;
    host_.Replace(place, bridge);
  }

  std::mt19937 random_;
  Host host_;
  unsigned domain_ = 0;
  unsigned last_bus_ = 0;
  unsigned limit_ = 0;  // last bus below this root bus
  unsigned labels_ = 0;
};

}  // namespace

std::vector<Host> SmallHierarchies(std::size_t size, std::size_t functions) {
  constexpr std::array kRootBuses = {0x00U, 0x20U, 0x80U, 0xf0U};
  std::vector<Host> hosts(1);
  unsigned domain = 0;
  for (std::size_t n = 1; n <= size; ++n) {
    for (const Forest& forest : Forests(BusKind::kRoot, n)) {
      if (hosts.back().functions().size() + n > functions) hosts.emplace_back();
      const unsigned root_bus = kRootBuses[domain % kRootBuses.size()];
      Builder(hosts.back()).AddDomain(domain, root_bus, forest, domain % 2 == 1);
      ++domain;
    }
  }
  return hosts;
}

Host RandomHost(unsigned seed) { return RandomBuilder(seed).Build(); }

}  // namespace compact_host
