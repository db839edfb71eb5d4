// sysfs trees of all kinds: what is read, what is left out, and that what is no tree ends in a
// clear error.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdarg.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "pci/error.h"
#include "pci/hosts.h"

namespace {

// Called before a link is read: with each function's that is the first thing.
std::function<void(const std::string& name)> before_reading_link;

}  // namespace

// Stands in front of the C library's.
extern "C" ssize_t readlinkat(int folder, const char* name, char* buffer, std::size_t size) {
  if (before_reading_link) before_reading_link(name);
  return syscall(SYS_readlinkat, folder, name, buffer, size);
}

namespace pci_test {
namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kAttributes[] = {"vendor",   "device",           "class",
                                       "revision", "subsystem_vendor", "subsystem_device"};

class Sysfs : public ::testing::Test {
 protected:
  pci::Host Read() const {
    pci::Host host = ReadSysfs(tree_.pci());
    EXPECT_EQ(Complaints(host), "");
    return host;
  }

  static std::string ErrorOf(const std::string& path) {
    try {
      ReadSysfs(path);
    } catch (const pci::Error& error) {
      return error.what();
    }
    ADD_FAILURE() << path << " was accepted";
    return "";
  }
  std::string Error() const { return ErrorOf(tree_.pci()); }

  std::string Parent(const std::string& address) const { return ParentOf(Read(), address); }

  void RemoveAttributes(const std::string& address) const {
    for (const char* name : kAttributes) fs::remove(tree_.FileOf(address, name));
  }
  void Replace(const std::string& address, const std::string& name,
               const std::string& content) const {
    fs::remove_all(tree_.FileOf(address, name));
    tree_.Write("bus/pci/devices/" + address + "/" + name, content);
  }

  const WrittenTree tree_;
};

// ---------------------------------------------------------------------------------------------
// Which folder

TEST_F(Sysfs, TakesEveryFolderThatAPersonMayName) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  tree_.AddSlot("7", "0000:00:01\n");
  for (const char* path : {"", "bus/pci", "bus/pci/", "bus/pci/devices", "bus/pci/devices///"}) {
    const pci::Host host = ReadSysfs(tree_.Path(path));
    EXPECT_THAT(host.functions(), SizeIs(1)) << path;
    EXPECT_THAT(host.slots(), SizeIs(1)) << path;
    EXPECT_FALSE(host.from_running_kernel());
  }
  fs::create_directory_symlink(tree_.Path("bus/pci/devices"), tree_.Path("linked"));
  EXPECT_THAT(ReadSysfs(tree_.Path("linked")).slots(), SizeIs(1));
}

TEST_F(Sysfs, TakesTheRunningKernelsFolders) {
  std::error_code error;
  if (!fs::is_directory("/sys/bus/pci/devices", error)) GTEST_SKIP() << "no PCI bus here";
  const std::vector<std::string> whole = DescribeAll(ReadSysfs("/sys"));
  EXPECT_TRUE(ReadSysfs("/sys").from_running_kernel());
  EXPECT_EQ(DescribeAll(ReadSysfs("/sys/bus/pci")), whole);
  if (!whole.empty()) {
    EXPECT_EQ(DescribeAll(ReadSysfs("/sys/bus/pci/devices")), whole);
  }
}

TEST_F(Sysfs, SaysWhatAFolderMustHold) {
  const TempFolder other;
  EXPECT_EQ(ErrorOf(other.Path("none")),
            "Cannot open " + other.Path("none") + ": No such file or directory");
  fs::create_directory(other.Path("empty"));
  EXPECT_EQ(ErrorOf(other.Path("empty/")), other.Path("empty") + " must hold devices/");
  other.Write("file", "x");
  EXPECT_EQ(ErrorOf(other.Path("file")), "Cannot open " + other.Path("file") + ": Not a directory");
  other.Write("function/config", "x");
  fs::create_directory(other.Path("function/0000:01:00.0"));
  EXPECT_EQ(ErrorOf(other.Path("function")), other.Path("function") + " must hold devices/");
}

TEST_F(Sysfs, ACopyWithoutFunctionsIsAnError) {
  EXPECT_EQ(Error(), "no PCI function is in " + tree_.pci() + "/devices");
}

