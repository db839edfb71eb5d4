#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tool/property_text.h"
#include "tool/topology_render.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

struct Lines {
  std::string_view branch;
  std::string_view last;
  std::string_view through;
  std::string_view nothing;
  std::string_view ellipsis;
};
constexpr Lines kUtf8 = {"├─ ", "└─ ", "│  ", "   ", "…"};
constexpr Lines kAscii = {"|- ", "`- ", "|  ", "   ", "..."};

std::string Buses(const Function& function) {
  if (!function.secondary_bus) return "";
  const std::uint64_t last = function.subordinate_bus.value_or(*function.secondary_bus);
  if (last <= *function.secondary_bus) return fmt::format(" [{:02x}]", *function.secondary_bus);
  return fmt::format(" [{:02x}-{:02x}]", *function.secondary_bus, last);
}

std::string Kind(const Function& function) {
  switch (function.kind) {
    case FunctionKind::kSwitch:
      return fmt::format("PCI Express switch, {} port{}", function.port_count.value_or(0),
                         function.port_count == 1U ? "" : "s");
    case FunctionKind::kDownstreamPort: return "Downstream port";
    case FunctionKind::kBridge:
    case FunctionKind::kDevice: break;
  }
  return function.class_name;
}

std::string Label(const Function& function) {
  return fmt::format("{}{}  {}: {}{}", function.id, Buses(function), Kind(function), function.name,
                     function.slot ? fmt::format(" (slot {})", *function.slot) : "");
}

class TextRenderer {
 public:
  TextRenderer(const Topology& topology, const TreeStyle& style, std::ostream& out)
      : topology_(topology), style_(style), lines_(style.utf8 ? kUtf8 : kAscii), out_(out) {}

  void Render() {
    Line(topology_.system_name);
    const bool buses = style_.buses && !topology_.buses.empty();
    for (std::size_t i = 0; i < topology_.roots.size(); ++i) {
      const RootBus& root = topology_.roots[i];
      Branch("", "[" + root.id + "]", !buses && i + 1 == topology_.roots.size(),
             [&](const std::string& indent) { Functions(indent, root.functions); });
    }
    if (!buses) return;
    for (std::size_t i = 0; i < topology_.buses.size(); ++i) {
      Bus(topology_.buses[i], i + 1 == topology_.buses.size());
    }
  }

 private:
  // A line at the end of `indent`, then what hangs below it, further in.
  template <class Below>
  void Branch(const std::string& indent, const std::string& label, bool last, Below below) {
    Line(indent + std::string(last ? lines_.last : lines_.branch) + label);
    below(indent + std::string(last ? lines_.nothing : lines_.through));
  }

  void Leaf(const std::string& indent, const std::string& label, bool last) {
    Branch(indent, label, last, [](const std::string&) {});
  }

  void Functions(const std::string& indent, const std::vector<std::size_t>& functions) {
    for (const std::size_t index : functions) {
      const Function& function = topology_.functions[index];
      Branch(indent, Label(function), index == functions.back(),
             [&](const std::string& deeper) { Below(deeper, function); });
    }
  }

  void Below(const std::string& indent, const Function& function) {
    if (style_.ports) {
      for (std::size_t i = 0; i < function.ports.size(); ++i) {
        const TopologyPort& port = function.ports[i];
        Leaf(indent,
             fmt::format("{}  {} port, bus {:02x}", port.id, PortTypeName(port.type), port.bus),
             function.children.empty() && i + 1 == function.ports.size());
      }
    }
    Functions(indent, function.children);
  }

  void Bus(const TopologyBus& bus, bool last) {
    const std::string label = fmt::format("bus {:02x}  {}: {} port{}", bus.number, bus.id,
                                          bus.ports.size(), bus.ports.size() == 1 ? "" : "s");
    Branch("", label, last, [&](const std::string& indent) {
      if (!style_.ports) return;
      for (const std::string& port : bus.ports) Leaf(indent, port, &port == &bus.ports.back());
    });
  }

  void Line(const std::string& text) {
    const std::string line = PrintableUtf8(text);
    out_ << (style_.width == 0 ? line : Cut(line, style_.width, lines_.ellipsis)) << '\n';
  }

  const Topology& topology_;
  const TreeStyle& style_;
  const Lines& lines_;
  std::ostream& out_;
};

}  // namespace

void RenderText(const Topology& topology, const TreeStyle& style, std::ostream& out) {
  TextRenderer(topology, style, out).Render();
}

}  // namespace tool
