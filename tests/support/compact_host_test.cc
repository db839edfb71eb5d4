// What compact descriptions expand to, and that lspci reads from it what was written down.

#include "support/compact_host.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "support/hierarchies.h"
#include "support/lspci.h"
#include "support/temp_folder.h"

namespace compact_host {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string ReadText(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream) << file;
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string ErrorOf(const std::string& text) {
  try {
    Host::Parse(text);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "";
}

constexpr char kSample[] =
    "# A root port with a card of two functions, one with two virtual ones.\n"
    "0000:00:03.0 0604: 8086:340a rev=13 buses=02-03 pcie=root caps=0d link=2x8/1x4 slot=300 "
    "label=300-1\n"
    "  0000:02:00.0 0200: 8086:1521 sub=8086:00a2 status=0080 pcie=endpoint caps=01,05,11\n"
    "  0000:02:00.1 0200: 8086:1521 pcie=endpoint vfs=2@0000:02:1f.7 vf=1520\n"
    "0000:00:0e.0 0104: 8086:467f\n"
    "  10000:e0:06.0 060401: 8086:464d buses=00\n";

TEST(CompactHost, ALineHasTheFactsOfAFunction) {
  const Host host = Host::Parse(kSample);
  ASSERT_EQ(host.functions().size(), 7U);
  const Function& port = host.functions()[0];
  EXPECT_EQ(port.address, (Address{0, 0, 3, 0}));
  EXPECT_EQ(port.class_code, 0x060400U);
  EXPECT_EQ(port.revision, 0x13U);
  EXPECT_EQ(port.header_type, 1U);
  EXPECT_EQ(port.secondary, 2U);
  EXPECT_EQ(port.subordinate, 3U);
  EXPECT_EQ(port.pcie_type, 4);
  EXPECT_EQ(port.slot, 300U);
  EXPECT_EQ(port.label, "300-1");
  const Function& card = host.functions()[1];
  EXPECT_EQ(card.above, 0U);
  EXPECT_EQ(card.subsystem_vendor, 0x8086U);
  EXPECT_EQ(card.subsystem, 0xa2U);
  EXPECT_THAT(card.capabilities, ElementsAre(0x01U, 0x05U, 0x11U));
  EXPECT_EQ(host.functions()[6].address, (Address{0x10000, 0xe0, 6, 0}));
  EXPECT_EQ(host.functions()[6].class_code, 0x060401U);
}

TEST(CompactHost, VirtualFunctionsGoOnOnTheNextBus) {
  const Host host = Host::Parse(kSample);
  EXPECT_EQ(Text(host.functions()[3].address), "0000:02:1f.7");
  EXPECT_EQ(Text(host.functions()[4].address), "0000:03:00.0");
  EXPECT_EQ(host.functions()[4].physical_function, 2U);
  EXPECT_EQ(host.functions()[4].above, 0U);
  EXPECT_EQ(host.functions()[4].device, 0x1520U);
}

TEST(CompactHost, WhatMakesNoSenseIsAnErrorWithItsLine) {
  EXPECT_EQ(ErrorOf("# nothing\n0000:00:00.0 0600: 8086:29c0 colour=red\n"),
            "line 2: no such fact: colour");
  EXPECT_EQ(ErrorOf("0000:00:00.0 0600 8086:29c0\n"), "line 1: no ':' before ");
  EXPECT_EQ(ErrorOf("0000:00:00 0600: 8086:29c0\n"), "line 1: no '.' before ");
  EXPECT_EQ(ErrorOf("0000:00:00.0 0600: 8086:29c0 pcie=sideways\n"),
            "line 1: no such port type: sideways");
  EXPECT_EQ(ErrorOf("0000:00:00.0 0600: 8086:29c0 rev\n"), "line 1: no such fact: re");
}

TEST(CompactHost, ADumpIsSortedAndHasTheIdsOfVirtualFunctionsInTheirFirstLines) {
  const std::string dump = Host::Parse(kSample).Dump();
  EXPECT_THAT(dump, StartsWith("0000:00:03.0 0604: 8086:340a (rev 13)\n"
                               "00: 86 80 0a 34 00 00 10 00 13 00 04 06 00 00 01 00\n"
                               "10: 00 00 00 00 00 00 00 00 00 02 03 00 00 00 00 00\n"));
  EXPECT_THAT(dump, HasSubstr("\n\n0000:03:00.0 0200: 8086:1520\n00: ff ff ff ff 00 00 10 00 "));
  EXPECT_LT(dump.find("\n0000:03:00.0 "), dump.find("\n10000:e0:06.0 "));
}

TEST(CompactHost, SysfsIsLaidOutAsTheKernelDoes) {
  const TempFolder folder;
  Host::Parse(kSample).WriteSysfs(folder.path());
  const fs::path devices = folder.path() / "bus/pci/devices";
  EXPECT_EQ(fs::read_symlink(devices / "0000:02:00.1"),
            "../../../devices/pci0000:00/0000:00:03.0/0000:02:00.1");
  EXPECT_EQ(fs::read_symlink(devices / "10000:e0:06.0"),
            "../../../devices/pci0000:00/0000:00:0e.0/pci10000:e0/10000:e0:06.0");
  EXPECT_EQ(fs::read_symlink(devices / "0000:03:00.0/physfn"), "../0000:02:00.1");
  EXPECT_EQ(fs::read_symlink(devices / "0000:02:00.1/virtfn1"), "../0000:03:00.0");
  EXPECT_EQ(ReadText(devices / "0000:03:00.0/device"), "0x1520\n");
  EXPECT_EQ(ReadText(devices / "0000:03:00.0/config").substr(0, 4), "\xff\xff\xff\xff");
  EXPECT_EQ(ReadText(devices / "0000:02:00.0/uevent"),
            "PCI_CLASS=20000\nPCI_ID=8086:1521\nPCI_SUBSYS_ID=8086:00A2\n"
            "PCI_SLOT_NAME=0000:02:00.0\n"
            "MODALIAS=pci:v00008086d00001521sv00008086sd000000A2bc02sc00i00\n");
  EXPECT_EQ(ReadText(folder.path() / "bus/pci/slots/300-1/address"), "0000:02:00\n");
}

TEST(CompactHost, ItsTextIsReadAsTheSame) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    const Host host = RandomHost(seed);
    EXPECT_EQ(Host::Parse(host.Text()).Text(), host.Text());
    EXPECT_EQ(Host::Parse(host.Text()).Dump(), host.Dump());
  }
}

