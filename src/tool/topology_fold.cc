#include "tool/topology_fold.h"

#include <fmt/format.h>

#include <map>
#include <set>
#include <tuple>

namespace tool {
namespace {

bool IsLeaf(const Function& function) {
  return function.children.empty() && !function.buses && function.empty_slot.empty();
}

// All that a line says beside the address.
bool LooksLike(const Function& a, const Function& b) {
  const auto text = [](const Function& function) {
    return std::tie(function.kind, function.class_name, function.name, function.slot,
                    function.facts.driver, function.facts.link);
  };
  return a.domain == b.domain && a.bus == b.bus && text(a) == text(b);
}

// What of the address counts up from one to the other: 1 the function, 2 the device, 0 neither.
int StepBetween(const Function& a, const Function& b) {
  if (a.device == b.device && a.number + 1 == b.number) return 1;
  return a.number == b.number && a.device + 1 == b.device ? 2 : 0;
}

std::string AddressOf(const Function& first, const Function& last) {
  const std::string bus = first.id.substr(0, first.id.rfind(':'));
  if (first.device == last.device) {
    return fmt::format("{}:{:02x}.[{:x}-{:x}]", bus, first.device, first.number, last.number);
  }
  return fmt::format("{}:[{:02x}-{:02x}].{:x}", bus, first.device, last.device, first.number);
}

// How many virtual functions each of the siblings has among them, by its identifier.
std::map<std::string, std::size_t> VirtualFunctionsOf(const Topology& topology,
                                                      const std::vector<std::size_t>& places) {
  std::set<std::string> siblings;
  for (const std::size_t place : places) siblings.insert(topology.functions[place].id);
  std::map<std::string, std::size_t> counts;
  for (const std::size_t place : places) {
    const Function& function = topology.functions[place];
    const std::string& physical = function.facts.physical_function;
    if (IsLeaf(function) && siblings.contains(physical)) ++counts[physical];
  }
  return counts;
}

}  // namespace

std::vector<DrawnFunction> DrawEach(const Topology& topology,
                                    const std::vector<std::size_t>& places) {
  std::vector<DrawnFunction> drawn;
  drawn.reserve(places.size());
  for (const std::size_t place : places) drawn.push_back({place, topology.functions[place].id});
  return drawn;
}

std::vector<DrawnFunction> DrawFolded(const Topology& topology,
                                      const std::vector<std::size_t>& places) {
  const auto virtual_functions = VirtualFunctionsOf(topology, places);
  const auto stands_alone = [&](const Function& function) {
    return !IsLeaf(function) || virtual_functions.contains(function.id);
  };
  std::vector<DrawnFunction> drawn;
  std::size_t last = 0;  // of the functions that the last line stands for
  int step = 0;          // between them
  for (const std::size_t place : places) {
    const Function& function = topology.functions[place];
    if (IsLeaf(function) && virtual_functions.contains(function.facts.physical_function)) continue;
    const Function* before = drawn.empty() ? nullptr : &topology.functions[last];
    const bool alike = before != nullptr && !stands_alone(*before) && !stands_alone(function) &&
                       LooksLike(*before, function);
    const int next = alike ? StepBetween(*before, function) : 0;
    if (next != 0 && (drawn.back().count == 1 || next == step)) {
      step = next;
      ++drawn.back().count;
      drawn.back().address = AddressOf(topology.functions[drawn.back().place], function);
    } else {
      drawn.push_back({place, function.id});
    }
    last = place;
  }
  for (DrawnFunction& line : drawn) {
    const auto found = virtual_functions.find(topology.functions[line.place].id);
    if (found != virtual_functions.end()) line.virtual_functions = found->second;
  }
  return drawn;
}

}  // namespace tool
