#include "tool/inventory/host_link.h"

#include <algorithm>
#include <optional>

#include "tool/inventory/function_text.h"

namespace tool {
namespace {

using State = HostLink::State;

PortType TypeOf(const pci::Function& function) {
  return static_cast<PortType>(function.pcie_port_type);
}

// A port whose link leads down. A host bridge may be of this type, but no bus is below it.
bool LeadsDown(const pci::Function& function) {
  const PortType type = TypeOf(function);
  return type == kRootPort || type == kDownstreamPort || type == kFromPci;
}

bool LeadsUp(const pci::Function& function) {
  const PortType type = TypeOf(function);
  return type == kEndpoint || type == kLegacyEndpoint || type == kUpstreamPort || type == kToPci;
}

bool IsIntegrated(const pci::Function& function) {
  const PortType type = TypeOf(function);
  return type == kIntegratedEndpoint || type == kEventCollector;
}

bool IsTold(const pci::LinkRate& rate) { return rate.speed != 0 && rate.width != 0; }

// What one end says where the other one does not. Both have what they agreed on; where they differ,
// as ends that are emulated may, it is the lesser.
std::uint8_t Agreed(std::uint8_t upper, std::uint8_t lower) {
  return upper == 0 || lower == 0 ? std::max(upper, lower) : std::min(upper, lower);
}

HostLink Between(const std::vector<pci::Function>& functions, std::uint32_t upper,
                 std::uint32_t lower) {
  const pci::Link& above = functions[upper].link;
  const pci::Link& below = functions[lower].link;
  HostLink link{.upper = upper, .lower = lower};
  link.now = {Agreed(above.now.speed, below.now.speed), Agreed(above.now.width, below.now.width)};
  link.possible = {std::min(above.possible.speed, below.possible.speed),
                   std::min(above.possible.width, below.possible.width)};
  if (!IsTold(link.now) || !IsTold(link.possible)) return link;
  const bool slower = link.now.speed < link.possible.speed;
  const bool narrower = link.now.width < link.possible.width;
  link.state = slower || narrower ? State::kDegraded : State::kInOrder;
  return link;
}

// By the place of a port: the first function below it that is the lower end of its link.
std::vector<std::uint32_t> LowerEnds(const std::vector<pci::Function>& functions) {
  std::vector<std::uint32_t> lower_ends(functions.size(), pci::kNone);
  for (std::uint32_t i = 0; i < functions.size(); ++i) {
    const std::uint32_t parent = functions[i].parent;
    if (parent == pci::kNone || !LeadsDown(functions[parent]) || !LeadsUp(functions[i])) continue;
    if (lower_ends[parent] == pci::kNone) lower_ends[parent] = i;
  }
  return lower_ends;
}

// The link that this function is the upper end of, or the only end that is shown.
std::optional<HostLink> LinkAt(const std::vector<pci::Function>& functions, std::uint32_t place,
                               std::uint32_t lower_end) {
  const pci::Function& function = functions[place];
  if (IsIntegrated(function)) return HostLink{.lower = place, .state = State::kIntegrated};
  const pci::LinkRate& now = function.link.now;
  const pci::LinkRate& possible = function.link.possible;
  if (LeadsDown(function)) {
    if (lower_end != pci::kNone) return Between(functions, place, lower_end);
    // Nothing has agreed on anything where nothing answers, whatever the register has.
    if (function.buses.secondary != 0) {
      return HostLink{.upper = place, .possible = possible, .state = State::kDown};
    }
    return HostLink{.upper = place, .now = now, .possible = possible, .state = State::kOneEnd};
  }
  const bool below_port = function.parent != pci::kNone && LeadsDown(functions[function.parent]);
  if (!LeadsUp(function) || below_port) return std::nullopt;
  return HostLink{.lower = place, .now = now, .possible = possible, .state = State::kOneEnd};
}

}  // namespace

std::string_view StateText(State state) {
  switch (state) {
    case State::kDegraded: return "degraded";
    case State::kDown: return "down";
    case State::kUnknown: return "an end does not tell";
    case State::kOneEnd: return "the other end is not shown";
    case State::kIntegrated: return "integrated, no link";
    case State::kInOrder: break;
  }
  return "";
}

HostLinks::HostLinks(const pci::Host& host) : above_(host.functions().size(), pci::kNone) {
  const std::vector<pci::Function>& functions = host.functions();
  const std::vector<std::uint32_t> lower_ends = LowerEnds(functions);
  for (std::uint32_t i = 0; i < functions.size(); ++i) {
    const auto link = LinkAt(functions, i, lower_ends[i]);
    if (!link) continue;
    if (link->lower != pci::kNone) above_[link->lower] = static_cast<std::uint32_t>(links_.size());
    links_.push_back(*link);
  }
  for (std::uint32_t i = 0; i < functions.size(); ++i) {
    const std::uint32_t parent = functions[i].parent;
    if (above_[i] != pci::kNone || parent == pci::kNone || !LeadsUp(functions[i])) continue;
    if (lower_ends[parent] != pci::kNone) above_[i] = above_[lower_ends[parent]];
  }
}

const HostLink* HostLinks::Above(std::uint32_t function) const {
  const std::uint32_t place = above_[function];
  return place == pci::kNone ? nullptr : &links_[place];
}

}  // namespace tool
