#include <string_view>
#include <utility>
#include <vector>

#include "tool/json_value.h"
#include "tool/property_text.h"
#include "tool/topology_render.h"
#include "tool/utf8_text.h"

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

void SetIf(Json& json, const char* name, const std::optional<std::uint64_t>& value) {
  if (value) json[name] = *value;
}

Json PortsJson(const Function& function) {
  Json ports = Json::array();
  for (const TopologyPort& port : function.ports) {
    ports.push_back(
        {{"id", ValidUtf8(port.id)}, {"type", PortTypeName(port.type)}, {"bus", port.bus}});
  }
  return ports;
}

Json FunctionsJson(const Topology& topology, const TreeStyle& style,
                   const std::vector<std::size_t>& indexes);

Json FunctionJson(const Topology& topology, const TreeStyle& style, const Function& function) {
  Json json;
  json["id"] = ValidUtf8(function.id);
  json["kind"] = KindName(function.kind);
  json["class"] = ValidUtf8(function.class_name);
  json["name"] = ValidUtf8(function.name);
  json["segment"] = function.segment;
  json["bus"] = function.bus;
  json["device"] = function.device;
  json["function"] = function.number;
  SetIf(json, "slot", function.slot);
  SetIf(json, "secondaryBus", function.secondary_bus);
  SetIf(json, "subordinateBus", function.subordinate_bus);
  SetIf(json, "numberOfPorts", function.port_count);
  if (style.ports) json["ports"] = PortsJson(function);
  json["children"] = FunctionsJson(topology, style, function.children);
  return json;
}

Json FunctionsJson(const Topology& topology, const TreeStyle& style,
                   const std::vector<std::size_t>& indexes) {
  Json functions = Json::array();
  for (const std::size_t index : indexes) {
    functions.push_back(FunctionJson(topology, style, topology.functions[index]));
  }
  return functions;
}

Json BusesJson(const Topology& topology) {
  Json buses = Json::array();
  for (const TopologyBus& bus : topology.buses) {
    Json ports = Json::array();
    for (const std::string& port : bus.ports) ports.push_back(ValidUtf8(port));
    Json json;
    json["id"] = ValidUtf8(bus.id);
    json["bus"] = bus.number;
    json["ports"] = std::move(ports);
    buses.push_back(std::move(json));
  }
  return buses;
}

}  // namespace

void RenderJson(const Topology& topology, const TreeStyle& style, std::ostream& out) {
  Json roots = Json::array();
  for (const RootBus& root : topology.roots) {
    Json json;
    json["id"] = ValidUtf8(root.id);
    json["functions"] = FunctionsJson(topology, style, root.functions);
    roots.push_back(std::move(json));
  }
  Json json;
  json["system"] = ValidUtf8(topology.system_name);
  json["rootBuses"] = std::move(roots);
  if (style.buses) json["buses"] = BusesJson(topology);
  out << json.dump(2) << '\n';
}

}  // namespace tool
