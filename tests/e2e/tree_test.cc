// The tree, held against what lspci says of the same host.

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
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

// One function of a dump, as far as lspci looks at it to draw a tree.
struct Header {
  std::string address;
  unsigned class_code = 0x0200;
  unsigned type = 0;
  unsigned secondary = 0;
  unsigned subordinate = 0;
};

std::string DumpOf(const std::vector<Header>& headers) {
  std::ostringstream dump;
  for (const Header& header : headers) {
    std::array<unsigned, 64> bytes{0x86, 0x80, 0x34, 0x12};
    bytes[0x0a] = header.class_code & 0xff;
    bytes[0x0b] = header.class_code >> 8;
    bytes[0x0e] = header.type;
    bytes[0x19] = header.secondary;
    bytes[0x1a] = header.subordinate;
    dump << header.address << " Class: Device" << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      if (i % 16 == 0) dump << '\n' << std::setw(2) << i << ':';
      dump << ' ' << std::setw(2) << bytes[i];
    }
    dump << "\n\n";
  }
  return dump.str();
}

class DumpFile {
 public:
  explicit DumpFile(const std::string& text)
      : path_(testing::TempDir() + "tree_test." + std::to_string(getpid()) + ".lspci") {
    std::ofstream(path_) << text;
  }
  DumpFile(const DumpFile&) = delete;
  DumpFile& operator=(const DumpFile&) = delete;
  ~DumpFile() { (void)std::remove(path_.c_str()); }

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// "01.0-[02-04]" for every range that is drawn; the same functions of several buses, in no order.
using Ranges = std::multiset<std::string>;

Ranges LspciRanges(const std::string& source) {
  const std::string drawn = OutputOf("lspci -t " + source);
  static const std::regex kRange("[0-9a-f]{2}\\.[0-7]-\\[[0-9a-f]{2}(-[0-9a-f]{2})?\\]");
  Ranges ranges;
  for (std::sregex_iterator found(drawn.begin(), drawn.end(), kRange), end; found != end; ++found) {
    ranges.insert(found->str());
  }
  return ranges;
}

std::string Hex(unsigned number) {
  std::ostringstream text;
  text << std::hex << std::setfill('0') << std::setw(2) << number;
  return text.str();
}

void CollectRanges(const Json& functions, Ranges& ranges) {
  for (const Json& function : functions) {
    if (function.contains("secondaryBus")) {
      const std::string id = function["id"];
      const std::string first = Hex(function["secondaryBus"]);
      const std::string last = Hex(function["subordinateBus"]);
      ranges.insert(id.substr(id.rfind(':') + 1) + "-[" + first +
                    (first == last ? "" : "-" + last) + "]");
    }
    CollectRanges(function["children"], ranges);
  }
}

Ranges JsonRanges(const Outcome& run) {
  EXPECT_EQ(run.status, 0) << run.err;
  Ranges ranges;
  const Json tree = Json::parse(run.out);
  for (const Json& root : tree["rootBuses"]) CollectRanges(root["functions"], ranges);
  return ranges;
}

void ExpectDrawnAsByLspci(const std::vector<Header>& headers) {
  const DumpFile dump(DumpOf(headers));
  const Parents expected = LspciParents("-F " + dump.path());
  EXPECT_EQ(expected.size(), headers.size());
  const Outcome json = RunTool({"--dump", dump.path(), "tree", "-o", "json"});
  EXPECT_EQ(JsonParents(json), expected);
  EXPECT_EQ(JsonRanges(json), LspciRanges("-F " + dump.path()));
  EXPECT_EQ(TextParents(RunTool({"--dump", dump.path(), "tree", "--ascii"})), expected);
  const std::string graph = RunTool({"--dump", dump.path(), "tree", "-o", "dot"}).out;
  for (const auto& [id, parent] : expected) {
    EXPECT_NE(graph.find("-> \"" + id + "\";"), graph.npos) << id;
  }
}

constexpr unsigned kHostBridge = 0x0600;
constexpr unsigned kIsaBridge = 0x0601;
constexpr unsigned kPciBridge = 0x0604;

TEST(Tree, DrawsRootBusesWithHostBridgesOnly) {
  ExpectDrawnAsByLspci({{"00:00.0", kHostBridge},
                        {"00:02.0"},
                        {"fe:00.0", kHostBridge},
                        {"ff:00.0", kHostBridge},
                        {"ff:00.1", kHostBridge},
                        {"ff:06.3", kHostBridge}});
}

TEST(Tree, DrawsBridgesWithoutPortsWhoseDevicesHaveNoOtherFunction) {
  ExpectDrawnAsByLspci({{"00:1c.0", kPciBridge, 1, 1, 1},
                        {"00:1f.3", kIsaBridge},
                        {"01:00.3", kHostBridge},
                        {"01:00.7", kHostBridge}});
}

TEST(Tree, ShowsBusRangesAsProgrammed) {
  ExpectDrawnAsByLspci({{"00:1c.0", kPciBridge, 1, 1, 9},
                        {"01:00.0", kPciBridge, 1, 4, 4},
                        {"01:01.0", kPciBridge, 1, 0, 0},
                        {"01:02.0", 0x0607, 2, 5, 8},
                        {"05:00.0"}});
}

TEST(Tree, SortsDomainsByTheirWholeNumber) {
  const DumpFile dump(DumpOf({{"10000:e0:06.0", kPciBridge, 1, 0xe1, 0xe1},
                              {"10000:e1:00.0"},
                              {"ffff:00:00.0"},
                              {"0000:00:00.0", kHostBridge}}));
  const Json tree = Json::parse(RunTool({"--dump", dump.path(), "tree", "-o", "json"}).out);
  std::vector<std::string> roots;
  for (const Json& root : tree["rootBuses"]) roots.push_back(root["id"]);
  EXPECT_EQ(roots, (Words{"0000:00", "ffff:00", "10000:e0"}));
}

TEST(Tree, ShowsBusRangesOfTheRecordedHostAsLspciDoes) {
  const Ranges of_dump = LspciRanges("-F " RECORDED_DUMP);
  EXPECT_GT(of_dump.size(), 10U);
  EXPECT_EQ(JsonRanges(RunTool(Joined({"tree", "-o", "json"}, kDump))), of_dump);
  EXPECT_EQ(JsonRanges(RunTool(Joined({"tree", "-o", "json"}, kSysfs))),
            LspciRanges("-A linux-sysfs -O sysfs.path=" RECORDED_SYSFS));
}

// Who is not root sees 64 bytes of each function: no switch is known for one, but all buses are.
TEST(Tree, ShowsTheSameBusRangesWithoutCapabilities) {
  std::string headers;
  for (const std::string& line : Lines(ReadFile(RECORDED_DUMP))) {
    const std::size_t digits = line.find(": ");  // of an offset; an address has more characters
    const bool is_bytes = digits == 2 || digits == 3;
    if (!is_bytes || (digits == 2 && line < "40")) headers += line + '\n';
  }
  const DumpFile dump(headers);
  EXPECT_EQ(JsonRanges(RunTool({"--dump", dump.path(), "tree", "-o", "json"})),
            LspciRanges("-F " RECORDED_DUMP));
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

TEST(Tree, IsOfTheSystemThatAPlatformsOwnLibraryNames) {
  const Setting platform{.environment = {{"LD_LIBRARY_PATH", FAKE_HOST_FOLDER}}};
  EXPECT_EQ(RunTool({"tree"}, platform).out, "fake-host\n");
  EXPECT_NE(RunTool({"ein", "system"}, platform).out.find("Name=\"fake-host\""), std::string::npos);
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
