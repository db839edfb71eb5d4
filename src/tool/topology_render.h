// The topology drawn: three renderers of one value.
//
// Thread rule: pure functions.

#ifndef TOOL_TOPOLOGY_RENDER_H_
#define TOOL_TOPOLOGY_RENDER_H_

#include <cstddef>
#include <ostream>

#include "tool/topology.h"

namespace tool {

struct TreeStyle {
  bool ports = false;
  bool buses = false;
  bool fold = false;   // what looks alike is one line, in text alone
  bool links = false;  // in text; JSON has them anyway, as drivers
  bool drivers = false;
  bool counts = false;  // a last line of text tells how many functions there are
  bool utf8 = true;
  std::size_t width = 0;  // longer lines are cut; 0: no limit
};

void RenderText(const Topology& topology, const TreeStyle& style, std::ostream& out);
// One object: {"system", "rootBuses": [{"id", "functions": [...]}], "buses"}; functions nest.
void RenderJson(const Topology& topology, const TreeStyle& style, std::ostream& out);
// A digraph for Graphviz.
void RenderDot(const Topology& topology, const TreeStyle& style, std::ostream& out);

}  // namespace tool

#endif  // TOOL_TOPOLOGY_RENDER_H_
