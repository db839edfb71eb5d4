// A client that knows only the hosting system finds everything by walking associations.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "e2e/run_tool.h"

namespace e2e {
namespace {

using Paths = std::set<std::string>;

class Chain : public testing::TestWithParam<Words> {
 protected:
  Paths Ask(Words arguments) const {
    arguments.insert(arguments.end(), GetParam().begin(), GetParam().end());
    const Outcome run = RunTool(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    Paths paths;
    for (const std::string& line : Lines(run.out)) paths.insert(line);
    return paths;
  }

  static Paths OfClass(const Paths& paths, const std::string& class_name) {
    Paths found;
    for (const std::string& path : paths) {
      if (path.find(":" + class_name + ".") < path.find('"')) found.insert(path);
    }
    return found;
  }
};

TEST_P(Chain, ReachesEveryDeviceAndPortFromTheSystem) {
  const Paths reached = Ask({"ain", "system"});
  EXPECT_EQ(OfClass(reached, "Ostrel_PCIDevice"), Ask({"ein", "device"}));
  EXPECT_EQ(OfClass(reached, "Ostrel_PCIPort"), Ask({"ein", "port"}));
  EXPECT_EQ(OfClass(reached, "Ostrel_PCIPortGroup"), Ask({"ein", "portgroup"}));
}

TEST_P(Chain, ReachesEveryBridgeAndSwitchFromThePorts) {
  Paths controllers;
  for (const std::string& port : Ask({"ain", "system", "--result-class", "port"})) {
    controllers.merge(Ask({"ain", port, "--assoc-class", "ControlledBy"}));
  }
  EXPECT_EQ(OfClass(controllers, "Ostrel_PCIBridge"), Ask({"ein", "bridge"}));
  EXPECT_EQ(OfClass(controllers, "Ostrel_PCIeSwitch"), Ask({"ein", "switch"}));
}

TEST_P(Chain, ReachesEveryPortThroughThePortGroups) {
  Paths ports;
  for (const std::string& group : Ask({"ain", "system", "--assoc-class", "HostedCollection"})) {
    ports.merge(Ask({"ain", group, "--assoc-class", "MemberOfCollection"}));
  }
  EXPECT_EQ(ports, Ask({"ein", "port"}));
}

TEST_P(Chain, GetsEveryInstanceThatItNames) {
  for (const std::string& path : Ask({"ein", "CIM_PCIDevice"})) {
    EXPECT_EQ(Ask({"get", path, "--names"}), Paths{path});
  }
}

INSTANTIATE_TEST_SUITE_P(Dump, Chain, testing::Values(Words{"--dump", RECORDED_DUMP}));
INSTANTIATE_TEST_SUITE_P(Sysfs, Chain, testing::Values(Words{"--sysfs", RECORDED_SYSFS}));
INSTANTIATE_TEST_SUITE_P(Live, Chain, testing::Values(Words{}));

}  // namespace
}  // namespace e2e