TEST_F(Sysfs, AnythingButFunctionsIsLeftOutAndTold) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (const char* name : {"1-1:1.0", "0000:00:20.0", "0000:00:00.8", "00000:00:00.0",
                           "80000000:00:00.0", "0000:00:0A.0"}) {
    tree_.Link(name, "nowhere");
    const pci::Host host = Read();
    EXPECT_THAT(host.functions(), SizeIs(1));
    EXPECT_THAT(TroublesOf(host),
                ElementsAre(tree_.pci() + "/devices/" + name + ": no PCI address"));
    fs::remove(tree_.Path("bus/pci/devices/") + name);
  }
  tree_.Link(".hidden", "nowhere");
  EXPECT_THAT(TroublesOf(Read()), IsEmpty());
}

TEST_F(Sysfs, AFolderOfSomethingElseIsAnError) {
  tree_.Link("1-1:1.0", "nowhere");
  EXPECT_EQ(Error(), tree_.pci() + "/devices/1-1:1.0: no PCI address");
}

// A copy of /sys/bus/pci alone.
TEST_F(Sysfs, LinksThatWereCopiedAloneAreNamedWithTheCommandThatCopiesAll) {
  tree_.Link("0000:00:00.0", "../../../devices/pci0000:00/0000:00:00.0");
  tree_.Link("0000:00:01.0", "../../../devices/pci0000:00/0000:00:01.0");
  EXPECT_THAT(Error(), AllOf(HasSubstr("The links in " + tree_.pci() + "/devices lead nowhere"),
                             HasSubstr("cd /sys && cp -a --parents bus/pci/devices")));
}

TEST_F(Sysfs, ALinkThatLeadsNowhereCostsItsFunction) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  tree_.Link("0000:00:02.0", "../../../devices/gone");
  tree_.Link("0000:00:03.0", "0000:00:03.0");
  const std::string link = "The link " + tree_.pci() + "/devices/";
  EXPECT_THAT(
      TroublesOf(Read()),
      ElementsAre("0000:00:02.0: " + link + "0000:00:02.0 leads nowhere: No such file or directory",
                  "0000:00:03.0: " + link +
                      "0000:00:03.0 leads nowhere: Too many levels of symbolic links"));
}

// ---------------------------------------------------------------------------------------------
// Parents

TEST_F(Sysfs, TheKernelsPlaceOfAFunctionBeatsBusNumbers) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 9));
  tree_.Add("pci0000:00", Endpoint("0000:00:02.0").Bridge(5, 5));
  tree_.Add("pci0000:00/0000:00:01.0", Endpoint("0000:05:00.0"));
  EXPECT_EQ(Parent("0000:05:00.0"), "0000:00:01.0");
}

TEST_F(Sysfs, AFunctionOfARootBusHasNoParent) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 255));
  tree_.Add("pci0000:80", Endpoint("0000:80:01.0"));
  tree_.Add("pci0000:00/0000:00:01.0/pci10000:e0", Endpoint("10000:e0:06.0"));
  EXPECT_EQ(Parent("0000:80:01.0"), "none");
  EXPECT_EQ(Parent("10000:e0:06.0"), "none");
}

TEST_F(Sysfs, BusNumbersTellWhereTheKernelsLinksAreMissing) {
  const TempFolder folder;
  WriteSysfsFunction(folder, "devices/0000:00:01.0", Endpoint("0000:00:01.0").Bridge(1, 1));
  WriteSysfsFunction(folder, "devices/0000:01:00.0", Endpoint("0000:01:00.0"));
  EXPECT_EQ(ParentOf(ReadSysfs(folder.Path("")), "0000:01:00.0"), "0000:00:01.0");
}

TEST_F(Sysfs, LinksThatNestInACircleMakeNoCycle) {
  tree_.Add("pci0000:00/0000:02:00.0", Endpoint("0000:01:00.0"));
  tree_.Add("pci0000:00/0000:01:00.0", Endpoint("0000:02:00.0"));
  EXPECT_EQ(Parent("0000:01:00.0"), "none");
  EXPECT_EQ(Parent("0000:02:00.0"), "0000:01:00.0");
}

