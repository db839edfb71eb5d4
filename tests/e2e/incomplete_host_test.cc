// Hosts that cannot be read, or not as a whole: plain words first, then what the library logged;
// the rest is answered, and the exit status tells.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "e2e/run_tool.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class IncompleteHost : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "incomplete-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ / name, std::ios::binary) << content;
    return (folder_ / name).string();
  }

  // What a run says that cannot read its host.
  static std::string ErrorOf(Words source, const Setting& setting = {}) {
    source.insert(source.begin(), {"ein", "device"});
    const Outcome run = RunTool(source, setting);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    return run.err;
  }

  // The error in plain words and in the log's.
  static std::string Both(const std::string& error) {
    return "ostrel-pci: the host could not be read: " + error +
           "\nostrel-pci: PCI information caught exception, reporting may be incomplete, error " +
           error + "\n";
  }

  fs::path folder_;
};

TEST_F(IncompleteHost, OfAnEmptySourceIsAnError) {
  const std::string none = ": no PCI function in the dump, which lspci -x prints";
  EXPECT_EQ(ErrorOf({"--dump", "-"}, {.in_file = "/dev/null"}), Both("/dev/stdin" + none));
  const std::string empty = Write("empty", "");
  EXPECT_EQ(ErrorOf({"--dump", empty}), Both(empty + none));
  fs::create_directories(folder_ / "devices");
  EXPECT_EQ(ErrorOf({"--sysfs", folder_.string()}),
            Both("no PCI function is in " + folder_.string() + "/devices"));
}

// Not even a name without functions, nor an empty graph.
TEST_F(IncompleteHost, OfWhichNothingIsKnownIsNotDrawn) {
  for (const char* format : {"text", "json", "dot"}) {
    const Outcome run = RunTool({"tree", "-o", format, "--dump", "-"}, {.in_file = "/dev/null"});
    EXPECT_EQ(run.status, 1) << format;
    EXPECT_EQ(run.out, "") << format;
  }
}

TEST_F(IncompleteHost, IsToldForWhatItIs) {
  fs::create_directories(folder_ / "other");
  const std::string other = (folder_ / "other").string();
  EXPECT_EQ(ErrorOf({"--sysfs", other}), Both(other + " must hold devices/"));
  const std::string packed = Write("host.lspci.gz", "\x1f\x8b\x08");
  EXPECT_EQ(ErrorOf({"--dump", packed}),
            Both("Cannot read " + packed + ": it is compressed; \"gzip -dc\" unpacks it"));
  EXPECT_THAT(ErrorOf({"--dump", "/proc/kmsg"}), HasSubstr("no PCI function in the dump"));
}

TEST_F(IncompleteHost, IsServedWithoutTheFunctionThatIsDamaged) {
  const fs::path copy = folder_ / "copy";
  fs::copy(fs::path(RECORDED_SYSFS) / "../..", copy,
           fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  fs::remove(copy / "bus/pci/devices/0000:07:00.0/vendor");
  for (const std::string folder : {"", "bus/pci", "bus/pci/devices"}) {
    const Outcome run = RunTool({"ein", "device", "--sysfs", (copy / folder).string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(Lines(run.out), SizeIs(Lines(RunOnRecord({"ein", "device"}).out).size() - 1));
    EXPECT_THAT(run.err, StartsWith("ostrel-pci: 1 of 31 PCI functions could not be read\n"
                                    "ostrel-pci: 0000:07:00.0 is left out: Cannot read "));
    EXPECT_THAT(run.err, HasSubstr("/0000:07:00.0/vendor: No such file or directory\n"));
  }
}

TEST_F(IncompleteHost, IsServedWithoutTheFunctionWhoseLineIsCut) {
  std::string text = ReadFile(RECORDED_DUMP);
  const std::size_t line = text.find("\n07:00.0 ");
  const std::size_t bytes = text.find("\n20: ", line);
  text.erase(bytes + 20, 30);
  const std::string dump = Write("dump", text);
  const Outcome run = RunTool({"ein", "device", "--dump", dump});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(Lines(run.out), SizeIs(Lines(RunOnRecord({"ein", "device"}).out).size() - 1));
  EXPECT_THAT(run.err, StartsWith("ostrel-pci: 1 of 31 PCI functions could not be read\n"
                                  "ostrel-pci: " +
                                  dump + ", line "));
}

// The log's progress lines are not taken for complaints.
TEST_F(IncompleteHost, IsNoneInAVerboseRunOfAWholeHost) {
  EXPECT_EQ(RunOnRecord({"ein", "device", "-v"}).status, 0);
  EXPECT_EQ(RunOnRecord({"ein", "device"}).err, "");
}

TEST_F(IncompleteHost, IsSaidInPlainWordsInAVerboseRunToo) {
  const std::string empty = Write("empty", "");
  EXPECT_THAT(ErrorOf({"--dump", empty, "-v"}),
              HasSubstr("ostrel-pci: the host could not be read: "));
}

// Configuration space that is cut off hides capabilities, but no function.
TEST_F(IncompleteHost, IsNoneWhereCapabilitiesAloneAreMissing) {
  const std::string dump = Write("dump",
                                 "00:02.0 Ethernet controller: A card\n"
                                 "00: 86 80 34 12 00 00 10 00 00 00 00 02 00 00 00 00\n"
                                 "10: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                 "20: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                 "30: 00 00 00 00 40 00 00 00 00 00 00 00 00 00 00 00\n");
  const Outcome run = RunTool({"ein", "device", "--dump", dump});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.err, HasSubstr("are shown without their capabilities"));
}

// Of another platform's hardware nothing is known but what its library logs, and what this machine
// has says nothing about it.
TEST_F(IncompleteHost, OfAPlatformsOwnLibraryIsToldByItsLogAlone) {
  const Outcome run =
      RunTool({"ein", "device"}, {.environment = {{"LD_LIBRARY_PATH", SILENT_PLATFORM_FOLDER}}});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "ostrel-pci: PCI information caught exception, reporting may be incomplete, error the "
            "board does not answer\n");
}

}  // namespace
}  // namespace e2e
