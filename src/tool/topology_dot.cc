#include <fmt/format.h>

#include <string>
#include <string_view>

#include "tool/property_text.h"
#include "tool/topology_render.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

// In a double-quoted string of the DOT language only the quote and the backslash mean something.
std::string DotQuoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : PrintableUtf8(text)) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

// Two lines of a label.
std::string Label(std::string_view first, std::string_view second) {
  std::string label = DotQuoted(first);
  label.pop_back();
  return label + "\\n" + DotQuoted(second).substr(1);
}

std::string_view Shape(FunctionKind kind) {
  switch (kind) {
    case FunctionKind::kBridge: return "house";
    case FunctionKind::kSwitch: return "hexagon";
    case FunctionKind::kDownstreamPort: return "cds";
    case FunctionKind::kDevice: break;
  }
  return "box";
}

std::string_view Colour(FunctionKind kind) {
  switch (kind) {
    case FunctionKind::kBridge: return "#cfe2f3";
    case FunctionKind::kSwitch: return "#d9ead3";
    case FunctionKind::kDownstreamPort: return "#e6f2e1";
    case FunctionKind::kDevice: break;
  }
  return "#fff2cc";
}

class DotRenderer {
 public:
  DotRenderer(const Topology& topology, const TreeStyle& style, std::ostream& out)
      : topology_(topology), style_(style), out_(out) {}

  void Render() {
    out_ << "digraph pci {\n  rankdir=LR;\n  node [fontname=\"sans-serif\"];\n";
    const std::string system = "system " + topology_.system_name;
    Node(system, DotQuoted(topology_.system_name), "box3d");
    for (const RootBus& root : topology_.roots) {
      const std::string id = "root bus " + root.id;
      Node(id, DotQuoted("[" + root.id + "]"), "plaintext");
      Edge(system, id);
      for (const std::size_t index : root.functions) Edge(id, topology_.functions[index].id);
    }
    for (const Function& function : topology_.functions) Draw(function);
    if (style_.buses) {
      for (const TopologyBus& bus : topology_.buses) Draw(system, bus);
    }
    out_ << "}\n";
  }

 private:
  void Draw(const Function& function) {
    Node(function.id, Label(function.id + SlotText(function), function.name), Shape(function.kind),
         fmt::format(", style=filled, fillcolor=\"{}\"", Colour(function.kind)));
    for (const std::size_t child : function.children) {
      Edge(function.id, topology_.functions[child].id);
    }
    if (!style_.ports) return;
    for (const TopologyPort& port : function.ports) {
      Node(port.id, Label(port.id, PortTypeName(port.type)), "ellipse");
      Edge(function.id, port.id, " [style=dotted]");
    }
  }

  void Draw(const std::string& system, const TopologyBus& bus) {
    Node(bus.id, Label(fmt::format("bus {:02x}", bus.number), bus.id), "cylinder");
    Edge(system, bus.id, " [style=dashed]");
    if (!style_.ports) return;
    for (const std::string& port : bus.ports) Edge(bus.id, port, " [style=dashed]");
  }

  void Node(std::string_view id, const std::string& quoted_label, std::string_view shape,
            std::string_view attributes = "") {
    out_ << fmt::format("  {} [label={}, shape={}{}];\n", DotQuoted(id), quoted_label, shape,
                        attributes);
  }
  void Edge(std::string_view from, std::string_view to, std::string_view attributes = "") {
    out_ << fmt::format("  {} -> {}{};\n", DotQuoted(from), DotQuoted(to), attributes);
  }

  const Topology& topology_;
  const TreeStyle& style_;
  std::ostream& out_;
};

}  // namespace

void RenderDot(const Topology& topology, const TreeStyle& style, std::ostream& out) {
  DotRenderer(topology, style, out).Render();
}

}  // namespace tool