TEST_F(Sysfs, AParentIsOnALowerBusOfTheSameDomain) {
  tree_.Add("pci0000:00", Endpoint("0000:01:00.0"));
  tree_.Add("pci0000:00/0000:01:00.0", Endpoint("0000:01:01.0"));
  tree_.Add("pci0000:00/0000:01:00.0", Endpoint("0001:02:00.0"));
  EXPECT_EQ(Parent("0000:01:01.0"), "none");
  EXPECT_EQ(Parent("0001:02:00.0"), "none");
}

TEST_F(Sysfs, AParentThatIsNotListedIsNone) {
  tree_.Add("pci0000:00/0000:00:01.0", Endpoint("0000:01:00.0"));
  EXPECT_EQ(Parent("0000:01:00.0"), "none");
}

TEST_F(Sysfs, FunctionsStandInTheOrderOfWholeDomains) {
  for (const char* address : {"10000:00:00.0", "0001:00:00.0", "ffff:00:00.0", "0000:ff:1f.7"}) {
    tree_.Add("pci0000:00", Endpoint(address));
  }
  std::vector<std::string> addresses;
  const pci::Host host = Read();
  for (const pci::Function& function : host.functions()) {
    addresses.push_back(FormatAddress(function.address));
  }
  EXPECT_THAT(addresses,
              ElementsAre("0000:ff:1f.7", "0001:00:00.0", "ffff:00:00.0", "10000:00:00.0"));
}

// ---------------------------------------------------------------------------------------------
// Ids and class

// What the kernel has corrected, by whichever of its files.
TEST_F(Sysfs, TheKernelsWordsBeatConfigurationSpace) {
  const char* address = "0000:00:01.0";
  const auto read = [&] {
    const pci::Host host = Read();
    const pci::Function& function = At(host, address);
    return std::tuple(function.ids.vendor, function.ids.device, function.ids.subsystem_vendor,
                      function.ids.subsystem, function.class_code, function.programming_interface);
  };
  const auto expected = std::tuple(0x1af4, 0x1041, 0x1af5, 0x1042, 0x0108, 0x02);

  tree_.Add("pci0000:00", Endpoint(address));
  Replace(address, "modalias", "pci:v00001AF4d00001041sv00001AF5sd00001042bc01sc08i02\n");
  EXPECT_EQ(read(), expected);
  RemoveAttributes(address);
  EXPECT_EQ(read(), expected) << "and needs no other file";

  fs::remove(tree_.FileOf(address, "modalias"));
  Replace(address, "uevent",
          "OF_NAME=pci\nDRIVER=nvme\nPCI_CLASS=10802\nPCI_ID=1AF4:1041\nPCI_SUBSYS_ID=1AF5:1042\n"
          "PCI_SLOT_NAME=0000:00:01.0\nMODALIAS=pci:x\n");
  EXPECT_EQ(read(), expected);

  fs::remove(tree_.FileOf(address, "uevent"));
  Replace(address, "vendor", "0x1af4\n");
  Replace(address, "device", "0x1041\n");
  Replace(address, "class", "0x010802\n");
  Replace(address, "config", Endpoint(address).Set(0x2c, {0xf5, 0x1a, 0x42, 0x10}).Config());
  EXPECT_EQ(read(), expected);
}

// Made by tar: files are as long as the kernel says that they are, with zeros behind their text.
TEST_F(Sysfs, TextMayBePaddedWithZeros) {
  const auto padded = [](std::string text) {
    text.resize(4096);
    return text;
  };
  for (const char* address : {"0000:00:01.0", "0000:00:02.0", "0000:00:03.0"}) {
    tree_.Add("pci0000:00", Endpoint(address));
  }
  Replace("0000:00:01.0", "modalias",
          padded("pci:v00001AF4d00001041sv00001AF5sd00001042bc01sc08i02\n"));
  Replace("0000:00:02.0", "uevent",
          padded("PCI_CLASS=10802\nPCI_ID=1AF4:1041\nPCI_SUBSYS_ID=1AF5:1042\n"));
  for (const char* name : kAttributes) Replace("0000:00:03.0", name, padded("0x10\n"));
  tree_.AddSlot("4", padded("0000:00:01\n"));
  const pci::Host host = Read();
  EXPECT_EQ(At(host, "0000:00:01.0").ids.device, 0x1041);
  EXPECT_EQ(At(host, "0000:00:02.0").ids.device, 0x1041);
  EXPECT_EQ(At(host, "0000:00:03.0").ids.device, 0x10);
  EXPECT_EQ(At(host, "0000:00:01.0").slot, 0u);
}

