#include "e2e/inventory_hosts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/compact_host.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

std::string Output(const Words& words, int status) {
  const Outcome run = RunTool(words);
  EXPECT_EQ(run.status, status) << run.err;
  EXPECT_EQ(run.err, "");
  return run.out;
}

}  // namespace

InventoryHost::InventoryHost(const std::string& name) {
  const fs::path recorded = GOLDEN_FOLDER;
  if (!fs::exists(recorded / (name + ".host"))) {
    dump_ = recorded / (name + ".lspci");
    bus_ = fs::path(UNPACKED_HOSTS) / name / "bus/pci";
    return;
  }
  const auto host = compact_host::Host::ReadFile(recorded / (name + ".host"));
  dump_ = folder_.Path("dump");
  std::ofstream(dump_) << host.Dump();
  fs::create_directory(folder_.path() / "sysfs");
  host.WriteSysfs(folder_.path() / "sysfs");
  bus_ = folder_.path() / "sysfs/bus/pci";
}

std::string InventoryHost::OfDump(Words words, int status) const {
  return Output(Joined(std::move(words), {"--dump", dump_}), status);
}

std::string InventoryHost::OfSysfs(Words words, int status) const {
  return Output(Joined(std::move(words), {"--sysfs", bus_}), status);
}

const std::vector<std::string>& InventoryHostNames() {
  static const std::vector<std::string> kNames = {
      "cxl",   "guest-sriov", "guest-switches", "nehalem",           "odd-functions",
      "slots", "thunderbolt", "twelve-domains", "virtual-functions", "vmd"};
  return kNames;
}

void ExpectGolden(const std::string& file, const std::string& text) {
  const std::string path = std::string(GOLDEN_FOLDER "/") + file;
  if (std::getenv("OSTREL_WRITE_GOLDEN") != nullptr) std::ofstream(path) << text;
  EXPECT_EQ(text, ReadFile(path)) << file;
}

Words Joined(Words first, const Words& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace e2e
