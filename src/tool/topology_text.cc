#include <fmt/format.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tool/property_text.h"
#include "tool/topology_fold.h"
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
  std::string_view times;
};
constexpr Lines kUtf8 = {"├─ ", "└─ ", "│  ", "   ", "…", "×"};
constexpr Lines kAscii = {"|- ", "`- ", "|  ", "   ", "...", "x"};

std::string_view Plural(std::size_t count) { return count == 1 ? "" : "s"; }

void AppendBuses(std::string& line, const Function& function) {
  if (!function.buses) return;
  const auto [secondary, subordinate] = *function.buses;
  auto end = std::back_inserter(line);
  if (secondary == subordinate) {
    fmt::format_to(end, " [{:02x}]", secondary);
  } else {
    fmt::format_to(end, " [{:02x}-{:02x}]", secondary, subordinate);
  }
}

void AppendKind(std::string& line, const Function& function) {
  switch (function.kind) {
    case FunctionKind::kSwitch:
      fmt::format_to(std::back_inserter(line), "PCI Express switch, {} port{}", function.hanging,
                     Plural(function.hanging));
      return;
    case FunctionKind::kDownstreamPort: line += "Downstream port"; return;
    case FunctionKind::kBridge:
    case FunctionKind::kDevice: break;
  }
  // CIM calls a root port a bridge to PCI.
  line += function.facts.type == "root port" ? "Root port" : function.class_name;
}

struct TopologyCounts {
  std::size_t functions = 0;
  std::size_t virtual_functions = 0;
  std::size_t empty_slots = 0;
};

void CountBelow(const Topology& topology, const std::vector<std::size_t>& places,
                TopologyCounts& counts) {
  for (const std::size_t place : places) {
    const Function& function = topology.functions[place];
    ++counts.functions;
    if (!function.facts.physical_function.empty()) ++counts.virtual_functions;
    if (!function.empty_slot.empty()) ++counts.empty_slots;
    CountBelow(topology, function.children, counts);
  }
}

class TextRenderer {
 public:
  TextRenderer(const Topology& topology, const TreeStyle& style, std::ostream& out)
      : topology_(topology), style_(style), lines_(style.utf8 ? kUtf8 : kAscii), out_(out) {}

  void Render() {
    line_ = topology_.system_name;
    EndLine();
    const bool buses = style_.buses && !topology_.buses.empty();
    for (const RootBus& root : topology_.roots) {
      const bool last = !buses && &root == &topology_.roots.back();
      BeginLine(last);
      line_.append("[").append(root.id).append("]");
      EndLine();
      Below(last, [&] { Functions(root.functions); });
    }
    if (buses) {
      for (const TopologyBus& bus : topology_.buses) Bus(bus, &bus == &topology_.buses.back());
    }
    if (style_.counts) Counts();
  }

 private:
  void Functions(const std::vector<std::size_t>& functions) {
    const std::vector<DrawnFunction> drawn = style_.fold && !style_.ports
                                                 ? DrawFolded(topology_, functions)
                                                 : DrawEach(topology_, functions);
    for (const DrawnFunction& line : drawn) DrawFunction(line, &line == &drawn.back());
  }

  void DrawFunction(const DrawnFunction& drawn, bool last) {
    const Function& function = topology_.functions[drawn.place];
    BeginLine(last);
    line_ += drawn.address;
    AppendBuses(line_, function);
    line_ += SlotText(function);  // before the name, which a narrow terminal cuts off
    line_ += "  ";
    if (drawn.count > 1)
      fmt::format_to(std::back_inserter(line_), "{} {} ", drawn.count, lines_.times);
    AppendKind(line_, function);
    line_.append(": ").append(function.name);
    AppendFacts(function.facts);
    EndLine();
    Below(last, [&] {
      if (style_.ports) Ports(function);
      Functions(function.children);
      if (drawn.virtual_functions > 0) VirtualFunctions(drawn.virtual_functions);
    });
  }

  void AppendFacts(const FunctionFacts& facts) {
    if (style_.links && !facts.link.empty()) line_.append("  link ").append(facts.link);
    if (style_.drivers && !facts.driver.empty()) line_.append("  driver ").append(facts.driver);
  }

  void VirtualFunctions(std::size_t count) {
    BeginLine(true);
    fmt::format_to(std::back_inserter(line_), "+ {} virtual function{}", count, Plural(count));
    EndLine();
  }

  void Ports(const Function& function) {
    for (const TopologyPort& port : function.ports) {
      BeginLine(function.children.empty() && &port == &function.ports.back());
      fmt::format_to(std::back_inserter(line_), "{}  {} port, bus {:02x}", port.id,
                     PortTypeName(port.type), port.bus);
      EndLine();
    }
  }

  void Bus(const TopologyBus& bus, bool last) {
    BeginLine(last);
    fmt::format_to(std::back_inserter(line_), "bus {:02x}  {}: {} port{}", bus.number, bus.id,
                   bus.ports.size(), Plural(bus.ports.size()));
    EndLine();
    if (!style_.ports) return;
    Below(last, [&] {
      for (const std::string& port : bus.ports) {
        BeginLine(&port == &bus.ports.back());
        line_ += port;
        EndLine();
      }
    });
  }

  // Of what is drawn, folded or not.
  void Counts() {
    TopologyCounts counts;
    for (const RootBus& root : topology_.roots) CountBelow(topology_, root.functions, counts);
    line_ = fmt::format("{} function{}", counts.functions, Plural(counts.functions));
    if (counts.virtual_functions > 0)
      line_ += fmt::format(", {} virtual", counts.virtual_functions);
    if (counts.empty_slots > 0) {
      line_ += fmt::format(", {} empty slot{}", counts.empty_slots, Plural(counts.empty_slots));
    }
    EndLine();
  }

  void BeginLine(bool last) { line_.assign(indent_).append(last ? lines_.last : lines_.branch); }

  void EndLine() {
    const std::string line = PrintableUtf8(line_);
    out_ << (style_.width == 0 ? line : Cut(line, style_.width, lines_.ellipsis)) << '\n';
  }

  // What hangs below the last line, further in.
  template <class Draw>
  void Below(bool last, Draw draw) {
    const std::size_t before = indent_.size();
    indent_ += last ? lines_.nothing : lines_.through;
    draw();
    indent_.resize(before);
  }

  const Topology& topology_;
  const TreeStyle& style_;
  const Lines& lines_;
  std::ostream& out_;
  std::string indent_;
  std::string line_;
};

}  // namespace

void RenderText(const Topology& topology, const TreeStyle& style, std::ostream& out) {
  TextRenderer(topology, style, out).Render();
}

}  // namespace tool