TEST_F(Sysfs, EveryFunctionMayHaveOtherFiles) {
  const char* addresses[] = {"0000:00:01.0", "0000:00:02.0", "0000:00:03.0", "0000:00:04.0"};
  for (const char* address : addresses) tree_.Add("pci0000:00", Endpoint(address));
  for (const char* address : {"0000:00:02.0", "0000:00:04.0"}) {
    RemoveAttributes(address);
    Replace(address, "modalias", Endpoint(address).Modalias());
  }
  const pci::Host host = Read();
  EXPECT_THAT(host.functions(), SizeIs(4));
  for (const char* address : addresses) EXPECT_EQ(At(host, address).ids.device, 0x1234);
}

TEST_F(Sysfs, WordsThatMakeNoSenseAreNone) {
  const char* address = "0000:00:01.0";
  tree_.Add("pci0000:00", Endpoint(address));
  for (const char* text : {"", "pci:", "virtio:d00000001v00001AF4",
                           "pci:v00001AF4d00001041sv00001AF5sd00001042bc01sc08i0",
                           "pci:v00011AF4d00001041sv00001AF5sd00001042bc01sc08i02",
                           "pci:v0000xAF4d00001041sv00001AF5sd00001042bc01sc08i02"}) {
    Replace(address, "modalias", text);
    EXPECT_EQ(At(Read(), address).ids.device, 0x1234) << text;
  }
  fs::remove(tree_.FileOf(address, "modalias"));
  for (const char* text :
       {"", "PCI_ID=1AF4:1041\n", "PCI_CLASS=10802\nPCI_ID=1AF4\nPCI_SUBSYS_ID=1:1",
        "PCI_CLASS=\nPCI_ID=1AF4:1041\nPCI_SUBSYS_ID=1:1",
        "PCI_CLASS=1000000\nPCI_ID=1AF4:1041\nPCI_SUBSYS_ID=1:1"}) {
    Replace(address, "uevent", text);
    EXPECT_EQ(At(Read(), address).ids.device, 0x1234) << text;
  }
}

TEST_F(Sysfs, AVirtualFunctionHasTheKernelsIdsAndItsPhysicalFunction) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0").Express(0));
  for (const char* address : {"0000:00:01.1", "0000:00:01.2"}) {
    tree_.Add("pci0000:00", Function(address).Ids(0xffff, 0xffff).Express(0).Set(8, {2, 2, 8, 1}));
    Replace(address, "modalias", "pci:v00001B36d00000010sv00001AF4sd00001100bc01sc08i02\n");
    fs::create_directory_symlink("../0000:00:01.0", tree_.FileOf(address, "physfn"));
  }
  fs::remove(tree_.FileOf("0000:00:01.2", "physfn"));
  const pci::Host host = Read();
  EXPECT_EQ(
      Describe(host, At(host, "0000:00:01.1")),
      "0000:00:01.1 id 1b36:0010 subsystem 1af4:1100 class 010802 rev 02 header 0 status 0010 "
      "buses 00-00 parent none physical 0000:00:01.0 port 0 link 0x0/0x0 speeds 00 slot none "
      "below none capabilities 10@40");
  EXPECT_EQ(At(host, "0000:00:01.2").physical_function, pci::kNone);
  EXPECT_EQ(host.DeviceName(At(host, "0000:00:01.1")), "QEMU NVM Express Controller");
}