// ---- What lspci makes of it.

struct Expected {
  std::string parent;
  unsigned vendor, device, class_code, revision, secondary, subordinate;
  int pcie_type;

  bool operator==(const Expected&) const = default;
};

void PrintTo(const Expected& expected, std::ostream* out) {
  *out << std::hex << "below \"" << expected.parent << "\", ids " << expected.vendor << ':'
       << expected.device << ", class " << expected.class_code << ", rev " << expected.revision
       << ", buses " << expected.secondary << '-' << expected.subordinate << ", port type "
       << expected.pcie_type;
}

std::map<std::string, Expected> ExpectedOf(const Host& host, bool in_dump) {
  std::map<std::string, Expected> all;
  for (const Function& function : host.functions()) {
    const bool without_ids = in_dump && function.physical_function != kNone;
    const bool is_below =
        function.above != kNone &&
        host.functions()[function.above].address.domain == function.address.domain;
    all[Text(function.address)] = {is_below ? Text(host.functions()[function.above].address) : "",
                                   without_ids ? 0xffff : function.vendor,
                                   without_ids ? 0xffff : function.device,
                                   function.class_code >> 8,
                                   function.revision,
                                   function.secondary,
                                   function.subordinate,
                                   function.pcie_type};
  }
  return all;
}

std::map<std::string, Expected> LspciSays(const std::string& source) {
  std::map<std::string, Expected> all;
  for (const lspci::Function& function : lspci::Functions(source)) {
    all[function.address] = {function.parent,          function.vendor,   function.device,
                             function.class_code,      function.revision, function.secondary_bus,
                             function.subordinate_bus, function.pcie_type};
  }
  return all;
}

void ExpectThatLspciReads(const Host& host) {
  const TempFolder folder;
  host.WriteSysfs(folder.path());
  const std::string dump = folder.Write("dump", host.Dump());
  EXPECT_EQ(LspciSays(lspci::OfSysfs(folder.path() / "bus/pci")), ExpectedOf(host, false));
  EXPECT_EQ(LspciSays(lspci::OfDump(dump)), ExpectedOf(host, true));
}

