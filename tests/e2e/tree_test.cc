// The tree, held against what lspci says of the same host.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "e2e/run_tool.h"
#include "support/compact_host.h"
#include "support/lspci.h"
#include "support/temp_folder.h"

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

Parents LspciParents(const std::string& source) {
  Parents parents;
  for (const lspci::Function& function : lspci::Functions(source)) {
    parents[function.address] = function.parent;
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
  const Parents expected = LspciParents(lspci::OfDump(RECORDED_DUMP));
  EXPECT_GT(expected.size(), 30U);
  EXPECT_EQ(JsonParents(RunTool(Joined({"tree", "-o", "json"}, kDump))), expected);
  EXPECT_EQ(TextParents(RunTool(Joined({"tree", "--ascii"}, kDump))), expected);
}

TEST(Tree, NestsTheRecordedSysfsTreeAsLspciDoes) {
  const Parents expected = LspciParents(lspci::OfSysfs(RECORDED_SYSFS));
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
  explicit DumpFile(const std::string& text) : path_(folder_.Write("host.lspci", text)) {}

  const std::string& path() const { return path_; }

 private:
  const TempFolder folder_;
  const std::string path_;
};
// "02-04" of every function that one is drawn of.
using Ranges = std::map<std::string, std::string>;

Ranges LspciRanges(const std::string& source) {
  Ranges ranges;
  for (const auto& [id, drawn] : lspci::Draw(source, lspci::Functions(source)).functions) {
    if (!drawn.buses.empty()) ranges[id] = drawn.buses;
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
      ranges[function["id"]] =
          Hex(function["secondaryBus"]) + '-' + Hex(function["subordinateBus"]);
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
  const Parents expected = LspciParents(lspci::OfDump(dump.path()));
  EXPECT_EQ(expected.size(), headers.size());
  const Outcome json = RunTool({"--dump", dump.path(), "tree", "-o", "json"});
  EXPECT_EQ(JsonParents(json), expected);
  EXPECT_EQ(JsonRanges(json), LspciRanges(lspci::OfDump(dump.path())));
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
  const Ranges of_dump = LspciRanges(lspci::OfDump(RECORDED_DUMP));
  EXPECT_GT(of_dump.size(), 10U);
  EXPECT_EQ(JsonRanges(RunTool(Joined({"tree", "-o", "json"}, kDump))), of_dump);
  EXPECT_EQ(JsonRanges(RunTool(Joined({"tree", "-o", "json"}, kSysfs))),
            LspciRanges(lspci::OfSysfs(RECORDED_SYSFS)));
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
            LspciRanges(lspci::OfDump(RECORDED_DUMP)));
}

TEST(Tree, NestsThisHostAsLspciDoes) {
  EXPECT_EQ(JsonParents(RunTool({"tree", "-o", "json"})), LspciParents(lspci::kThisHost));
}

// "(slot 7)" or "(empty slot 7)" of the functions that have one, as text drawn in this width.
std::map<std::string, std::string> DrawnSlots(const Words& source, unsigned width = 0) {
  const Outcome run = RunTool(Joined({"tree", "--ascii"}, source), {.terminal = width});
  EXPECT_EQ(run.status, 0) << run.err;
  static const std::regex kSlot("([0-9a-f:]+\\.[0-7]).* (\\((empty )?slot [^)]*\\))");
  std::map<std::string, std::string> slots;
  for (const std::string& line : Lines(run.out)) {
    std::smatch found;
    if (std::regex_search(line, found, kSlot)) slots[found[1]] = found[2];
  }
  return slots;
}

// The number of five of them is 0. Names stand where a narrow terminal does not cut them off.
TEST(Tree, NamesSlotsAsTheKernelDoes) {
  const std::map<std::string, std::string> expected = {
      {"0000:03:00.0", "(slot 0)"},   {"0000:04:00.0", "(slot 0-2)"},
      {"0000:07:00.0", "(slot 0-3)"}, {"0000:06:01.0", "(empty slot 0-4)"},
      {"0000:0a:02.0", "(slot 2)"},   {"0000:0b:01.0", "(slot 1-2)"},
      {"0000:0b:02.0", "(slot 2-2)"}, {"0000:0c:00.0", "(slot 0-7)"},
      {"0000:0d:00.0", "(slot 0-8)"}, {"0000:0f:07.0", "(slot 7-4)"},
      {"0000:81:00.0", "(slot 8-1)"}};
  EXPECT_EQ(DrawnSlots(kSysfs), expected);
  EXPECT_EQ(DrawnSlots(kSysfs, 60), expected);
}

// A dump has the numbers that ports give their slots.
TEST(Tree, NumbersSlotsAsPortsDoWhereNobodyNamesThem) {
  const std::map<std::string, std::string> expected = {
      {"0000:01:00.0", "(slot 1)"},  {"0000:03:00.0", "(slot 11)"},
      {"0000:04:00.0", "(slot 12)"}, {"0000:05:00.0", "(slot 13)"},
      {"0000:07:00.0", "(slot 31)"}, {"0000:06:01.0", "(empty slot 32)"},
      {"0000:09:00.0", "(slot 2)"},  {"0000:0c:00.0", "(slot 3)"},
      {"0000:0d:00.0", "(slot 4)"},  {"0000:81:00.0", "(slot 8)"}};
  EXPECT_EQ(DrawnSlots(kDump), expected);
}

// PhysicalSlot has 8 bits of them.
TEST(Tree, ShowsNumbersOfSlotsAsAWhole) {
  const TempFolder folder;
  const auto host = compact_host::Host::ReadFile(GOLDEN_FOLDER "/slots.host");
  host.WriteSysfs(folder.path());
  const Words sysfs = {"--sysfs", folder.Path("bus/pci")};
  const Words dump = {"--dump", folder.Write("dump", host.Dump())};
  std::map<std::string, std::string> expected = {
      {"0000:01:00.0", "(slot 255)"},       {"0000:01:00.1", "(slot 255)"},
      {"0000:02:00.0", "(slot 256)"},       {"0000:03:00.0", "(slot 8191)"},
      {"0000:00:04.0", "(empty slot 300)"}, {"0000:00:05.0", "(empty slot 0)"},
      {"0000:09:00.0", "(slot 0)"},         {"0000:0a:00.0", "(slot 266)"},
      {"0000:0b:00.0", "(slot 12)"}};
  EXPECT_EQ(DrawnSlots(dump), expected);
  expected["0000:09:00.0"] = "(slot 0-2)";
  expected["0000:0a:00.0"] = "(slot 0000010a)";
  expected["0000:0b:00.0"] = "(slot PCIe-Slot-12)";
  expected["0000:0c:01.0"] = "(slot 3)";
  EXPECT_EQ(DrawnSlots(sysfs), expected);
  const std::string table =
      RunTool(Joined({"ei", "device", "-p", "DeviceID", "-p", "PhysicalSlot"}, sysfs)).out;
  EXPECT_NE(table.find("\n0000:02:00.0  0\n0000:03:00.0  255\n0000:09:00.0  0\n0000:0a:00.0\n"),
            table.npos)
      << table;
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
  EXPECT_EQ(RunTool({"tree"}, platform).out, "fake-host\n0 functions\n");
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
  for (const auto& [id, parent] : LspciParents(lspci::OfDump(RECORDED_DUMP))) {
    const std::string from = parent.empty() ? "root bus " + id.substr(0, id.rfind(':')) : parent;
    EXPECT_NE(graph.find("\"" + from + "\" -> \"" + id + "\";"), graph.npos) << id;
  }
}

}  // namespace
}  // namespace e2e
