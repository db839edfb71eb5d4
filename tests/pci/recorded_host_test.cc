// The recorded hosts, whole. What is expected of their functions was worked out from the bytes that
// lspci printed and the files that the kernel had, by a program that shares nothing with ours.

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "pci/hosts.h"

namespace pci_test {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

std::vector<std::string> LinesOf(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  EXPECT_FALSE(lines.empty()) << path;
  return lines;
}

std::string Recorded(const std::string& file) { return RECORDED_HOSTS "/" + file; }

// What a dump does not tell: which function a virtual one is a part of; how the kernel calls a
// slot.
std::string OfADump(std::string line) {
  line = std::regex_replace(line, std::regex(" physical \\S+"), " physical none");
  return std::regex_replace(line, std::regex("(slot|below) \\S+ \\((\\d+)\\)"), "$1 $2 ($2)");
}

class RecordedHost : public ::testing::TestWithParam<const char*> {
 protected:
  const std::string host_ = GetParam();
  const std::vector<std::string> expected_ = LinesOf(Recorded(host_ + ".functions.golden"));
};

TEST_P(RecordedHost, IsReadFromSysfs) {
  const pci::Host host = ReadSysfs(RecordedSysfs(host_));
  EXPECT_THAT(DescribeAll(host), ElementsAreArray(expected_));
  EXPECT_EQ(Complaints(host), "");
  EXPECT_THAT(TroublesOf(host), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Hosts, RecordedHost, ::testing::Values("guest-sriov", "guest-switches"),
                         [](const auto& test) { return std::string(test.param).substr(6); });

// The registers of virtual functions do not tell their ids, and the dump has no numbers beside
// them.
TEST(RecordedHosts, OfADumpDiffersInWhatItDoesNotTell) {
  std::vector<std::string> expected;
  for (std::string line : LinesOf(Recorded("guest-sriov.functions.golden"))) {
    const bool is_virtual = line.find(" physical none") == line.npos;
    if (is_virtual) line = std::regex_replace(line, std::regex("id 1b36:0010"), "id ffff:ffff");
    expected.push_back(OfADump(line));
  }
  const pci::Host host = ReadDump(RecordedDump("guest-sriov"));
  EXPECT_THAT(DescribeAll(host), ElementsAreArray(expected));
  EXPECT_EQ(Complaints(host), "");
}

// The kernel made up slots of a bridge to conventional PCI, which are in no register of a port.
TEST(RecordedHosts, OfADumpHasTheSlotsOfPortsAlone) {
  const auto without_slots = [](const std::string& line) {
    return std::regex_replace(line, std::regex("slot .* capabilities"), "capabilities");
  };
  std::vector<std::string> expected, found;
  for (const auto& line : LinesOf(Recorded("guest-switches.functions.golden"))) {
    expected.push_back(without_slots(line));
  }
  const pci::Host host = ReadDump(RecordedDump("guest-switches"));
  for (const auto& line : DescribeAll(host)) found.push_back(without_slots(line));
  EXPECT_THAT(found, ElementsAreArray(expected));
  EXPECT_EQ(host.slots().at(At(host, "0000:81:00.0").slot).name, "8");
}

// ---------------------------------------------------------------------------------------------
// Drawn as lspci -tnn does, with ids for names

class LspciTree {
 public:
  explicit LspciTree(const pci::Host& host) : host_(host) {}

  std::vector<std::string> Draw() {
    std::vector<std::string> roots;
    for (const pci::Function& function : host_.functions()) {
      const std::string bus = FormatAddress(function.address).substr(0, 7);
      if (function.parent == pci::kNone && (roots.empty() || roots.back() != bus)) {
        roots.push_back(bus);
      }
    }
    const bool many = roots.size() > 1;
    for (const std::string& root : roots) {
      const bool last = root == roots.back();
      const std::string first = root == roots.front() ? "-" : " ";
      DrawBus(many ? first + (last ? "\\-" : "+-") + "[" + root + "]-" : "-[" + root + "]-",
              many && !last ? " |           " : "             ", RootBus(root));
    }
    return std::move(lines_);
  }

 private:
  using Functions = std::vector<const pci::Function*>;

  Functions RootBus(const std::string& bus) const {
    Functions functions;
    for (const pci::Function& function : host_.functions()) {
      const bool here = FormatAddress(function.address).starts_with(bus);
      if (function.parent == pci::kNone && here) functions.push_back(&function);
    }
    return functions;
  }

  Functions Behind(const pci::Function& bridge) const {
    Functions functions;
    for (const pci::Function& function : host_.functions()) {
      if (function.parent == pci::kNone) continue;
      if (&host_.functions()[function.parent] == &bridge) functions.push_back(&function);
    }
    return functions;
  }

  // `start` begins the line of the first function, `indent` those of the others.
  void DrawBus(const std::string& start, const std::string& indent, const Functions& functions) {
    if (functions.empty()) return lines_.push_back(start);
    if (functions.size() == 1) {
      return DrawFunction(start + "--", indent + "  ", *functions[0]);
    }
    for (const pci::Function* function : functions) {
      const bool last = function == functions.back();
      DrawFunction((function == functions.front() ? start : indent) + (last ? "\\-" : "+-"),
                   indent + (last ? "  " : "| "), *function);
    }
  }

  void DrawFunction(const std::string& start, const std::string& indent,
                    const pci::Function& function) {
    std::string text = FormatAddress(function.address).substr(8);
    const auto hex = [](unsigned value, const char* format) {
      char digits[16];
      std::snprintf(digits, sizeof digits, format, value);
      return std::string(digits);
    };
    if (function.buses.secondary == 0) {
      lines_.push_back(start + text + "  " + hex(function.ids.vendor, "%04x:") +
                       hex(function.ids.device, "%04x"));
      return;
    }
    text += hex(function.buses.secondary, "-[%02x");
    if (function.buses.subordinate != function.buses.secondary) {
      text += hex(function.buses.subordinate, "-%02x");
    }
    text += "]--";
    DrawBus(start + text, indent + std::string(text.size(), ' '), Behind(function));
  }

  const pci::Host& host_;
  std::vector<std::string> lines_;
};

// lspci drew it in the guest, where the kernel numbers and nests the functions.
TEST(RecordedHosts, IsTheTreeThatLspciDrew) {
  std::vector<std::string> expected;
  for (const auto& line : LinesOf(Recorded("guest-sriov.lspci-tvnn"))) {
    expected.push_back(std::regex_replace(
        line, std::regex("([0-9a-f]{2}\\.[0-7])  .*\\[(\\w{4}:\\w{4})\\]$"), "$1  $2"));
  }
  EXPECT_THAT(LspciTree(ReadSysfs(RecordedSysfs("guest-sriov"))).Draw(),
              ElementsAreArray(expected));
}

}  // namespace
}  // namespace pci_test