// The kernel keeps what it read when the function was found; registers that did not answer are
// ones.
TEST_F(Sysfs, ASubsystemThatIsAllOnesIsNone) {
  const std::string address = "0000:00:01.0";
  tree_.Add("pci0000:00", Function(address).Gone());
  Replace(address, "modalias", "pci:v00001B36d00000010sv0000FFFFsd0000FFFFbc01sc08i02\n");
  const pci::Host host = Read();
  EXPECT_EQ(At(host, address).ids, (pci::Ids{0x1b36, 0x10, 0, 0}));
}

TEST_F(Sysfs, OfAFunctionThatHasGoneTheKernelStillTellsTheIds) {
  tree_.Add("pci0000:00", Function("0000:00:01.0").Gone());
  Replace("0000:00:01.0", "modalias", Endpoint("0000:00:01.0").Modalias());
  Replace("0000:00:01.0", "revision", "0x05\n");
  const pci::Host host = Read();
  EXPECT_EQ(host.functions().at(0).ids.device, 0x1234);
  EXPECT_EQ(host.functions().at(0).revision, 5);
  EXPECT_EQ(host.functions().at(0).status, 0);
  EXPECT_EQ(host.cut_off_functions(), 0u);
}

TEST_F(Sysfs, AnUnreadableConfigurationSpaceStillLeavesTheIds) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  Replace("0000:00:01.0", "revision", "0x05\n");
  Replace("0000:00:01.0", "subsystem_vendor", "0x1af4\n");
  Replace("0000:00:01.0", "subsystem_device", "0x1100\n");
  for (const std::string& config : {std::string(), std::string(63, '\1')}) {
    Replace("0000:00:01.0", "config", config);
    const pci::Host host = Read();
    EXPECT_EQ(Describe(host, host.functions().at(0)),
              "0000:00:01.0 id 8086:1234 subsystem 1af4:1100 class 000000 rev 05 header 0 status "
              "0000 buses 00-00 parent none physical none port -1 link 0x0/0x0 speeds 00 slot none "
              "below none capabilities cut off");
  }
  fs::remove(tree_.FileOf("0000:00:01.0", "config"));
  EXPECT_EQ(Read().cut_off_functions(), 1u);
  RemoveAttributes("0000:00:01.0");
  Replace("0000:00:01.0", "modalias", "pci:v00001AF4d00001041sv00001AF5sd00001042bc01sc08i02\n");
  EXPECT_EQ(Read().functions().at(0).ids, (pci::Ids{0x1af4, 0x1041, 0x1af5, 0x1042}));
}

TEST_F(Sysfs, OptionalAttributesMayBeMissing) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0").Set(8, {5}).Set(0x2c, {0xf4, 0x1a, 0x00, 0x11}));
  for (const char* name : {"revision", "subsystem_vendor", "subsystem_device"}) {
    fs::remove(tree_.FileOf("0000:00:01.0", name));
  }
  const pci::Host host = Read();
  EXPECT_EQ(host.functions().at(0).revision, 5);
  EXPECT_EQ(host.functions().at(0).ids.subsystem_vendor, 0x1af4);
}

// ---------------------------------------------------------------------------------------------
// Functions that are left out

TEST_F(Sysfs, AMissingAttributeCostsItsFunctionAlone) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (const char* name : {"vendor", "device", "class"}) {
    tree_.Add("pci0000:00", Endpoint("0000:00:02.0").Express(0));
    tree_.Add("pci0000:00", Endpoint("0000:00:03.0").Express(0));
    fs::remove(tree_.FileOf("0000:00:02.0", name));
    const pci::Host host = Read();
    EXPECT_THAT(TroublesOf(host),
                ElementsAre("0000:00:02.0: Cannot read " + tree_.FileOf("0000:00:02.0", name) +
                            ": No such file or directory"));
    EXPECT_THAT(host.functions(), SizeIs(2));
    EXPECT_THAT(CapabilitiesOf(host, At(host, "0000:00:03.0")), ElementsAre(0x10));
    for (const char* address : {"0000:00:02.0", "0000:00:03.0"}) {
      fs::remove_all(tree_.Path("devices/pci0000:00/") + address);
      fs::remove(tree_.Path("bus/pci/devices/") + address);
    }
  }
}

