// The tree, held against what lspci says of the same host.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "e2e/run_tool.h"

namespace e2e {
namespace {

using Json = nlohmann::ordered_json;
using Parents = std::map<std::string, std::string>;  // a function's address to its parent's

const Words kDump = {"--dump", RECORDED_DUMP};
const Words kSysfs = {"--sysfs", RECORDED_SYSFS};

Words Joined(Words first, const Words& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// "0000:00:03.0/01:00.0/02:00.0 PCI bridge": every address but the first lacks the domain.
Parents LspciParents(const std::string& source) {
  Parents parents;
  for (const std::string& line : Lines(OutputOf("lspci -D -PP " + source))) {
    const std::string path = line.substr(0, line.find(' '));
    const std::string domain = path.substr(0, path.find(':') + 1);
    std::string parent;
    for (std::size_t start = 0; start < path.size();) {
      const std::size_t end = std::min(path.find('/', start), path.size());
      const std::string part = path.substr(start, end - start);
      const std::string address = start == 0 ? part : domain + part;
      if (end == path.size()) parents[address] = parent;
      parent = address;
      start = end + 1;
    }
  }
  return parents;
}

void CollectParents(const Json& functions, const std::string& parent, Parents& parents) {
  for (const Json& function : functions) {
    const std::string id = function["id"];
    EXPECT_FALSE(parents.contains(id)) << id << " stands twice";
    parents[id] = parent;
    CollectParents(function["children"], id, parents);
  }
}

Parents JsonParents(const Outcome& run) {
  EXPECT_EQ(run.status, 0) << run.err;
  Parents parents;
  const Json tree = Json::parse(run.out);
  for (const Json& root : tree["rootBuses"]) CollectParents(root["functions"], "", parents);
  return parents;
}

// Reads parents off the indentation: three columns a level, below the system and its root buses.
Parents TextParents(const Outcome& run) {
  EXPECT_EQ(run.status, 0) << run.err;
  Parents parents;
  std::vector<std::string> above;
  for (const std::string& line : Lines(run.out)) {
    const std::size_t start = line.find_first_of("0123456789abcdef[");
    const std::size_t level = start / 3;
    if (level < 2 || start == line.npos) continue;
    const std::string id = line.substr(start, line.find(' ', start) - start);
    above.resize(level - 1);
    parents[id] = level == 2 ? "" : above[level - 2];
    above.push_back(id);
  }
  return parents;
}

TEST(Tree, NestsTheRecordedDumpAsLspciDoes) {
  const Parents expected = LspciParents("-F " RECORDED_DUMP);
  EXPECT_GT(expected.size(), 30U);
  EXPECT_EQ(JsonParents(RunTool(Joined({"tree", "-o", "json"}, kDump))), expected);
  EXPECT_EQ(TextParents(RunTool(Joined({"tree", "--ascii"}, kDump))), expected);
}

TEST(Tree, NestsTheRecordedSysfsTreeAsLspciDoes) {
  const Parents expected = LspciParents("-A linux-sysfs -O sysfs.path=" RECORDED_SYSFS);
  EXPECT_GT(expected.size(), 30U);
  EXPECT_EQ(JsonParents(RunTool(Joined({"tree", "-o", "json"}, kSysfs))), expected);
  EXPECT_EQ(TextParents(RunTool(Joined({"tree", "--ascii"}, kSysfs))), expected);
}

TEST(Tree, NestsThisHostAsLspciDoes) {
  EXPECT_EQ(JsonParents(RunTool({"tree", "-o", "json"})), LspciParents(""));
}

// Names come from the machine's pci.ids, which is not the test's to fix.
std::string WithoutNames(const std::string& tree) {
  std::string text;
  for (const std::string& line : Lines(tree)) {
    const std::size_t address_end = line.find("  ", line.find(':'));
    const std::size_t colon = address_end == line.npos ? line.npos : line.find(": ", address_end);
    text += line.substr(0, colon) + '\n';
  }
  return text;
}

// The golden files hold names as well, for people. To write one anew:
//   ostrel-pci --dump guest-switches.lspci --system-name recorded tree > ...
TEST(Tree, DrawsTheRecordedHostAsEver) {
  const Outcome run = RunOnRecord({"tree"});
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(WithoutNames(run.out),
            WithoutNames(ReadFile(GOLDEN_FOLDER "/guest-switches.tree.golden")));
}

TEST(Tree, ShowsEveryPortAndEveryBusWhenAsked) {
  const Outcome run = RunOnRecord({"tree", "--ports", "--buses", "-o", "json"});
  const Json tree = Json::parse(run.out);
  std::set<std::string> in_functions;
  const std::function<void(const Json&)> collect = [&](const Json& functions) {
    for (const Json& function : functions) {
      for (const Json& port : function["ports"]) in_functions.insert(port["id"]);
      collect(function["children"]);
    }
  };
  for (const Json& root : tree["rootBuses"]) collect(root["functions"]);
  std::set<std::string> in_buses;
  for (const Json& bus : tree["buses"]) {
    for (const Json& port : bus["ports"]) in_buses.insert(port);
  }
  EXPECT_EQ(in_functions.size(), Lines(RunOnRecord({"ein", "port"}).out).size());
  EXPECT_EQ(in_functions, in_buses);

  const std::string text = RunOnRecord({"tree", "--ports", "--buses"}).out;
  for (const std::string& port : in_functions) EXPECT_NE(text.find(port), text.npos) << port;
  EXPECT_NE(text.find("bus 81  Ostrel:bus-129: 1 port\n"), text.npos);
}

TEST(Tree, DrawsWithPlainCharactersWhereTheLocaleHasNoOthers) {
  const std::string ascii = RunOnRecord({"tree", "--ascii"}).out;
  const std::string c_locale = RunOnRecord({"tree"}, {.environment = {{"LC_ALL", "C"}}}).out;
  const std::string utf8 = RunOnRecord({"tree"}).out;
  EXPECT_EQ(ascii, c_locale);
  EXPECT_NE(ascii.find("|- 0000:00:00.0"), ascii.npos);
  EXPECT_NE(utf8.find("├─ 0000:00:00.0"), utf8.npos);
  for (const char c : ascii) ASSERT_GE(c, 0);
}

TEST(Tree, FitsTheTerminal) {
  const Outcome run = RunOnRecord({"tree", "--ascii"}, {.terminal = 60});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("..."), run.out.npos);
  for (const std::string& line : Lines(run.out)) EXPECT_LE(line.size(), 60U + 1) << line;  // CR
}

TEST(Tree, WritesAGraphWithAnEdgeToEveryFunction) {
  const std::string graph = RunOnRecord({"tree", "-o", "dot"}).out;
  EXPECT_TRUE(graph.starts_with("digraph pci {\n"));
  EXPECT_TRUE(graph.ends_with("}\n"));
  for (const auto& [id, parent] : LspciParents("-F " RECORDED_DUMP)) {
    const std::string from = parent.empty() ? "root bus " + id.substr(0, id.rfind(':')) : parent;
    EXPECT_NE(graph.find("\"" + from + "\" -> \"" + id + "\";"), graph.npos) << id;
  }
}

}  // namespace
}  // namespace e2e
