// What the tree says beside CIM's answers, and what of it is one line on a terminal.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "e2e/inventory_hosts.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

// A terminal writes a carriage return before every end of line.
std::string OnTerminal(const Words& words, unsigned width = 200) {
  const Outcome run = RunTool(words, {.terminal = width});
  EXPECT_EQ(run.status, 0) << run.err;
  return std::regex_replace(run.out, std::regex("\r"), "");
}

// Without names, which come from the machine's pci.ids.
std::string WithoutNames(const std::string& tree) {
  return std::regex_replace(tree, std::regex("([a-z]): [A-Z][^\n]*"), "$1");
}

TEST(FoldedTree, HasVirtualFunctionsWithTheirPhysicalOnes) {
  const InventoryHost host("virtual-functions");
  const Words words = {"tree", "--sysfs", host.bus(), "--system-name", "x"};
  EXPECT_EQ(WithoutNames(OnTerminal(words)),
            "x\n"
            "├─ [0000:30]\n"
            "│  └─ 0000:30:02.0 [31-32]  Root port\n"
            "│     ├─ 0000:31:00.0 (slot 1)  Ethernet controller\n"
            "│     │  └─ + 127 virtual functions\n"
            "│     └─ 0000:31:00.1 (slot 1)  Ethernet controller\n"
            "│        └─ + 127 virtual functions\n"
            "└─ [0000:97]\n"
            "   └─ 0000:97:02.0 [98-9b]  Root port\n"
            "      ├─ 0000:98:00.0 (slot 300)  Ethernet controller\n"
            "      │  └─ + 127 virtual functions\n"
            "      └─ 0000:98:00.1 (slot 300)  Ethernet controller\n"
            "         └─ + 127 virtual functions\n"
            "514 functions, 508 virtual\n");
  EXPECT_EQ(Lines(OnTerminal(Joined(words, {"--all"}))).size(), 514U + 4U);
  EXPECT_EQ(Lines(RunTool(words).out).size(), 514U + 4U);
}

TEST(FoldedTree, HasNeighboursThatAreAlikeInOneLine) {
  const InventoryHost host("nehalem");
  const std::string tree = OnTerminal({"tree", "--ascii", "--dump", host.dump()});
  EXPECT_THAT(tree, HasSubstr("`- 0000:01:00.[0-1]  2 x Ethernet controller: "));
  EXPECT_THAT(tree, HasSubstr("(empty slot 1)"));
  EXPECT_THAT(tree, Not(HasSubstr("0000:01:00.1")));
  EXPECT_THAT(tree, HasSubstr(" functions, 1 empty slot\n"));
  const std::string all = OnTerminal({"tree", "--all", "--ascii", "--dump", host.dump()});
  EXPECT_THAT(all, HasSubstr("0000:01:00.1  Ethernet controller: "));
  EXPECT_THAT(OnTerminal({"tree", "--ports", "--ascii", "--dump", host.dump()}),
              HasSubstr("0000:01:00.1-ep"));
}

TEST(TreeFacts, AddsLinksAndDrivers) {
  const InventoryHost host("nehalem");
  const fs::path card = fs::canonical(fs::path(host.bus()) / "devices/0000:02:00.0");
  fs::create_directory_symlink("../../../../bus/pci/drivers/megaraid_sas", card / "driver");
  const Words words = {"tree", "--sysfs", host.bus()};
  const std::string plain = RunTool(words).out;
  EXPECT_THAT(plain, Not(HasSubstr("GT/s")));
  EXPECT_THAT(plain, Not(HasSubstr("megaraid_sas")));
  const std::string more = RunTool(Joined(words, {"--links", "--drivers"})).out;
  EXPECT_THAT(more, HasSubstr("  link 5 GT/s x4  driver megaraid_sas\n"));
  EXPECT_THAT(more, HasSubstr("  link 2.5 GT/s x4 of 5 GT/s x4\n"));
  const Json tree = Json::parse(RunTool(Joined(words, {"-o", "json", "-s", "02:"})).out);
  const Json port = tree["rootBuses"][0]["functions"][0];
  EXPECT_EQ(port["type"], "root port");
  const Json function = port["children"][0];
  EXPECT_EQ(function["ids"], "1000:0079");
  EXPECT_EQ(function["revision"], "05");
  EXPECT_EQ(function["driver"], "megaraid_sas");
  EXPECT_EQ(function["link"], "5 GT/s x4");
}

TEST(TreeFacts, CountsWhatIsSelected) {
  EXPECT_EQ(Lines(RunOnRecord({"tree", "-s", "07:"}).out).back(), "6 functions");
  EXPECT_EQ(Lines(RunOnRecord({"tree"}).out).back(), "31 functions, 1 empty slot");
  EXPECT_THAT(RunOnRecord({"tree", "-s", "07:"}).out, HasSubstr("PCI Express switch, 3 ports"));
}

}  // namespace
}  // namespace e2e
