// Ways between functions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "e2e/inventory_hosts.h"

namespace e2e {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

Json Way(const InventoryHost& host, const std::string& from, const std::string& to) {
  return Json::parse(host.OfSysfs({"path", from, to, "-o", "json"}));
}

TEST(Path, LeadsToTheRoot) {
  const auto lines = Lines(RunOnRecord({"path", "07:00.0"}).out);
  std::vector<std::string> first_words;
  for (const std::string& line : lines) first_words.push_back(line.substr(0, line.find(' ')));
  EXPECT_THAT(first_words,
              ElementsAre("ADDRESS", "0000:07:00.0", "0000:06:00.0", "0000:05:00.0", "0000:02:02.0",
                          "0000:01:00.0", "0000:00:03.0", "0000:00", "to"));
  EXPECT_EQ(lines.back(),
            "to the root: 6 hops; narrowest link 2.5 GT/s x1, 0000:06:00.0 -> 0000:07:00.0");
  EXPECT_THAT(lines[1], HasSubstr("device           2.5 GT/s x1  31    "));
  EXPECT_EQ(RunOnRecord({"path", "00:1f.2"}).out.substr(0, 7), "ADDRESS");
}

TEST(Path, LeadsThroughWhatIsInCommon) {
  const InventoryHost host("guest-switches");
  const Json switches = Way(host, "07:00.0", "03:00.0");
  EXPECT_EQ(switches["kind"], "several switches");
  EXPECT_EQ(switches["up"].back(), "0000:01:00.0");
  EXPECT_EQ(switches["down"], (Json{"0000:02:00.0", "0000:03:00.0"}));
  EXPECT_EQ(Way(host, "03:00.0", "04:00.0")["kind"], "same switch");
  EXPECT_EQ(Way(host, "0b:01.0", "0b:02.0")["kind"], "same bridge");
  EXPECT_EQ(Way(host, "03:00.0", "0c:00.0")["kind"], "host bridge");
  EXPECT_EQ(Way(host, "03:00.0", "81:00.0")["kind"], "several host bridges");
  EXPECT_EQ(Way(host, "00:1f.2", "00:1f.3")["kind"], "same device");
  EXPECT_EQ(Way(host, "03:00.0", "03:00.0")["kind"], "the same function");
  const Json down = Way(host, "01:00.0", "03:00.0");
  EXPECT_EQ(down["up"], Json{"0000:01:00.0"});
  EXPECT_EQ(down["narrowest"], "2.5 GT/s x1");
  EXPECT_EQ(
      Lines(host.OfDump({"path", "03:00.0", "81:00.0"})).back(),
      "several host bridges: 7 hops; narrowest link 2.5 GT/s x1, 0000:02:00.0 -> 0000:03:00.0");
}

TEST(Path, HasTheSlowestLinkByWhatItLetsThrough) {
  const InventoryHost host("vmd");
  EXPECT_EQ(Way(host, "10000:e1:00.0", "10000:e2:00.0")["narrowest"], "8 GT/s x4");
  const InventoryHost server("nehalem");
  EXPECT_THAT(Lines(server.OfDump({"path", "01:00.1"})).back(),
              EndsWith("narrowest link 2.5 GT/s x4, 0000:00:01.0 -> 0000:01:00.0"));
}

TEST(Path, CrossesNumaNodes) {
  const InventoryHost host("virtual-functions");
  const auto tell = [&](const std::string& address, const std::string& node) {
    namespace fs = std::filesystem;
    std::ofstream(fs::canonical(fs::path(host.bus()) / "devices" / address) / "numa_node") << node;
  };
  tell("0000:30:02.0", "0\n");
  tell("0000:97:02.0", "0\n");
  EXPECT_EQ(Way(host, "31:00.0", "98:00.0")["kind"], "several host bridges");
  tell("0000:97:02.0", "1\n");
  EXPECT_EQ(Way(host, "31:00.0", "98:00.0")["kind"], "across NUMA nodes");
}

TEST(Path, OfAllPairsIsATable) {
  const InventoryHost host("guest-switches");
  ExpectGolden("guest-switches.matrix.golden",
               host.OfSysfs({"path", "--matrix", "--class", "ethernet,nvme,sata"}));
  const Json pairs =
      Json::parse(host.OfDump({"path", "--matrix", "-s", "03:", "-s", "04:", "-o", "json"}));
  ASSERT_EQ(pairs.size(), 1U);
  EXPECT_EQ(pairs[0]["kind"], "same switch");
}

TEST(Path, TellsWhichFunctionIsMeant) {
  const auto error = [](Words words, int status) {
    words.insert(words.begin(), "path");
    const Outcome run = RunOnRecord(words);
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, "");
    return run.err;
  };
  EXPECT_EQ(error({"66:00.0"}, 1), "ostrel-pci: not found: there is no PCI function 66:00.0\n");
  EXPECT_EQ(error({"02:"}, 1),
            "ostrel-pci: 02: is 3 PCI functions, 0000:02:00.0 and 0000:02:01.0 among them: name "
            "one\n");
  EXPECT_EQ(error({}, 2), "ostrel-pci: the address of a function is missing\n");
  EXPECT_EQ(error({"--matrix", "03:"}, 2),
            "ostrel-pci: --matrix is of selected functions and takes no address\n");
  EXPECT_EQ(error({"03:", "--class", "nvme"}, 2),
            "ostrel-pci: functions are selected for --matrix alone\n");
  EXPECT_THAT(error({"03:", "04:", "05:"}, 2), HasSubstr("ADDRESS"));
  const InventoryHost many("virtual-functions");
  const Outcome run = RunTool({"path", "--matrix", "--dump", many.dump()});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("too many"));
}

}  // namespace
}  // namespace e2e
