#include <string_view>
#include <vector>

#include "tool/json_text.h"
#include "tool/property_text.h"
#include "tool/topology_render.h"

namespace tool {
namespace {

std::string_view KindName(FunctionKind kind) {
  switch (kind) {
    case FunctionKind::kBridge: return "bridge";
    case FunctionKind::kSwitch: return "switch";
    case FunctionKind::kDownstreamPort: return "downstreamPort";
    case FunctionKind::kDevice: break;
  }
  return "device";
}

class JsonRenderer {
 public:
  JsonRenderer(const Topology& topology, const TreeStyle& style, std::ostream& out)
      : topology_(topology), style_(style), json_(out) {}

  void Render() {
    json_.BeginObject();
    Member("system", topology_.system_name);
    Array("rootBuses", topology_.roots, [this](const RootBus& root) {
      Member("id", root.id);
      Functions("functions", root.functions);
    });
    if (style_.buses) {
      Array("buses", topology_.buses, [this](const TopologyBus& bus) { Members(bus); });
    }
    json_.EndObject();
  }

 private:
  void Functions(std::string_view name, const std::vector<std::size_t>& places) {
    Array(name, places, [this](std::size_t place) { Members(topology_.functions[place]); });
  }

  void Members(const Function& function) {
    Member("id", function.id);
    Member("kind", KindName(function.kind));
    Member("class", function.class_name);
    Member("name", function.name);
    Member("segment", function.domain);
    Member("bus", function.bus);
    Member("device", function.device);
    Member("function", function.number);
    Facts(function.facts);
    if (!function.slot.empty()) Member("slot", function.slot);
    if (function.physical_slot) Member("physicalSlot", *function.physical_slot);
    if (!function.empty_slot.empty()) Member("emptySlot", function.empty_slot);
    if (function.buses) {
      Member("secondaryBus", function.buses->secondary);
      Member("subordinateBus", function.buses->subordinate);
    }
    if (function.kind == FunctionKind::kSwitch) Member("numberOfPorts", function.hanging);
    if (style_.ports) {
      Array("ports", function.ports, [this](const TopologyPort& port) {
        Member("id", port.id);
        Member("type", PortTypeName(port.type));
        Member("bus", port.bus);
      });
    }
    Functions("children", function.children);
  }

  void Facts(const FunctionFacts& facts) {
    const auto add = [&](std::string_view name, const std::string& text) {
      if (!text.empty()) Member(name, text);
    };
    add("type", facts.type);
    add("ids", facts.ids);
    add("revision", facts.revision);
    add("driver", facts.driver);
    add("link", facts.link);
    add("physicalFunction", facts.physical_function);
    if (facts.numa_node >= 0) Member("numaNode", static_cast<std::uint64_t>(facts.numa_node));
  }

  void Members(const TopologyBus& bus) {
    Member("id", bus.id);
    Member("bus", bus.number);
    json_.Name("ports");
    json_.BeginArray();
    for (const std::string& port : bus.ports) json_.Text(port);
    json_.EndArray();
  }

  void Member(std::string_view name, std::string_view text) {
    json_.Name(name);
    json_.Text(text);
  }
  void Member(std::string_view name, std::uint64_t number) {
    json_.Name(name);
    json_.Number(number);
  }

  // An array of objects.
  template <class Items, class MembersOf>
  void Array(std::string_view name, const Items& items, MembersOf members_of) {
    json_.Name(name);
    json_.BeginArray();
    for (const auto& item : items) {
      json_.BeginObject();
      members_of(item);
      json_.EndObject();
    }
    json_.EndArray();
  }

  const Topology& topology_;
  const TreeStyle& style_;
  JsonText json_;
};

}  // namespace

void RenderJson(const Topology& topology, const TreeStyle& style, std::ostream& out) {
  JsonRenderer(topology, style, out).Render();
  out << '\n';
}

}  // namespace tool
