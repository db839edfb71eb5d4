// What has changed between two hosts, or two moments of one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "e2e/inventory_hosts.h"
#include "support/compact_host.h"

namespace e2e {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::ordered_json;

constexpr const char* kServer = R"(
0000:00:01.0 0604: 8086:3408 buses=01 pcie=root link=4x8/4x8 slot=1
  0000:01:00.0 0200: 8086:1521 sub=8086:0001 pcie=endpoint link=4x8/4x8
  0000:01:00.1 0200: 8086:1521 sub=8086:0001 pcie=endpoint link=4x8/4x8
0000:00:02.0 0604: 8086:3408 buses=02 pcie=root link=4x4/4x4 slot=2
  0000:02:00.0 010802: 144d:a80a rev=01 pcie=endpoint link=4x4/4x4
0000:00:03.0 0604: 8086:3408 buses=03 pcie=root link=4x4 slot=3
)";

class Diff : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_.Path(name)) << text;
    return folder_.Path(name);
  }

  // The server with one text in its facts exchanged for another, as a dump.
  std::string Server(const std::string& name, const std::string& from = "",
                     const std::string& to = "") const {
    std::string facts = kServer;
    if (!from.empty()) facts = std::regex_replace(facts, std::regex(from), to);
    return Write(name, compact_host::Host::Parse(facts).Dump());
  }

  // The differences without names, which the machine's pci.ids has.
  static std::vector<std::string> Differences(Words words, int status) {
    words.insert(words.begin(), "diff");
    const Outcome run = RunTool(words);
    EXPECT_EQ(run.status, status) << run.out;
    EXPECT_EQ(run.err, "");
    return Lines(std::regex_replace(run.out, std::regex(": [A-Z][^\n]* \\(slot"), " (slot"));
  }

  const TempFolder folder_;
};

TEST_F(Diff, IsNoneOfAHostAndItself) {
  for (const std::string& name : InventoryHostNames()) {
    const InventoryHost host(name);
    EXPECT_THAT(Differences({host.dump(), host.dump()}, 0), ElementsAre()) << name;
    EXPECT_THAT(Differences({host.bus(), host.bus()}, 0), ElementsAre()) << name;
    const std::string list = Write("list.json", host.OfSysfs({"list", "-o", "json"}));
    EXPECT_THAT(Differences({list, host.bus()}, 0), ElementsAre()) << name;
  }
  EXPECT_THAT(Differences({"live", "live"}, 0), ElementsAre());
}

TEST_F(Diff, TellsWhatIsMissingAndNew) {
  const std::string without = Server("without", "  0000:02:00.0[^\n]*\n", "");
  const std::string line = "0000:02:00.0  144d:a80a  NVM controller (slot 2)";
  EXPECT_THAT(Differences({Server("with"), without}, 1), ElementsAre("- " + line));
  EXPECT_THAT(Differences({without, Server("with")}, 1), ElementsAre("+ " + line));
}

TEST_F(Diff, TellsWhatHasMovedToAnotherSlot) {
  const std::string moved = Server("moved", "(  0000:02:00.0[^\n]*\n)(0000:00:03.0[^\n]*\n)",
                                   "$2  0000:03:00.0 010802: "
                                   "144d:a80a rev=01 pcie=endpoint link=4x4/4x4\n");
  EXPECT_THAT(Differences({Server("old"), moved}, 1),
              ElementsAre("> 0000:02:00.0 -> 0000:03:00.0  144d:a80a  NVM controller (slot 3)"));
}

TEST_F(Diff, TakesOtherBusNumbersForNoChange) {
  std::string facts = std::regex_replace(kServer, std::regex("buses=02"), "buses=05");
  facts = std::regex_replace(facts, std::regex("0000:02:00.0"), "0000:05:00.0");
  const std::string other = Write("other", compact_host::Host::Parse(facts).Dump());
  EXPECT_THAT(Differences({Server("old"), other}, 0), ElementsAre());
}