TEST_F(Sysfs, WhereEveryFunctionIsLeftOutTheFirstReasonIsTheError) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  tree_.Add("pci0000:00", Endpoint("0000:00:02.0"));
  fs::remove(tree_.FileOf("0000:00:01.0", "vendor"));
  fs::remove(tree_.FileOf("0000:00:02.0", "vendor"));
  EXPECT_EQ(Error(), "0000:00:01.0: Cannot read " + tree_.FileOf("0000:00:01.0", "vendor") +
                         ": No such file or directory");
}

TEST_F(Sysfs, GarbageIsAnAnswerOrALeftOutFunction) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (const char* name : {"vendor", "device", "class", "revision", "subsystem_vendor",
                           "subsystem_device", "config", "modalias", "uevent"}) {
    for (const std::string& garbage :
         {std::string(), std::string("garbage"), std::string("0xffffffffffffffffffff"),
          std::string("0x1000000"), std::string("-1"), std::string("0x"), std::string(3, '\0'),
          std::string(5000, '9')}) {
      tree_.Add("pci0000:00", Endpoint("0000:00:02.0"));
      Replace("0000:00:02.0", name, garbage);
      const pci::Host host = Read();
      EXPECT_EQ(host.functions().size() + host.troubles().size(), 2u);
      for (const std::string& trouble : TroublesOf(host)) EXPECT_THAT(trouble, HasSubstr(name));
      fs::remove_all(tree_.Path("devices/pci0000:00/0000:00:02.0"));
      fs::remove(tree_.Path("bus/pci/devices/0000:00:02.0"));
    }
  }
}

// The kernel takes the link away first, then the files.
TEST_F(Sysfs, AFunctionThatIsPulledOutWhileItIsReadWasNeverThere) {
  for (const char* address : {"0000:00:01.0", "0000:00:02.0", "0000:00:03.0"}) {
    tree_.Add("pci0000:00", Endpoint(address));
  }
  before_reading_link = [&](const std::string& name) {
    if (name == "0000:00:02.0") fs::remove(tree_.Path("bus/pci/devices/0000:00:02.0"));
  };
  const pci::Host host = Read();
  before_reading_link = nullptr;
  EXPECT_THAT(host.functions(), SizeIs(2));
  EXPECT_THAT(TroublesOf(host), IsEmpty());
}

TEST_F(Sysfs, OfVeryManyTroublesTheFirstAreTold) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (unsigned i = 0; i < 1500; ++i) tree_.Link("x" + std::to_string(i), "nowhere");
  const auto troubles = TroublesOf(Read());
  EXPECT_THAT(troubles, SizeIs(1001));
  EXPECT_EQ(troubles.back(), "More functions: too many to tell of each");
}

TEST_F(Sysfs, FailuresLeaveNothingOpen) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  tree_.Add("pci0000:00", Endpoint("0000:00:02.0"));
  fs::remove(tree_.FileOf("0000:00:02.0", "class"));
  const std::size_t open_before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) EXPECT_THAT(Read().troubles(), SizeIs(1));
  EXPECT_EQ(OpenDescriptors(), open_before);
}

// ---------------------------------------------------------------------------------------------
// Copies that somebody made in order to do harm

// What is no file of the kernel's is not opened, let alone read: it would wait for ever, or start a
// device.
TEST_F(Sysfs, WhatIsNoRegularFileCostsItsFunction) {
  for (const char* name : {"vendor", "device", "class", "config", "modalias", "uevent"}) {
    tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
    tree_.Add("pci0000:00", Endpoint("0000:00:02.0"));
    const std::string path = tree_.FileOf("0000:00:02.0", name);
    const auto expect_refused = [&] {
      EXPECT_THAT(TroublesOf(Read()),
                  ElementsAre("0000:00:02.0: Cannot read " + path + ": not a regular file"));
      fs::remove(path);
    };
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expect_refused();
    for (const char* target : {"/proc/kmsg", "/dev/zero", "../0000:00:01.0/vendor", "nowhere"}) {
      fs::create_symlink(target, path);
      expect_refused();
    }
    fs::create_directory(path);
    expect_refused();
    // As root: such a device answers nothing, for ever.
    if (mknod(path.c_str(), S_IFCHR | 0600, 0x0103) == 0) expect_refused();
    for (const char* address : {"0000:00:01.0", "0000:00:02.0"}) {
      fs::remove_all(tree_.Path("devices/pci0000:00/") + address);
      fs::remove(tree_.Path("bus/pci/devices/") + address);
    }
  }
}

