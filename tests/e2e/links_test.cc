// Links as ever on recorded hosts, and held against what lspci says of both of their ends.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "e2e/inventory_hosts.h"
#include "support/lspci.h"

namespace e2e {
namespace {

using testing::HasSubstr;
using Json = nlohmann::ordered_json;

// Names come from the machine's pci.ids. A target is a class, which begins with a capital, and a
// name.
std::string WithoutTargets(const std::string& links) {
  return std::regex_replace(links, std::regex(" +[A-Z][A-Za-z0-9-]*( [A-Za-z0-9-]+)*: [^\n]*\n"),
                            "\n");
}

struct Rate {
  double speed = 0;
  int width = 0;

  bool operator==(const Rate&) const = default;
};

struct Ends {
  Rate possible, now;
};

// "LnkCap:	Port #0, Speed 2.5GT/s, Width x1, ..." and "LnkSta:	Speed 2.5GT/s (downgraded),
// Width x1".
std::map<std::string, Ends> LspciRates(const std::string& source) {
  static const std::regex kRate("Speed ([0-9.]+)GT/s.*Width x([0-9]+)");
  std::map<std::string, Ends> rates;
  std::string address;
  for (const std::string& line : Lines(OutputOf("lspci -D -vv " + source))) {
    if (!line.empty() && line[0] != '\t') address = line.substr(0, line.find(' '));
    std::smatch found;
    if (!std::regex_search(line, found, kRate)) continue;
    const Rate rate{std::stod(found[1]), std::stoi(found[2])};
    if (line.find("LnkCap:") != line.npos) rates[address].possible = rate;
    if (line.find("LnkSta:") != line.npos) rates[address].now = rate;
  }
  return rates;
}

// "8 GT/s x4".
Rate ReadRate(const Json& text) {
  std::smatch found;
  const std::string rate = text.is_null() ? "" : text.get<std::string>();
  if (!std::regex_match(rate, found, std::regex("([0-9.]+) GT/s x([0-9]+)"))) return {};
  return {std::stod(found[1]), std::stoi(found[2])};
}

// The lesser of what both ends say, or what one of them says.
template <class Number>
Number Told(Number upper, Number lower) {
  if (upper == 0) return lower;
  return lower == 0 ? upper : std::min(upper, lower);
}

class LinksOfHost : public testing::TestWithParam<std::string> {
 protected:
  // Whatever the exit status.
  Outcome Run(Words words) const {
    words.insert(words.end(), {"--dump", host_.dump()});
    return RunTool(words);
  }

  const InventoryHost host_{GetParam()};
};

TEST_P(LinksOfHost, AreAsEver) {
  const Outcome run = Run({"links"});
  EXPECT_EQ(run.err, "");
  ExpectGolden(GetParam() + ".links.golden",
               WithoutTargets(run.out) + "exit " + std::to_string(run.status) + "\n");
}

// At what every end runs and what it can; judged by the lesser of both.
TEST_P(LinksOfHost, AreWhatLspciSaysOfBothEnds) {
  const auto rates = LspciRates(lspci::OfDump(host_.dump()));
  const Json list = Json::parse(host_.OfDump({"list", "-o", "json"}));
  for (const Json& function : list["functions"]) {
    const auto found = rates.find(function["address"]);
    const Ends ends = found == rates.end() ? Ends() : found->second;
    if (ends.now.width > 0) {
      EXPECT_EQ(ReadRate(function["link"]), ends.now) << function;
    }
    if (ends.possible.width > 0) {
      EXPECT_EQ(ReadRate(function["maxlink"]), ends.possible) << function;
    }
  }
  bool any_degraded = false;
  const Outcome run = Run({"links", "-o", "json"});
  for (const Json& link : Json::parse(run.out)) {
    if (link["upper"].is_null() || link["lower"].is_null()) continue;
    const Ends upper = rates.at(link["upper"]);
    const Ends lower = rates.at(link["lower"]);
    const Rate possible = {std::min(upper.possible.speed, lower.possible.speed),
                           std::min(upper.possible.width, lower.possible.width)};
    const Rate now = {Told(upper.now.speed, lower.now.speed),
                      Told(upper.now.width, lower.now.width)};
    EXPECT_EQ(ReadRate(link["now"]), now) << link;
    if (possible.width == 0) continue;
    EXPECT_EQ(ReadRate(link["possible"]), possible) << link;
    const bool degraded = now.speed < possible.speed || now.width < possible.width;
    EXPECT_EQ(link["state"], degraded ? "degraded" : "in order") << link;
    any_degraded = any_degraded || degraded;
  }
  EXPECT_EQ(run.status, any_degraded ? 3 : 0);
}

std::string NameOfLinksTest(const testing::TestParamInfo<std::string>& test) {
  return std::regex_replace(test.param, std::regex("-"), "_");
}
INSTANTIATE_TEST_SUITE_P(Hosts, LinksOfHost, testing::ValuesIn(InventoryHostNames()),
                         NameOfLinksTest);

TEST(Links, AreThoseAloneThatAreDegraded) {
  const InventoryHost host("nehalem");
  const auto lines = Lines(host.OfDump({"links", "--degraded"}, 3));
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(lines[0], HasSubstr("0000:00:01.0 -> 0000:01:00.0  2.5 GT/s x4  of  5 GT/s x4  "
                                  "degraded  Ethernet controller: "));
  EXPECT_EQ(host.OfDump({"links", "--degraded", "-s", "02:"}), "");
  EXPECT_EQ(host.OfDump({"links", "--degraded", "-o", "json", "-s", "02:"}), "[]\n");
}

TEST(Links, OfASelectionHaveOneEndInIt) {
  const InventoryHost host("cxl");
  EXPECT_EQ(Lines(host.OfDump({"links", "-s", "a2:00.0"})).size(), 1U);
  EXPECT_EQ(host.OfDump({"links", "-s", "a3:00.0"}), host.OfDump({"links", "-s", "a2:00.0"}));
}

}  // namespace
}  // namespace e2e