TEST_F(Diff, TellsWhatOfAFunctionHasChanged) {
  EXPECT_THAT(
      Differences({Server("a"), Server("b", "a80a rev=01", "a80b rev=02")}, 1),
      ElementsAre("! 0000:02:00.0  ids: 144d:a80a -> 144d:a80b", "! 0000:02:00.0  rev: 01 -> 02"));
  const std::string slower = Server("slower", "endpoint link=4x4/4x4", "endpoint link=4x4/1x4");
  EXPECT_THAT(Differences({Server("a"), slower}, 1),
              ElementsAre("! 0000:02:00.0  link: 16 GT/s x4 -> 2.5 GT/s x4"));
  EXPECT_THAT(Differences({Server("a"), slower, "--ignore", "LINK,slot"}, 0), ElementsAre());
  EXPECT_THAT(Differences({Server("a"), Server("c", "slot=2", "slot=7")}, 1),
              ElementsAre("! 0000:02:00.0  slot: 2 -> 7"));
}

TEST_F(Diff, IsOfWhatAGoldenInventoryNames) {
  const std::string host = Server("host");
  const auto golden = [&](const std::string& json) { return Write("golden.json", json); };
  EXPECT_THAT(Differences({golden("[]"), host}, 0), ElementsAre());
  EXPECT_THAT(
      Differences({golden(R"({"functions": [{"slot": "2", "ids": "144d:a80a"}]})"), host}, 0),
      ElementsAre());
  EXPECT_THAT(Differences({golden(R"([{"slot": "2", "ids": "144d:ffff"}])"), host}, 1),
              ElementsAre("! 0000:02:00.0  ids: 144d:ffff -> 144d:a80a"));
  EXPECT_THAT(
      Differences({golden(R"([{"address": "0000:02:00.0", "link": "16 GT/s x4"}])"), host}, 0),
      ElementsAre());
  EXPECT_THAT(Differences({golden(R"([{"ids": "8086:1521"}, {"ids": "8086:1521"}])"), host}, 0),
              ElementsAre());
  EXPECT_THAT(Differences({golden(R"([{"ids": "1234:5678", "slot": "3"}])"), host}, 1),
              ElementsAre("- slot 3  1234:5678 (slot 3)"));
  EXPECT_THAT(Differences({golden(R"([{"ids": "1234:5678"}])"), host}, 1),
              ElementsAre("- a function  1234:5678"));
}

TEST_F(Diff, IsWrittenAsJson) {
  const Outcome run =
      RunTool({"diff", Server("a"), Server("b", "a80a rev=01", "a80b rev=01"), "-o", "json"});
  EXPECT_EQ(run.status, 1);
  const Json differences = Json::parse(run.out);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0]["change"], "changed");
  EXPECT_EQ(differences[0]["value"], "ids");
  EXPECT_EQ(differences[0]["old"]["ids"], "144d:a80a");
  EXPECT_EQ(differences[0]["new"]["ids"], "144d:a80b");
  EXPECT_EQ(RunTool({"diff", Server("a"), Server("c"), "-o", "json"}).out, "[]\n");
}

TEST_F(Diff, TakesOneSideFromStandardInput) {
  const std::string host = Server("host");
  EXPECT_EQ(RunTool({"diff", "-", host}, {.in_file = host}).status, 0);
  const std::string golden = Write("golden.json", "[{\"slot\": \"9\"}]");
  EXPECT_EQ(RunTool({"diff", "-", host}, {.in_file = golden}).out, "- slot 9  (slot 9)\n");
}

TEST_F(Diff, HasTroubleWithStatus2) {
  const std::string host = Server("host");
  const auto trouble = [&](const Words& words) {
    const Outcome run = RunTool(Joined({"diff"}, words));
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    return run.err;
  };
  EXPECT_THAT(trouble({host, "/nonexistent"}), HasSubstr("there is no dump file"));
  EXPECT_THAT(trouble({host, "/dev/null"}), HasSubstr("the host could not be read"));
  EXPECT_THAT(trouble({Write("x.json", "{"), host}), HasSubstr("is no JSON"));
  EXPECT_THAT(trouble({Write("x.json", "{}"), host}), HasSubstr("has no functions"));
  EXPECT_THAT(trouble({Write("x.json", "[1]"), host}), HasSubstr("1 is no function"));
  EXPECT_THAT(trouble({Write("x.json", R"([{"ids": true}])"), host}),
              HasSubstr("true is no value of a function"));
  EXPECT_EQ(trouble({"-", "-"}), "ostrel-pci: standard input is one host, not two\n");
  EXPECT_EQ(trouble({host, host, "--ignore", "drivr"}),
            "ostrel-pci: --ignore drivr: this is not compared; did you mean driver?\n");
  EXPECT_THAT(trouble({host}), HasSubstr("OLD NEW"));
}

}  // namespace
}  // namespace e2e
