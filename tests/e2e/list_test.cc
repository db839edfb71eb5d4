// The list of functions: as ever on recorded hosts, and held against lspci.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "e2e/inventory_hosts.h"
#include "support/lspci.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

// All that does not depend on the machine's pci.ids.
constexpr const char* kColumns =
    "address,ids,subsystem,code,class,rev,kind,parent,path,buses,physfn,slot,empty,link,maxlink,"
    "below";

class ListOfHost : public testing::TestWithParam<std::string> {
 protected:
  const InventoryHost host_{GetParam()};
};

std::string NameOfTest(const testing::TestParamInfo<std::string>& test) {
  return std::regex_replace(test.param, std::regex("-"), "_");
}

TEST_P(ListOfHost, IsAsEver) {
  ExpectGolden(GetParam() + ".list.golden", host_.OfSysfs({"list", "-o", kColumns}));
}

// Ids, classes and revisions, names, parents and slots.
TEST_P(ListOfHost, SaysWhatLspciSays) {
  const auto expected = lspci::Functions(lspci::OfSysfs(host_.bus()));
  const Json list = Json::parse(host_.OfSysfs({"list", "-o", "json"}));
  ASSERT_EQ(list["functions"].size(), expected.size());
  const auto hex = [](unsigned number) {
    char text[8];
    std::snprintf(text, sizeof text, "%04x", number);
    return std::string(text);
  };
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const lspci::Function& wanted = expected[i];
    const Json& function = list["functions"][i];
    SCOPED_TRACE(wanted.address);
    EXPECT_EQ(function["address"], wanted.address);
    EXPECT_EQ(function["ids"], hex(wanted.vendor) + ':' + hex(wanted.device));
    EXPECT_EQ(function["code"], hex(wanted.class_code));
    EXPECT_EQ(function["rev"], hex(wanted.revision).substr(2));
    EXPECT_EQ(function["vendor"], wanted.vendor_name);
    EXPECT_EQ(function["device"], wanted.device_name);
    EXPECT_EQ(function["parent"], wanted.parent.empty() ? Json() : Json(wanted.parent));
    EXPECT_EQ(function["slot"], wanted.slot_label.empty() ? Json() : Json(wanted.slot_label));
  }
}

INSTANTIATE_TEST_SUITE_P(Hosts, ListOfHost, testing::ValuesIn(InventoryHostNames()), NameOfTest);

// A copy of a host of which the kernel has told drivers, NUMA nodes and IOMMU groups.
class BoundHost : public testing::Test {
 protected:
  BoundHost() {
    Tell("0000:30:02.0", "pcieport", "0", "41");
    Tell("0000:31:00.0", "mlx5_core", "0", "42");
    Tell("0000:98:00.1", "vfio-pci", "1", "43");
    fs::create_directories(FolderOf("0000:31:00.0") / "net/ens1f0np0");
  }

  fs::path FolderOf(const std::string& address) const {
    return fs::canonical(fs::path(host_.bus()) / "devices" / address);
  }

  void Tell(const std::string& address, const std::string& driver, const std::string& node,
            const std::string& group) {
    const fs::path folder = FolderOf(address);
    // lspci follows the links, which are relative as the kernel's are.
    const fs::path driver_folder = fs::canonical(host_.bus()) / "drivers" / driver;
    const fs::path group_folder = fs::canonical(host_.bus()) / "iommu_groups" / group;
    fs::create_directories(driver_folder);
    fs::create_directories(group_folder);
    fs::create_directory_symlink(fs::relative(driver_folder, folder), folder / "driver");
    fs::create_directory_symlink(fs::relative(group_folder, folder), folder / "iommu_group");
    std::ofstream(folder / "numa_node") << node << '\n';
  }

  InventoryHost host_{"virtual-functions"};
};

// By address, what stands behind `label` in the function's lines.
std::map<std::string, std::string> LspciLines(const std::string& bus, const std::string& label) {
  std::map<std::string, std::string> values;
  std::string address;
  for (const std::string& line : Lines(OutputOf("lspci -D -vvk " + lspci::OfSysfs(bus)))) {
    if (!line.empty() && line[0] != '\t') address = line.substr(0, line.find(' '));
    if (line.starts_with("\t" + label)) values[address] = line.substr(1 + label.size());
  }
  return values;
}

std::map<std::string, std::string> Listed(const std::string& list, const std::string& member) {
  std::map<std::string, std::string> values;
  const Json json = Json::parse(list);
  for (const Json& function : json["functions"]) {
    const Json& value = function[member];
    if (value.is_string()) values[function["address"]] = value;
    if (value.is_number()) values[function["address"]] = value.dump();
  }
  return values;
}

TEST_F(BoundHost, IsListedWithDriversNodesAndGroupsAsLspciHasThem) {
  const std::string list = host_.OfSysfs({"list", "-o", "json"});
  EXPECT_EQ(Listed(list, "driver"), LspciLines(host_.bus(), "Kernel driver in use: "));
  EXPECT_EQ(Listed(list, "driver").size(), 3U);
  EXPECT_EQ(Listed(list, "numa"), LspciLines(host_.bus(), "NUMA node: "));
  EXPECT_EQ(Listed(list, "iommu"), LspciLines(host_.bus(), "IOMMU group: "));
}