TEST_F(Sysfs, AFunctionsFolderMayLeadAnywhereAndIsStillSafe) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  int slot = 2;
  for (const char* target : {"/proc/self", "/proc", "/dev", "/", "/proc/self/fd"}) {
    tree_.Link("0000:00:0" + std::to_string(slot++) + ".0", target);
  }
  const pci::Host host = Read();
  EXPECT_THAT(host.functions(), SizeIs(1));
  EXPECT_THAT(host.troubles(), SizeIs(5));
}

TEST_F(Sysfs, OfAnEndlessFileOnlyTheStartIsRead) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (const char* name : {"config", "modalias", "uevent"}) {
    tree_.Write(std::string("devices/pci0000:00/0000:00:01.0/") + name, "");
    fs::resize_file(tree_.FileOf("0000:00:01.0", name), std::uintmax_t{1} << 30);
  }
  EXPECT_THAT(Read().functions(), SizeIs(1));
}

// ---------------------------------------------------------------------------------------------
// Slots

TEST_F(Sysfs, FunctionsSitInTheSlotOfTheirDevice) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 1));
  tree_.Add("pci0000:00/0000:00:01.0", Endpoint("0000:01:00.0"));
  tree_.Add("pci0000:00/0000:00:01.0", Endpoint("0000:01:00.1"));
  tree_.Add("pci0000:00/0000:00:01.0", Endpoint("0000:01:01.0"));
  tree_.AddSlot("0-2", "0000:01:00\n");
  const pci::Host host = Read();
  ASSERT_THAT(host.slots(), SizeIs(1));
  EXPECT_EQ(host.slots()[0].name, "0-2");
  EXPECT_EQ(host.slots()[0].number, 0);
  EXPECT_EQ(At(host, "0000:01:00.0").slot, 0u);
  EXPECT_EQ(At(host, "0000:01:00.1").slot, 0u);
  EXPECT_EQ(At(host, "0000:01:01.0").slot, pci::kNone);
  EXPECT_EQ(At(host, "0000:00:01.0").slot, pci::kNone);
  EXPECT_EQ(At(host, "0000:00:01.0").slot_below, 0u);
}

TEST_F(Sysfs, SlotsThatNameNoDeviceHoldNothing) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 1));
  tree_.Add("pci0000:00/0000:00:01.0", Endpoint("0000:01:00.0"));
  tree_.AddSlot("2", "");
  tree_.AddSlot("3", "garbage\n");
  tree_.AddSlot("4", std::string(5000, 'x'));
  fs::create_directories(tree_.Path("bus/pci/slots/5/address"));
  fs::create_directories(tree_.Path("bus/pci/slots/6"));
  ASSERT_EQ(mkfifo(tree_.Path("bus/pci/slots/6/address").c_str(), 0600), 0);
  fs::create_directories(tree_.Path("bus/pci/slots/7"));
  fs::create_symlink("/proc/kmsg", tree_.Path("bus/pci/slots/7/address"));
  EXPECT_THAT(Read().slots(), IsEmpty());
  tree_.AddSlot("1", "0000:01\n");  // that gets its device when a card is put in
  const pci::Host host = Read();
  ASSERT_THAT(host.slots(), SizeIs(1));
  EXPECT_EQ(At(host, "0000:01:00.0").slot, pci::kNone);
  EXPECT_EQ(At(host, "0000:00:01.0").slot_below, 0u);
}

TEST_F(Sysfs, SlotsThatCannotBeListedAreTold) {
  tree_.Add("pci0000:00", Endpoint("0000:00:01.0"));
  tree_.Write("bus/pci/slots", "no folder");
  const pci::Host host = Read();
  EXPECT_EQ(host.slots_notice(), "Cannot open " + tree_.pci() + "/slots: Not a directory");
  EXPECT_THAT(host.troubles(), IsEmpty()) << "no function is missing";
}

}  // namespace
}  // namespace pci_test
