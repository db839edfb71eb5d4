// Functions selected with lspci's words and with ours.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "e2e/inventory_hosts.h"
#include "support/lspci.h"

namespace e2e {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Addresses = std::vector<std::string>;

Addresses LspciSelects(const InventoryHost& host, const std::string& option,
                       const std::string& value) {
  Addresses addresses;
  const std::string command =
      "lspci -n -D " + option + " '" + value + "' " + lspci::OfSysfs(host.bus());
  for (const std::string& line : Lines(OutputOf(command))) {
    addresses.push_back(line.substr(0, line.find(' ')));
  }
  return addresses;
}

// Nothing selected is an error, which tells so.
Addresses WeSelect(const InventoryHost& host, const Words& options) {
  const Outcome run = RunTool(
      Joined(Joined({"list", "-o", "address", "--noheadings"}, options), {"--sysfs", host.bus()}));
  EXPECT_EQ(run.status, run.out.empty() ? 1 : 0) << run.err;
  if (run.out.empty()) {
    EXPECT_EQ(run.err, "ostrel-pci: no PCI function of the host is selected\n");
  }
  return Lines(run.out);
}

TEST(Selection, OfPlacesIsLspcis) {
  for (const char* name : {"guest-switches", "virtual-functions", "twelve-domains", "vmd"}) {
    const InventoryHost host(name);
    for (const char* place :
         {"00:03.0",       "0:3",     "3",       "3.0",   ".1",    "0:",
          "00:",           ":",       "",        "*",     "*:*.*", "0000:00:1f.2",
          "10000:e1:00.0", "10000::", "::1f.3",  "1f.",   "31:",   "77:",
          "0000:00:",      "e0:",     "31:1f.7", "0001:", "00:*.0"}) {
      EXPECT_EQ(WeSelect(host, {"-s", place}), LspciSelects(host, "-s", place))
          << name << ": " << place;
    }
  }
}

TEST(Selection, OfIdsIsLspcis) {
  for (const char* name : {"guest-switches", "virtual-functions", "nehalem", "cxl"}) {
    const InventoryHost host(name);
    for (const char* ids :
         {"8086:", ":", "8086:10d3", ":1041", "*:*", "1AF4:", "::0200", "::02xx", "8086:*:0200",
          "::0c03:20", "::0c03:", "15b3:101e", "dead:beef", "::060x", "::x6xx", "::0502:10"}) {
      EXPECT_EQ(WeSelect(host, {"-d", ids}), LspciSelects(host, "-d", ids)) << name << ": " << ids;
    }
  }
}

TEST(Selection, RefusesWhatLspciRefuses) {
  const InventoryHost host("cxl");
  const auto refused = [&](const Words& options) {
    const Outcome run = RunTool(Joined(Joined({"list"}, options), {"--dump", host.dump()}));
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    return run.err;
  };
  for (const char* place : {"100:", "10000:", "20", "0.8", "x", "0:0:0:0", "80000000:0:0", "1.2.3",
                            "-1", " 1", "0x1"}) {
    EXPECT_THAT(refused({"-s", place}), HasSubstr("hexadecimal")) << place;
  }
  for (const char* ids :
       {"8086", "10000:", ":10000", "::123", "::12345", "::0200:100", "a:b:c:d:e", "g:"}) {
    EXPECT_THAT(refused({"-d", ids}), testing::StartsWith("ostrel-pci: \"")) << ids;
  }
}

TEST(Selection, TakesClassesByNameAndCode) {
  const InventoryHost host("nehalem");
  const Addresses ethernet = {"0000:01:00.0", "0000:01:00.1"};
  for (const char* cls :
       {"ethernet", "Ethernet controller", "ETH", "network", "nic", "0200", "02"}) {
    EXPECT_EQ(WeSelect(host, {"--class", cls}), ethernet) << cls;
  }
  EXPECT_THAT(WeSelect(host, {"--class", "0c0320"}), ElementsAre("0000:00:1a.7"));
  EXPECT_THAT(WeSelect(host, {"--class", "gpu,raid"}), ElementsAre("0000:02:00.0", "0000:06:03.0"));
  EXPECT_THAT(WeSelect(host, {"--class", "gpu", "--class", "raid"}),
              ElementsAre("0000:02:00.0", "0000:06:03.0"));
  EXPECT_THAT(WeSelect(host, {"--class", "nvme"}), IsEmpty());
  const Outcome unknown = RunTool({"list", "--class", "ethernte", "--dump", host.dump()});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err,
            "ostrel-pci: \"ethernte\" is no class, neither a name nor a code; did you mean "
            "ethernet?\n");
}

