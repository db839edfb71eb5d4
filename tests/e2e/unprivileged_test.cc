// A host of which only the start of every configuration space can be read: every class answers all
// the same, and every run says once what is missing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "e2e/run_tool.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

using testing::EndsWith;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

// What the kernel shows to users other than root.
constexpr std::uintmax_t kShown = 64;

// The recorded host, copied by an ordinary user.
class Unprivileged : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "unprivileged-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    fs::copy(fs::path(RECORDED_SYSFS) / "../..", root_,
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    for (const auto& entry : fs::recursive_directory_iterator(root_ / "devices")) {
      if (entry.path().filename() == "config") fs::resize_file(entry.path(), kShown);
    }
  }
  void TearDown() override { fs::remove_all(root_); }

  Outcome Run(Words words) const {
    words.insert(words.end(), {"--sysfs", Source(), "--system-name", "recorded"});
    return RunTool(words);
  }

  std::string Source() const { return (root_ / "bus/pci").string(); }

  std::string Missing() const {
    return "ostrel-pci: " + Source() +
           ": 23 of 31 functions are shown without their capabilities: port types are unknown, "
           "switches taken for bridges; copy it as root\n";
  }

  // The keys DeviceID of a class.
  std::set<std::string> Ids(const std::string& cls) const {
    std::set<std::string> ids;
    for (const Json& instance : Json::parse(Run({"enumerate", cls, "-o", "json"}).out)) {
      ids.insert(instance["properties"]["DeviceID"]);
    }
    return ids;
  }

  fs::path root_;
};

TEST_F(Unprivileged, EveryClassAnswersAndEveryRunSaysOnceWhatIsMissing) {
  const Json classes = Json::parse(RunTool({"classes", "-o", "json"}).out);
  ASSERT_EQ(classes.size(), 10U);
  for (const Json& cls : classes) {
    const std::string name = cls["className"];
    const Outcome run = Run({"ein", name});
    EXPECT_EQ(run.status, 0) << name;
    EXPECT_EQ(run.err, Missing()) << name;
    // Connections are found from a port; they are not enumerated on any host.
    const bool none = name == "Ostrel_PCIeSwitch" || name == "Ostrel_PCIDeviceConnection";
    EXPECT_EQ(run.out.empty(), none) << name;
  }
}

TEST_F(Unprivileged, SwitchesAreBridgesAndDevicesAreAllThere) {
  const std::set<std::string> bridges = Ids("bridge");
  for (const char* port : {"0000:01:00.0", "0000:02:00.0", "0000:05:00.0", "0000:06:01.0"}) {
    EXPECT_TRUE(bridges.contains(port)) << port;
  }
  std::set<std::string> devices;
  for (const Json& device : Json::parse(RunOnRecord({"ei", "device", "-o", "json"}).out)) {
    devices.insert(device["properties"]["DeviceID"]);
  }
  EXPECT_EQ(Ids("device"), devices);
}

TEST_F(Unprivileged, TheTreeHasTheSameShape) {
  // Every line up to its address.
  const auto shape = [](const std::string& tree) {
    std::vector<std::string> addresses;
    for (const std::string& line : Lines(tree)) {
      addresses.push_back(line.substr(0, line.find_first_of(" [", line.find(':'))));
    }
    return addresses;
  };
  const Outcome run = Run({"tree"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, Missing());
  EXPECT_EQ(shape(run.out), shape(RunOnRecord({"tree"}).out));
}

TEST_F(Unprivileged, TheLineStandsOnceAmongVerboseOnes) {
  const std::string err = Run({"ei", "CIM_PCIDevice", "-v"}).err;
  const std::size_t first = err.find(Missing());
  ASSERT_NE(first, std::string::npos) << err;
  EXPECT_EQ(err.find("without their capabilities", first + Missing().size()), std::string::npos);
}

// The running host, of which nobody knows beforehand what there is to be seen.
TEST(RunningHost, TellsOfCapabilitiesThatTheKernelDoesNotShow) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
#ifdef OSTREL_COVERAGE
  GTEST_SKIP() << "another user cannot add to the line counts, and its processes say so";
#endif
  bool listed = false;  // a function has capabilities
  bool shown = true;    // the kernel shows them to this process, which it may not do in a container
  std::error_code none;
  for (const auto& entry : fs::directory_iterator("/sys/bus/pci/devices", none)) {
    const std::string config = ReadFile(entry.path() / "config");
    if (config.size() <= kShown) shown = false;
    if (config.size() >= kShown && (config[6] & 0x10) != 0) listed = true;
  }
  if (!listed) GTEST_SKIP() << "this machine has no function with capabilities";
  const Outcome nobody = RunTool({"ein", "device"}, {.unprivileged = true});
  if (nobody.status == 126) GTEST_SKIP() << "the build tree is closed to other users";
  EXPECT_EQ(nobody.status, 0);
  EXPECT_THAT(nobody.err, HasSubstr("ostrel-pci: /sys/bus/pci: "));
  EXPECT_THAT(nobody.err, EndsWith("run as root, with CAP_SYS_ADMIN\n"));
  EXPECT_EQ(Lines(nobody.err).size(), 1U);
  EXPECT_EQ(RunOnRecord({"ein", "device"}, {.unprivileged = true}).err, "");
  const Outcome root = RunTool({"ein", "device"});
  EXPECT_EQ(root.out, nobody.out);
  EXPECT_EQ(root.err, shown ? "" : nobody.err);
}

}  // namespace
}  // namespace e2e
