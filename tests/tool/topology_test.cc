// The topology value: nesting, what is missing, and drawing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tool/topology.h"
#include "tool/topology_render.h"

namespace tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Function Made(std::string id, std::string parent, std::uint8_t bus, FunctionKind kind) {
  Function function;
  function.id = std::move(id);
  function.parent = std::move(parent);
  function.bus = bus;
  function.kind = kind;
  function.name = "Name";
  function.class_name = "Class";
  return function;
}

Topology Built(std::vector<Function> functions) {
  return BuildTopology("host", std::move(functions), BusNumbers::kSeen);
}

// A root port with a switch of two downstream ports, one of them with a device in a slot, the other
// with an empty slot, and a lone device.
Topology SampleTopology() {
  Function root_port = Made("0000:00:01.0", "", 0, FunctionKind::kBridge);
  root_port.ports = {{"0000:00:01.0-pri", 150, 16}};
  Function device = Made("0000:03:00.0", "0000:02:00.0", 3, FunctionKind::kDevice);
  device.slot = "7-1";
  device.physical_slot = 7;
  device.ports = {{"0000:03:00.0-ep", 152, 16}};
  Function port = Made("0000:02:01.0", "0000:01:00.0", 2, FunctionKind::kDownstreamPort);
  port.device = 1;
  port.empty_slot = "300";
  port.buses = BusRange{4, 4};
  return Built({device, Made("0000:01:00.0", "0000:00:01.0", 1, FunctionKind::kSwitch), port,
                Made("0000:02:00.0", "0000:01:00.0", 2, FunctionKind::kDownstreamPort), root_port,
                Made("0000:00:02.0", "", 0, FunctionKind::kDevice)});
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
            "   ├─ 0000:00:01.0 [01-04]  Class: Name\n"
            "   │  └─ 0000:01:00.0 [02-04]  PCI Express switch, 2 ports: Name\n"
            "   │     ├─ 0000:02:00.0 [03]  Downstream port: Name\n"
            "   │     │  └─ 0000:03:00.0 (slot 7-1)  Class: Name\n"
            "   │     └─ 0000:02:01.0 [04] (empty slot 300)  Downstream port: Name\n"
            "   └─ 0000:00:02.0  Class: Name\n");
}

TEST(Topology, IsDrawnWithPlainCharactersAndPorts) {
  std::ostringstream out;
  RenderText(SampleTopology(), {.ports = true, .utf8 = false}, out);
  EXPECT_THAT(out.str(), HasSubstr("   |- 0000:00:01.0 [01-04]  Class: Name\n"
                                   "   |  |- 0000:00:01.0-pri  PCI port, bus 10\n"
                                   "   |  `- 0000:01:00.0 [02-04]"));
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
  const Topology topology = Built({Made("0001:05:00.0", "gone", 5, FunctionKind::kDevice)});
  ASSERT_EQ(topology.roots.size(), 1U);
  EXPECT_EQ(topology.roots[0].id, "0001:05");
  EXPECT_THAT(topology.roots[0].functions, ElementsAre(0U));
}

TEST(Topology, GathersFunctionsOfOneRootBus) {
  std::vector<Function> functions;
  for (const char* bus : {"0000:00", "0001:00", "0000:00", "0001:00"}) {
    const std::string number = std::to_string(functions.size());
    functions.push_back(Made(bus + (":" + number + ".0"), "", 0, FunctionKind::kDevice));
    functions.back().device = static_cast<std::uint8_t>(functions.size());
  }
  const Topology topology = Built(functions);
  ASSERT_EQ(topology.roots.size(), 2U);
  EXPECT_EQ(topology.roots[0].id, "0000:00");
  EXPECT_THAT(topology.roots[0].functions, ElementsAre(0U, 2U));
  EXPECT_EQ(topology.roots[1].id, "0001:00");
  EXPECT_THAT(topology.roots[1].functions, ElementsAre(1U, 3U));
}

TEST(Topology, CutsCircles) {
  const Topology topology =
      Built({Made("a", "c", 1, FunctionKind::kBridge), Made("b", "a", 2, FunctionKind::kBridge),
             Made("c", "b", 3, FunctionKind::kBridge), Made("d", "d", 4, FunctionKind::kBridge),
             Made("below", "b", 0, FunctionKind::kDevice)});
  std::size_t tops = 0;
  std::size_t children = 0;
  for (const RootBus& root : topology.roots) tops += root.functions.size();
  for (const Function& function : topology.functions) children += function.children.size();
  EXPECT_EQ(tops, 2U);
  EXPECT_EQ(children, 3U);
}

TEST(Topology, IsDrawnWhereThereIsNothing) {
  const Topology nothing = Built({});
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
  EXPECT_EQ(functions[0]["secondaryBus"], 1);
  EXPECT_EQ(functions[0]["subordinateBus"], 4);
  const auto ports = functions[0]["children"][0]["children"];
  EXPECT_EQ(ports[0]["children"][0]["slot"], "7-1");
  EXPECT_EQ(ports[0]["children"][0]["physicalSlot"], 7);
  EXPECT_FALSE(ports[0].contains("emptySlot"));
  EXPECT_EQ(ports[1]["emptySlot"], "300");
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
        "\"0000:00:01.0\" [label=\"0000:00:01.0\\nName\", shape=house, style=filled, "
        "fillcolor=\"#cfe2f3\"];",
        "\"0000:01:00.0\" [label=\"0000:01:00.0\\nName\", shape=hexagon, style=filled, "
        "fillcolor=\"#d9ead3\"];",
        "\"0000:02:00.0\" [label=\"0000:02:00.0\\nName\", shape=cds, style=filled, "
        "fillcolor=\"#e6f2e1\"];",
        "\"0000:02:00.0\" -> \"0000:03:00.0\";",
        "\"0000:03:00.0\" [label=\"0000:03:00.0 (slot 7-1)\\nName\", shape=box, style=filled, "
        "fillcolor=\"#fff2cc\"];",
        "\"0000:02:01.0\" [label=\"0000:02:01.0 (empty slot 300)\\nName\", shape=cds, "
        "style=filled, fillcolor=\"#e6f2e1\"];",
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

TEST(Topology, QuotesNamesForJson) {
  Function function = Made("a", "", 0, FunctionKind::kDevice);
  function.name = "6\" \\ drive\n\x01\xff\xc3\xa9";
  std::ostringstream out;
  RenderJson(Built({function}), {}, out);
  const auto json = nlohmann::json::parse(out.str());
  EXPECT_EQ(json["rootBuses"][0]["functions"][0]["name"], "6\" \\ drive\n\x01\xef\xbf\xbd\xc3\xa9");
}

// What is written piece by piece is laid out as a whole document is.
TEST(Topology, IsLaidOutAsJsonIs) {
  Topology topology = SampleTopology();
  topology.buses = {{"Ostrel:bus-26", 26, {"a", "b"}}, {"Ostrel:bus-0", 0, {}}};
  std::ostringstream out;
  RenderJson(topology, {.ports = true, .buses = true}, out);
  EXPECT_EQ(out.str(), nlohmann::ordered_json::parse(out.str()).dump(2) + "\n");
}

TEST(Topology, QuotesNamesForGraphviz) {
  Function function = Made("a", "", 0, FunctionKind::kDevice);
  function.name = "6\" \\ drive\n";
  std::ostringstream out;
  RenderDot(Built({function}), {}, out);
  EXPECT_THAT(out.str(), HasSubstr("label=\"a\\n6\\\" \\\\ drive\xef\xbf\xbd\""));
}

}  // namespace
}  // namespace tool
