// Hosts written as dumps, and what is read of them again.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "e2e/inventory_hosts.h"
#include "support/lspci.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using Json = nlohmann::ordered_json;

class RecordOfHost : public testing::TestWithParam<std::string> {
 protected:
  std::string Record(const Words& source) {
    const Outcome run = RunTool(Joined({"record"}, source));
    EXPECT_EQ(run.status, 0) << run.err;
    std::string path = folder_.Path("record");
    std::ofstream(path) << run.out;
    return path;
  }

  const InventoryHost host_{GetParam()};
  const TempFolder folder_;
};

// All that --dump can tell: not which function a virtual one is a part of, nor the names of empty
// slots, nor where bus numbers do not tell what is above. Where the kernel has no slot, a port has.
TEST_P(RecordOfHost, IsReadAgainAsTheHostWas) {
  const std::string record = Record({"--sysfs", host_.bus()});
  const auto list = [](const Words& source) {
    return Json::parse(RunTool(Joined({"list", "-o", "json"}, source)).out)["functions"];
  };
  const Json before = list({"--sysfs", host_.bus()});
  const Json after = list({"--dump", record});
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < before.size(); ++i) {
    for (const char* name : {"address", "ids", "subsystem", "code", "name", "rev", "buses", "slot",
                             "driver", "numa", "iommu", "link", "maxlink", "below"}) {
      if (std::string(name) == "slot" && before[i][name].is_null()) continue;
      EXPECT_EQ(after[i][name], before[i][name]) << name << " of " << before[i]["address"];
    }
  }
}

// Virtual functions hide their ids in the registers, which is all that lspci reads.
TEST_P(RecordOfHost, IsReadByLspciAsTheHostWas) {
  const auto registers = [](const std::string& source) {
    return OutputOf("lspci -D -n -xxxx " + source + " | grep -E '^[0-9a-f]+: ([0-9a-f]{2} ?)+$'");
  };
  const std::string record = Record({"--sysfs", host_.bus()});
  EXPECT_EQ(registers(lspci::OfDump(record)), registers(lspci::OfSysfs(host_.bus())));
}

TEST_P(RecordOfHost, OfARecordIsTheSameText) {
  const std::string record = Record({"--dump", host_.dump()});
  const std::string text = ReadFile(record);
  EXPECT_EQ(RunTool({"record", "--dump", record}).out, text);
}

std::string NameOfRecordTest(const testing::TestParamInfo<std::string>& test) {
  return std::regex_replace(test.param, std::regex("-"), "_");
}
INSTANTIATE_TEST_SUITE_P(Hosts, RecordOfHost, testing::ValuesIn(InventoryHostNames()),
                         NameOfRecordTest);

TEST(Record, HoldsWhatTheKernelTells) {
  const InventoryHost host("virtual-functions");
  const fs::path folder = fs::canonical(fs::path(host.bus()) / "devices/0000:31:00.2");
  fs::create_directory_symlink("../../../bus/pci/drivers/vfio-pci", folder / "driver");
  fs::create_directory_symlink("../../../kernel/iommu_groups/42", folder / "iommu_group");
  std::ofstream(folder / "numa_node") << "1\n";
  const std::string text = host.OfSysfs({"record"});
  const std::size_t start = text.find("0000:31:00.2 ");
  EXPECT_THAT(text.substr(start, 300),
              testing::ContainsRegex("^0000:31:00.2 Ethernet controller \\[0200\\]: .* "
                                     "\\[15b3:101e\\] \\(rev 00\\)\n\tPhysical Slot: 1\n"
                                     "\tNUMA node: 1\n\tIOMMU group: 42\n"
                                     "\tKernel driver in use: vfio-pci\n00: ff ff ff ff "));
  TempFolder scratch;
  std::ofstream(scratch.Path("record")) << text;
  const Outcome list = RunTool({"list", "-s", "31:00.2", "-o", "ids,slot,driver,numa,iommu",
                                "--dump", scratch.Path("record"), "--noheadings"});
  EXPECT_EQ(list.out, "15b3:101e  1  vfio-pci  1  42\n");
  EXPECT_EQ(RunTool({"list", "--driver", "vfio-pci", "-o", "address", "--noheadings", "--dump",
                     scratch.Path("record")})
                .out,
            "0000:31:00.2\n");
}

TEST(Record, OfThisHostDiffersInNothing) {
  TempFolder folder;
  std::ofstream(folder.Path("record")) << RunTool({"record"}).out;
  const Outcome diff = RunTool({"diff", folder.Path("record"), "live"});
  EXPECT_EQ(diff.status, 0);
  EXPECT_EQ(diff.out, "");
}

// What lspci itself prints of these, in lines of their own and among the flags.
TEST(Record, HasTheWordsOfLspci) {
  const auto listed = [](const std::string& lines) {
    std::string text = "0000:02:00.0 Ethernet controller [0200]: Intel [8086:10d3]\n" + lines;
    for (int i = 0; i < 64; i += 16) {
      char offset[8];
      std::snprintf(offset, sizeof offset, "%02x:", i);
      text += offset;
      for (int j = 0; j < 16; ++j) text += i == 0 && j < 2 ? (j == 0 ? " 86" : " 80") : " 01";
      text += '\n';
    }
    TempFolder folder;
    std::ofstream(folder.Path("dump")) << text << '\n';
    return RunTool({"list", "--dump", folder.Path("dump"), "--noheadings", "-o",
                    "slot,driver,numa,iommu"})
        .out;
  };
  EXPECT_EQ(listed("\tPhysical Slot: 0-2\n\tNUMA node: 3\n\tIOMMU group: 17\n"
                   "\tKernel driver in use: e1000e\n\tKernel modules: e1000e, x\n"),
            "0-2  e1000e  3  17\n");
  EXPECT_EQ(
      listed("\tFlags: bus master, fast devsel, latency 0, IRQ 23, NUMA node 1, IOMMU group 7\n"),
      "    1  7\n");
  EXPECT_EQ(listed("\tNUMA node: x\n\tIOMMU group: -1\n\tFlags: NUMA node\n"), "\n");
}

}  // namespace
}  // namespace e2e
