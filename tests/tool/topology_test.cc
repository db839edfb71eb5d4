// The topology value: nesting, what is missing, and drawing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tool/topology.h"
#include "tool/topology_render.h"

namespace tool {
namespace {

using broker::Instance;
using broker::Value;
using testing::ElementsAre;
using testing::HasSubstr;

Function Made(std::string id, std::string parent, unsigned bus, FunctionKind kind) {
  Function function;
  function.id = std::move(id);
  function.parent = std::move(parent);
  function.bus = bus;
  function.kind = kind;
  function.name = "Name";
  function.class_name = "Class";
  return function;
}

Instance Port(const char* id, std::uint16_t type) {
  Instance port;
  port.properties = {
      {"DeviceID", Value(id)}, {"PortType", Value(type)}, {"BusNumber", Value(std::uint8_t{16})}};
  return port;
}

// A root port with a switch of two downstream ports, one of them with a device, and a lone device.
Topology SampleTopology() {
  Function upstream = Made("0000:01:00.0", "0000:00:01.0", 1, FunctionKind::kSwitch);
  upstream.port_count = 2;
  Function device = Made("0000:03:00.0", "0000:02:00.0", 3, FunctionKind::kDevice);
  device.slot = 7;
  return BuildTopology(
      "host",
      {device, upstream, Made("0000:02:01.0", upstream.id, 2, FunctionKind::kDownstreamPort),
       Made("0000:02:00.0", upstream.id, 2, FunctionKind::kDownstreamPort),
       Made("0000:00:01.0", "", 0, FunctionKind::kBridge),
       Made("0000:00:02.0", "", 0, FunctionKind::kDevice)},
      {Port("0000:00:01.0-pri", 150), Port("0000:03:00.0-ep", 152)});
}

TEST(Topology, NestsFunctionsInOrderOfTheirAddresses) {
  const Topology topology = SampleTopology();
  ASSERT_EQ(topology.roots.size(), 1U);
  EXPECT_EQ(topology.roots[0].id, "0000:00");
  std::ostringstream out;
  RenderText(topology, {}, out);
  EXPECT_EQ(out.str(),
            "host\n"
            "└─ [0000:00]\n"
            "   ├─ 0000:00:01.0 [01-03]  Class: Name\n"
            "   │  └─ 0000:01:00.0 [02-03]  PCI Express switch, 2 ports: Name\n"
            "   │     ├─ 0000:02:00.0 [03]  Downstream port: Name\n"
            "   │     │  └─ 0000:03:00.0  Class: Name (slot 7)\n"
            "   │     └─ 0000:02:01.0  Downstream port: Name\n"
            "   └─ 0000:00:02.0  Class: Name\n");
}

TEST(Topology, IsDrawnWithPlainCharactersAndPorts) {
  std::ostringstream out;
  RenderText(SampleTopology(), {.ports = true, .utf8 = false}, out);
  EXPECT_THAT(out.str(), HasSubstr("   |- 0000:00:01.0 [01-03]  Class: Name\n"
                                   "   |  |- 0000:00:01.0-pri  PCI port, bus 10\n"
                                   "   |  `- 0000:01:00.0 [02-03]"));
  EXPECT_THAT(out.str(), HasSubstr("   |     |     `- 0000:03:00.0-ep  PCIe port, bus 10\n"));
}

TEST(Topology, IsDrawnWithBusesAfterTheFunctions) {
  Topology topology = SampleTopology();
  topology.buses = {{"Ostrel:bus-26", 26, {"a", "b"}}};
  std::ostringstream out;
  RenderText(topology, {.ports = true, .buses = true, .utf8 = false}, out);
  EXPECT_THAT(out.str(), HasSubstr("\n|- [0000:00]\n"));
  EXPECT_TRUE(out.str().ends_with("\n`- bus 1a  Ostrel:bus-26: 2 ports\n   |- a\n   `- b\n"));
}

TEST(Topology, CutsLinesToTheWidth) {
  std::ostringstream out;
  RenderText(SampleTopology(), {.utf8 = false, .width = 20}, out);
  EXPECT_THAT(out.str(), HasSubstr("   |- 0000:00:01....\n"));
}

TEST(Topology, PutsFunctionsWithAnUnknownParentAtTheTop) {
  const Topology topology =
      BuildTopology("host", {Made("0001:05:00.0", "gone", 5, FunctionKind::kDevice)}, {});
  ASSERT_EQ(topology.roots.size(), 1U);
  EXPECT_EQ(topology.roots[0].id, "0001:05");
  EXPECT_THAT(topology.roots[0].functions, ElementsAre(0U));
}

TEST(Topology, GathersFunctionsOfOneRootBus) {
  std::vector<Function> functions;
  for (const char* bus : {"0000:00", "0001:00", "0000:00", "0001:00"}) {
    const std::string number = std::to_string(functions.size());
    functions.push_back(Made(bus + (":" + number + ".0"), "", 0, FunctionKind::kDevice));
    functions.back().device = functions.size();
  }
  const Topology topology = BuildTopology("host", functions, {});
  ASSERT_EQ(topology.roots.size(), 2U);
  EXPECT_EQ(topology.roots[0].id, "0000:00");
  EXPECT_THAT(topology.roots[0].functions, ElementsAre(0U, 2U));
  EXPECT_EQ(topology.roots[1].id, "0001:00");
  EXPECT_THAT(topology.roots[1].functions, ElementsAre(1U, 3U));
}

TEST(Topology, CutsCircles) {
  const Topology topology = BuildTopology(
      "host",
      {Made("a", "c", 1, FunctionKind::kBridge), Made("b", "a", 2, FunctionKind::kBridge),
       Made("c", "b", 3, FunctionKind::kBridge), Made("d", "d", 4, FunctionKind::kBridge)},
      {});
  std::size_t tops = 0;
  std::size_t children = 0;
  for (const RootBus& root : topology.roots) tops += root.functions.size();
  for (const Function& function : topology.functions) children += function.children.size();
  EXPECT_EQ(tops, 2U);
  EXPECT_EQ(children, 2U);
}

TEST(Topology, KeepsOneOfEqualIdentifiers) {
  const Topology topology = BuildTopology(
      "host", {Made("a", "", 1, FunctionKind::kBridge), Made("a", "", 1, FunctionKind::kDevice)},
      {});
  ASSERT_EQ(topology.functions.size(), 1U);
  EXPECT_EQ(topology.functions[0].kind, FunctionKind::kBridge);
}

TEST(Topology, IsDrawnWhereThereIsNothing) {
  const Topology nothing = BuildTopology("host", {}, {});
  std::ostringstream text;
  RenderText(nothing, {.buses = true}, text);
  EXPECT_EQ(text.str(), "host\n");
  std::ostringstream json;
  RenderJson(nothing, {}, json);
  EXPECT_EQ(nlohmann::json::parse(json.str())["rootBuses"].size(), 0U);
}

TEST(Topology, NestsInJson) {
  std::ostringstream out;
  RenderJson(SampleTopology(), {.ports = true}, out);
  const auto functions = nlohmann::json::parse(out.str())["rootBuses"][0]["functions"];
  EXPECT_EQ(functions[0]["children"][0]["kind"], "switch");
  EXPECT_EQ(functions[0]["children"][0]["numberOfPorts"], 2);
  EXPECT_EQ(functions[0]["ports"][0]["type"], "PCI");
  EXPECT_EQ(functions[1]["id"], "0000:00:02.0");
}

TEST(Topology, IsAGraphOfFunctionsPortsAndBuses) {
  Topology topology = SampleTopology();
  topology.buses = {{"Ostrel:bus-26", 26, {"0000:00:01.0-pri"}}};
  std::ostringstream out;
  RenderDot(topology, {.ports = true, .buses = true}, out);
  for (const char* line :
       {"\"system host\" [label=\"host\", shape=box3d];",
        "\"system host\" -> \"root bus 0000:00\";", "\"root bus 0000:00\" -> \"0000:00:01.0\";",
        "\"0000:00:01.0\" [label=\"0000:00:01.0\\nName\", shape=house];",
        "\"0000:01:00.0\" [label=\"0000:01:00.0\\nName\", shape=hexagon];",
        "\"0000:02:00.0\" [label=\"0000:02:00.0\\nName\", shape=cds];",
        "\"0000:02:00.0\" -> \"0000:03:00.0\";",
        "\"0000:00:01.0-pri\" [label=\"0000:00:01.0-pri\\nPCI\", shape=ellipse];",
        "\"0000:00:01.0\" -> \"0000:00:01.0-pri\" [style=dotted];",
        "\"Ostrel:bus-26\" [label=\"bus 1a\\nOstrel:bus-26\", shape=cylinder];",
        "\"system host\" -> \"Ostrel:bus-26\" [style=dashed];",
        "\"Ostrel:bus-26\" -> \"0000:00:01.0-pri\" [style=dashed];"}) {
    EXPECT_THAT(out.str(), HasSubstr(std::string("\n  ") + line + "\n"));
  }
}

TEST(Topology, LeavesPortsOutOfTheGraphThatWereNotAskedFor) {
  Topology topology = SampleTopology();
  topology.buses = {{"Ostrel:bus-26", 26, {"0000:00:01.0-pri"}}};
  std::ostringstream out;
  RenderDot(topology, {.buses = true}, out);
  EXPECT_THAT(out.str(), HasSubstr("Ostrel:bus-26"));
  EXPECT_THAT(out.str(), testing::Not(HasSubstr("-pri")));
}

TEST(Topology, QuotesNamesForGraphviz) {
  Function function = Made("a", "", 0, FunctionKind::kDevice);
  function.name = "6\" \\ drive\n";
  std::ostringstream out;
  RenderDot(BuildTopology("host", {function}, {}), {}, out);
  EXPECT_THAT(out.str(), HasSubstr("label=\"a\\n6\\\" \\\\ drive\xef\xbf\xbd\""));
}

}  // namespace
}  // namespace tool