TEST(Selection, TakesSlotsByName) {
  const InventoryHost host("slots");
  EXPECT_THAT(WeSelect(host, {"--slot", "0-2"}), ElementsAre("0000:09:00.0"));
  EXPECT_THAT(WeSelect(host, {"--slot", "255"}), ElementsAre("0000:01:00.0", "0000:01:00.1"));
  EXPECT_THAT(WeSelect(host, {"--slot", "300"}), IsEmpty());
}

TEST(Selection, IsOfAllThatIsAskedFor) {
  const InventoryHost host("guest-switches");
  EXPECT_THAT(WeSelect(host, {"-s", "03:", "-s", "0c:", "--class", "ethernet", "-d", "8086:"}),
              ElementsAre("0000:03:00.0", "0000:0c:00.0"));
  EXPECT_THAT(WeSelect(host, {"-s", "03:", "--class", "usb"}), IsEmpty());
}

// ---- In the tree and of CIM's elements

TEST(Selection, IsDrawnWithItsWayToTheRootAndWhatIsBelow) {
  EXPECT_EQ(RunOnRecord({"tree", "-s", "06:00", "--ascii", "-o", "text"}).status, 0);
  std::string ids;
  for (const std::string& line : Lines(RunOnRecord({"tree", "-s", "06:", "--ascii"}).out)) {
    ids += line.substr(0, line.find(' ', line.find_first_of("0[r"))) + '\n';
  }
  EXPECT_EQ(ids,
            "recorded\n"
            "`- [0000:00]\n"
            "   `- 0000:00:03.0\n"
            "      `- 0000:01:00.0\n"
            "         `- 0000:02:02.0\n"
            "            `- 0000:05:00.0\n"
            "               |- 0000:06:00.0\n"
            "               |  `- 0000:07:00.0\n"
            "               `- 0000:06:01.0\n"
            "7 functions, 1 empty slot\n");
}

TEST(Selection, KeepsThePortGroupsOfWhatIsDrawn) {
  const Outcome run = RunOnRecord({"tree", "--class", "audio", "--buses", "-o", "json"});
  const auto tree = nlohmann::json::parse(run.out);
  ASSERT_EQ(tree["rootBuses"].size(), 1U);
  std::vector<int> buses;
  for (const auto& bus : tree["buses"]) buses.push_back(bus["bus"]);
  EXPECT_THAT(buses, ElementsAre(0, 14, 15));
}

TEST(Selection, IsEnumeratedByClass) {
  const std::string ports = RunOnRecord({"ein", "port", "-s", "0a:03"}).out;
  EXPECT_EQ(Lines(ports).size(), 2U);
  EXPECT_THAT(ports, HasSubstr("DeviceID=\"0000:0a:03.0-pri\""));
  EXPECT_EQ(Lines(RunOnRecord({"ei", "device", "--class", "nvme", "-p", "DeviceID"}).out),
            (std::vector<std::string>{"DeviceID", "0000:07:00.0"}));
  const Outcome none = RunOnRecord({"ei", "switch", "--class", "nvme"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err,
            "ostrel-pci: no instance of Ostrel_PCIeSwitch belongs to a selected function\n");
}

TEST(Selection, OfNothingFailsInEveryCommand) {
  for (const Words& words : {Words{"list"}, Words{"tree"}, Words{"links"}, Words{"ei", "device"}}) {
    const Outcome run = RunOnRecord(Joined(words, {"-s", "77:"}));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "ostrel-pci: no PCI function of the host is selected\n");
  }
}

}  // namespace
}  // namespace e2e
