#include "tool/topology.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "tool/property_text.h"

namespace tool {
namespace {

using Positions = std::unordered_map<std::string, std::size_t>;

bool ByAddress(const Function& a, const Function& b) {
  return std::tie(a.segment, a.bus, a.device, a.number, a.id) <
         std::tie(b.segment, b.bus, b.device, b.number, b.id);
}

// The text before the device number, where the identifier has the kernel's form.
std::string RootBusOf(const Function& function) {
  const std::size_t colon = function.id.rfind(':');
  if (colon != std::string::npos) return function.id.substr(0, colon);
  return fmt::format("{:04x}:{:02x}", function.segment, function.bus);
}

class Builder {
 public:
  Builder(std::string system_name, std::vector<Function> functions) {
    topology_.system_name = std::move(system_name);
    std::stable_sort(functions.begin(), functions.end(), ByAddress);
    for (Function& function : functions) {
      if (positions_.emplace(function.id, topology_.functions.size()).second) {
        topology_.functions.push_back(std::move(function));
      }
    }
  }

  Topology Build(const std::vector<broker::Instance>& ports) {
    for (const broker::Instance& port : ports) AddPort(port);
    std::vector<std::size_t> tops;
    std::vector<std::vector<std::size_t>> children(topology_.functions.size());
    for (std::size_t i = 0; i < topology_.functions.size(); ++i) {
      const auto parent = positions_.find(topology_.functions[i].parent);
      (parent == positions_.end() ? tops : children[parent->second]).push_back(i);
    }
    reached_.resize(topology_.functions.size());
    for (const std::size_t top : tops) AddTop(top, children);
    // What no top leads to is its own ancestor.
    for (std::size_t i = 0; i < reached_.size(); ++i) {
      if (!reached_[i]) AddTop(i, children);
    }
    FillBusNumbers();
    return std::move(topology_);
  }

 private:
  void AddPort(const broker::Instance& port) {
    TopologyPort made;
    made.id = PropertyText(port, "DeviceID");
    made.type = PropertyNumber(port, "PortType").value_or(0);
    made.bus = PropertyNumber(port, "BusNumber").value_or(0);
    const auto owner = positions_.find(FunctionOfPort(made.id));
    if (owner == positions_.end()) return;
    std::vector<TopologyPort>& ports = topology_.functions[owner->second].ports;
    const bool known = std::any_of(ports.begin(), ports.end(),
                                   [&](const TopologyPort& other) { return other.id == made.id; });
    if (!known) ports.push_back(std::move(made));
  }

  void AddTop(std::size_t top, const std::vector<std::vector<std::size_t>>& children) {
    const std::string bus = RootBusOf(topology_.functions[top]);
    const auto [root, added] = roots_.emplace(bus, topology_.roots.size());
    if (added) topology_.roots.push_back({bus, {}});
    topology_.roots[root->second].functions.push_back(top);
    Reach(top, children);
  }

  // Ancestors come before their descendants in order_.
  void Reach(std::size_t from, const std::vector<std::vector<std::size_t>>& children) {
    std::size_t next = order_.size();
    order_.push_back(from);
    reached_[from] = true;
    for (; next < order_.size(); ++next) {
      for (const std::size_t child : children[order_[next]]) {
        if (reached_[child]) continue;
        reached_[child] = true;
        topology_.functions[order_[next]].children.push_back(child);
        order_.push_back(child);
      }
    }
  }

  void FillBusNumbers() {
    for (auto position = order_.rbegin(); position != order_.rend(); ++position) {
      Function& function = topology_.functions[*position];
      for (const std::size_t index : function.children) {
        const Function& child = topology_.functions[index];
        if (!function.secondary_bus) function.secondary_bus = child.bus;
        function.subordinate_bus =
            std::max({function.subordinate_bus.value_or(0), child.bus,
                      child.secondary_bus.value_or(0), child.subordinate_bus.value_or(0)});
      }
    }
  }

  Topology topology_;
  Positions positions_;  // of functions
  Positions roots_;
  std::vector<bool> reached_;
  std::vector<std::size_t> order_;
};

}  // namespace

Function MakeFunction(const broker::Instance& instance, FunctionKind kind) {
  Function function;
  function.kind = kind;
  function.id = PropertyText(instance, "DeviceID");
  function.parent = PropertyText(instance, "ParentDeviceID");
  function.name = ElementTitle(instance);
  function.class_name = ClassTitle(instance);
  function.segment = PropertyNumber(instance, "SegmentNumber").value_or(0);
  function.bus = PropertyNumber(instance, "BusNumber").value_or(0);
  function.device = PropertyNumber(instance, "DeviceNumber").value_or(0);
  function.number = PropertyNumber(instance, "FunctionNumber").value_or(0);
  function.slot = PropertyNumber(instance, "PhysicalSlot");
  function.port_count = PropertyNumber(instance, "NumberOfPorts");
  function.secondary_bus = PropertyNumber(instance, "SecondaryBusNumber");
  // Bus 0 is below no bridge: a host or ISA bridge has no secondary bus.
  if (function.secondary_bus == 0U) function.secondary_bus.reset();
  return function;
}

std::string FunctionOfPort(const std::string& port_id) {
  return port_id.substr(0, port_id.rfind('-'));
}

Topology BuildTopology(std::string system_name, std::vector<Function> functions,
                       const std::vector<broker::Instance>& ports) {
  return Builder(std::move(system_name), std::move(functions)).Build(ports);
}

}  // namespace tool