TEST_F(BoundHost, IsListedWithTheSystemsDevices) {
  EXPECT_THAT(Lines(host_.OfSysfs({"-o", "address,driver,dev,numa", "--noheadings"})),
              testing::Contains("0000:31:00.0  mlx5_core  ens1f0np0  0"));
}

TEST(List, IsWhatIsShownWithoutACommand) {
  EXPECT_EQ(RunOnRecord({}).out, RunOnRecord({"list"}).out);
  EXPECT_EQ(RunOnRecord({"-o", "ids"}).out, RunOnRecord({"list", "-o", "ids"}).out);
  EXPECT_EQ(RunTool({"--unknown"}).status, 2);
}

TEST(List, LeavesOutColumnsWithoutAnyValue) {
  const std::string titles = Lines(RunOnRecord({"list"}).out).at(0);
  EXPECT_THAT(titles, HasSubstr("ADDRESS       IDS        CLASS"));
  EXPECT_THAT(titles, HasSubstr("SLOT  LINK"));
  EXPECT_THAT(titles, Not(HasSubstr("DRIVER")));
  EXPECT_EQ(Lines(RunOnRecord({"list", "-o", "driver,address"}).out).at(0), "DRIVER  ADDRESS");
}

TEST(List, TakesColumnsByAnyOfTheirSpellings) {
  const Words wanted = {"list", "-o", "ADDRESS,ids"};
  EXPECT_EQ(RunOnRecord({"list", "-o", "address", "-o", "IDS"}).out, RunOnRecord(wanted).out);
  const std::string more = RunOnRecord({"list", "-o", "+rev"}).out;
  EXPECT_THAT(Lines(more).at(0), HasSubstr("BELOW  REV"));
  const Json chosen = Json::parse(RunOnRecord({"list", "-o", "json,rev"}).out);
  EXPECT_EQ(chosen["system"], "recorded");
  EXPECT_EQ(chosen["functions"][0].dump(), "{\"rev\":\"00\"}");
}

TEST(List, NamesTheColumnThatWasMeant) {
  const Outcome run = RunOnRecord({"list", "-o", "drivr"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "ostrel-pci: there is no column \"drivr\"; did you mean DRIVER?\n");
}

TEST(List, CutsTheVendorFirstAndNothingThatIdentifies) {
  const std::string full = RunOnRecord({"list"}).out;
  const auto lines = Lines(RunOnRecord({"list"}, {.terminal = 90}).out);
  for (const std::string& line : lines) {
    if (!line.starts_with("0000:07:00.0")) continue;
    EXPECT_THAT(line, HasSubstr("1b36:0010"));
    EXPECT_THAT(line, Not(HasSubstr("Red Hat")));
    EXPECT_THAT(line, HasSubstr("QEMU NVM"));
    EXPECT_THAT(line, HasSubstr("31    2.5 GT/s x1"));
  }
  EXPECT_EQ(lines.size(), Lines(full).size());
}

TEST(List, OfThisHostIsAsManyLinesAsLspciHas) {
  const auto expected = Lines(OutputOf("lspci"));
  const Outcome run = RunTool({"list", "--noheadings"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Lines(run.out).size(), expected.size());
}

// Whoever may not read all of configuration space is told once, and sees the rest.
TEST(List, IsForEverybody) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become nobody";
  const Outcome root = RunTool({"list", "-o", "address,ids,class,driver"});
  const Outcome nobody =
      RunTool({"list", "-o", "address,ids,class,driver"}, {.unprivileged = true});
  EXPECT_EQ(nobody.status, 0);
  EXPECT_EQ(nobody.out, root.out);
}

TEST(List, TellsOfFunctionsThatCannotBeRead) {
  std::string text = ReadFile(RECORDED_DUMP);
  const std::size_t bytes = text.find("\n20: ", text.find("\n07:00.0 "));
  text.erase(bytes + 20, 30);
  TempFolder folder;
  std::ofstream(folder.Path("dump")) << text;
  const Outcome run = RunTool({"list", "--dump", folder.Path("dump")});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(Lines(run.out).size(), 31U);
  EXPECT_THAT(run.err, testing::StartsWith(
                           "ostrel-pci: 1 of 31 PCI functions could not be read\nostrel-pci: "));
  EXPECT_THAT(run.err, HasSubstr("is left out: "));
  const Outcome none = RunTool({"list", "--dump", "/dev/null"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_THAT(none.err, testing::StartsWith("ostrel-pci: the host could not be read: "));
}

TEST(List, TellsOnceWhatARecordWithoutRootLacks) {
  std::ostringstream cut;
  for (const std::string& line : Lines(ReadFile(RECORDED_DUMP))) {
    const bool beyond = std::regex_search(line, std::regex("^([4-9a-f]0|[0-9a-f]{3}): "));
    if (!beyond) cut << line << '\n';
  }
  TempFolder folder;
  std::ofstream(folder.Path("dump")) << cut.str();
  const Outcome run = RunTool({"list", "--dump", folder.Path("dump")});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Lines(run.out).size(), 32U);
  EXPECT_THAT(run.err, HasSubstr("of 31 functions are shown without their capabilities"));
  EXPECT_EQ(Lines(run.err).size(), 1U);
}

}  // namespace
}  // namespace e2e
