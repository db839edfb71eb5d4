// The example of a platform's own host control library (docs/examples), in the place of ours.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "e2e/run_tool.h"

namespace e2e {
namespace {

Outcome RunOnBoard(const Words& arguments) {
  return RunTool(arguments, {.environment = {{"LD_LIBRARY_PATH", BOARD_LIBRARY_FOLDER}}});
}

constexpr const char* kTree =
    "board-1\n"
    "└─ [0000:00]\n"
    "   └─ root [01-03]  PCI bridge: Board root port\n"
    "      └─ switch [02-03]  PCI Express switch, 2 ports: Board switch\n"
    "         ├─ switch-a [03]  Downstream port: Board switch, left\n"
    "         │  └─ disk (slot 7)  NVM controller: Board disk\n"
    "         └─ switch-b  Downstream port: Board switch, right\n"
    "5 functions\n";

TEST(OwnLibrary, IsAskedForTheHost) {
  const Outcome tree = RunOnBoard({"tree"});
  EXPECT_EQ(tree.status, 0) << tree.err;
  EXPECT_EQ(tree.out, kTree);
}

// Its codes are passed on as they are.
TEST(OwnLibrary, SaysWhatFunctionsAreCapableOf) {
  const Outcome disk = RunOnBoard({"get", "device.DeviceID=\"disk\"", "-o", "json"});
  const nlohmann::json properties = nlohmann::json::parse(disk.out).at(0).at("properties");
  EXPECT_EQ(properties.at("Capabilities"), nlohmann::json::array({13}));
  EXPECT_EQ(properties.at("SystemName"), "board-1");
}

// These options are for the library for Linux.
TEST(OwnLibrary, ReadsNoRecordsAndHasItsOwnName) {
  EXPECT_EQ(RunOnBoard({"tree", "--sysfs", RECORDED_SYSFS}).out, kTree);
  EXPECT_EQ(RunOnBoard({"tree", "--dump", RECORDED_DUMP, "--system-name", "recorded"}).out, kTree);
}

// They read the host themselves.
TEST(OwnLibrary, IsNotAskedByCommandsWithoutCim) {
  for (const char* command : {"list", "links"}) {
    const Words arguments = {command, "--dump", RECORDED_DUMP};
    EXPECT_EQ(RunOnBoard(arguments).out, RunTool(arguments).out) << command;
    EXPECT_NE(RunOnBoard(arguments).out, "") << command;
  }
}

}  // namespace
}  // namespace e2e