TEST(CompactHost, LspciReadsWhatIsWrittenDownOfKnownHosts) {
  std::size_t hosts = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(HOSTS_FOLDER)) {
    if (entry.path().extension() != ".host") continue;
    SCOPED_TRACE(entry.path());
    ExpectThatLspciReads(Host::ReadFile(entry.path()));
    ++hosts;
  }
  EXPECT_GT(hosts, 5U);
}

TEST(CompactHost, LspciReadsRandomHosts) {
  for (unsigned seed = 0; seed < 4; ++seed) {
    SCOPED_TRACE(seed);
    ExpectThatLspciReads(RandomHost(seed));
  }
}

TEST(SmallHierarchies, AreAllThereOnceAndNoTwoAlike) {
  std::size_t functions = 0;
  std::set<unsigned> domains;
  std::set<std::string> shapes;
  for (const Host& host : SmallHierarchies(3, 100)) {
    EXPECT_LE(host.functions().size(), 100U);
    std::map<unsigned, std::string> shape_of;
    for (const Function& function : host.functions()) {
      std::string& shape = shape_of[function.address.domain];
      const bool on_root = function.above == kNone;
      shape += (on_root ? "/" : Text(host.functions()[function.above].address).substr(5)) + ' ' +
               std::to_string(function.class_code) + ' ' + std::to_string(function.pcie_type) + ';';
      ++functions;
    }
    for (const auto& [domain, shape] : shape_of) {
      EXPECT_TRUE(domains.insert(domain).second) << domain;
      shapes.insert(shape);
    }
  }
  // Five kinds on a root bus; with a second function twenty more, and so on.
  EXPECT_EQ(domains.size(), 104U);
  EXPECT_EQ(functions, 282U);
  EXPECT_GE(shapes.size(), domains.size());
}

// ---- Drawings.

TEST(LspciTree, IsReadFromItsDrawing) {
  const lspci::Tree tree = lspci::ReadDrawing(
      "-+-[10000:e0]---06.0-[e1]----00.0  144d:a80a\n"
      " \\-[0000:00]-+-00.0  8086:29c0\n"
      "             +-02.0-[01-04]----00.0-[02-04]--+-00.0-[03]--\n"
      "             |                               \\-01.0-[04]--+-00.0  8086:1521\n"
      "             |                                            \\-00.1  8086:1521\n"
      "             +-03.0-[05-06]--+-[0000:05]---00.0  15b3:101d\n"
      "             |               \\-[0000:06]---00.0  ffff:ffff\n"
      "             \\-1f.0  8086:2918\n");
  EXPECT_THAT(tree.roots, ElementsAre("10000:e0", "0000:00"));
  const std::map<std::string, lspci::Drawn> expected = {
      {"10000:e0:06.0", {"", "e1-e1", ""}},
      {"10000:e1:00.0", {"10000:e0:06.0", "", "144d:a80a"}},
      {"0000:00:00.0", {"", "", "8086:29c0"}},
      {"0000:00:02.0", {"", "01-04", ""}},
      {"0000:01:00.0", {"0000:00:02.0", "02-04", ""}},
      {"0000:02:00.0", {"0000:01:00.0", "03-03", ""}},
      {"0000:02:01.0", {"0000:01:00.0", "04-04", ""}},
      {"0000:04:00.0", {"0000:02:01.0", "", "8086:1521"}},
      {"0000:04:00.1", {"0000:02:01.0", "", "8086:1521"}},
      {"0000:00:03.0", {"", "05-06", ""}},
      {"0000:05:00.0", {"0000:00:03.0", "", "15b3:101d"}},
      {"0000:06:00.0", {"0000:00:03.0", "", "ffff:ffff"}},
      {"0000:00:1f.0", {"", "", "8086:2918"}},
  };
  for (const auto& [address, drawn] : expected) {
    ASSERT_TRUE(tree.functions.contains(address)) << address;
    EXPECT_EQ(tree.functions.at(address), drawn) << address;
  }
  EXPECT_EQ(tree.functions.size(), expected.size());
}

}  // namespace
}  // namespace compact_host
