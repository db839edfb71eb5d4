// sysfs trees of all kinds: what is accepted, and that what is not ends in a clear exception.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>

#include "hostctl/expectations.h"
#include "hostctl/sources.h"

extern "C" {
#include <pci/pci.h>
}

namespace {

// Called before libpci opens a function, with its device number.
std::function<void(int device)> before_opening;

}  // namespace

// Stands in front of libpci's own, which it calls.
extern "C" HOSTCTL_API pci_dev* pci_get_dev(pci_access* access, int domain, int bus, int device,
                                            int function) {
  if (before_opening) before_opening(device);
  static const auto real =
      reinterpret_cast<decltype(&pci_get_dev)>(dlsym(RTLD_NEXT, "pci_get_dev"));
  return real(access, domain, bus, device, function);
}

namespace hostctl_test {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// A tree as the kernel lays it out: folders nested below devices/, links in bus/pci/devices.
class Sysfs : public ::testing::Test {
 protected:
  Sysfs() { fs::create_directories(folder_.Path("bus/pci/devices")); }

  // `upstream` is the folder that holds the function's, such as "pci0000:00/0000:00:01.0".
  void Add(const std::string& upstream, const Function& function) {
    const std::string place = "devices/" + upstream + "/" + function.address();
    WriteSysfsFunction(folder_, place, function);
    Link(function.address(), "../../../" + place);
  }

  void Link(const std::string& name, const std::string& target) {
    fs::create_symlink(target, folder_.Path("bus/pci/devices/" + name));
  }

  void AddSlot(const std::string& label, const std::string& address) {
    folder_.Write("bus/pci/slots/" + label + "/address", address);
  }

  std::string FileOf(const std::string& address, const std::string& name) {
    return folder_.Path("bus/pci/devices/" + address + "/" + name);
  }

  Devices Read() { return ReadSysfs(folder_.Path("bus/pci")); }

  std::string Error() {
    try {
      Read();
    } catch (const HostCtl::Lib::HostCtlException& error) {
      return error.message;
    }
    ADD_FAILURE() << "the tree was accepted";
    return "";
  }

  std::string ParentOf(const std::string& name) {
    const Devices devices = Read();
    ExpectSensible(devices);
    const auto* device = Find(devices, name);
    const auto parent = device ? device->GetParent() : nullptr;
    return parent ? parent->GetName() : "none";
  }

  const TempFolder folder_;
};

TEST_F(Sysfs, AMissingFolderIsNamed) {
  fs::remove_all(folder_.Path("bus/pci"));
  EXPECT_EQ(Error(),
            "Cannot open " + folder_.Path("bus/pci/devices") + ": No such file or directory");
}

TEST_F(Sysfs, AnEmptyFolderIsAHostWithoutFunctions) { EXPECT_THAT(Read(), IsEmpty()); }

TEST_F(Sysfs, AnythingButFunctionsIsRefused) {
  for (const char* name : {"1-1:1.0", "0000:00:20.0", "0000:00:00.8", "00000:00:00.0",
                           "80000000:00:00.0", "0000:00:0A.0"}) {
    Link(name, "nowhere");
    EXPECT_THAT(Error(), HasSubstr(std::string(name) + ", which is no PCI address"));
    fs::remove(folder_.Path("bus/pci/devices/") + name);
  }
}

TEST_F(Sysfs, TheKernelsPlaceOfAFunctionBeatsBusNumbers) {
  Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 9));
  Add("pci0000:00", Endpoint("0000:00:02.0").Bridge(5, 5));
  Add("pci0000:00/0000:00:01.0", Endpoint("0000:05:00.0"));
  EXPECT_EQ(ParentOf("0000:05:00.0"), "0000:00:01.0");
}

TEST_F(Sysfs, AFunctionOfARootBusHasNoParent) {
  Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 255));
  Add("pci0000:80", Endpoint("0000:80:01.0"));
  Add("pci0000:00/0000:00:01.0/pci10000:e0", Endpoint("10000:e0:06.0"));
  EXPECT_EQ(ParentOf("0000:80:01.0"), "none");
  EXPECT_EQ(ParentOf("10000:e0:06.0"), "none");
}

TEST_F(Sysfs, BusNumbersTellWhereTheKernelsLinksAreMissing) {
  WriteSysfsFunction(folder_, "bus/pci/devices/0000:00:01.0",
                     Endpoint("0000:00:01.0").Bridge(1, 1));
  WriteSysfsFunction(folder_, "bus/pci/devices/0000:01:00.0", Endpoint("0000:01:00.0"));
  EXPECT_EQ(ParentOf("0000:01:00.0"), "0000:00:01.0");
}

TEST_F(Sysfs, LinksThatNestInACircleMakeNoCycle) {
  Add("pci0000:00/0000:02:00.0", Endpoint("0000:01:00.0"));
  Add("pci0000:00/0000:01:00.0", Endpoint("0000:02:00.0"));
  EXPECT_EQ(ParentOf("0000:01:00.0"), "none");
  EXPECT_EQ(ParentOf("0000:02:00.0"), "0000:01:00.0");
}

TEST_F(Sysfs, AParentThatIsNotListedIsNone) {
  Add("pci0000:00/0000:00:01.0", Endpoint("0000:01:00.0"));
  EXPECT_EQ(ParentOf("0000:01:00.0"), "none");
}

TEST_F(Sysfs, AnUnreadableConfigurationSpaceStillLeavesTheIds) {
  Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (const std::string& config : {std::string(), std::string(63, '\1')}) {
    folder_.Write("bus/pci/devices/0000:00:01.0/config", config);
    const Devices devices = Read();
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0]->GetDeviceId(), 0x1234);
    EXPECT_THAT(devices[0]->GetCapabilities(), IsEmpty());
  }
  fs::remove(FileOf("0000:00:01.0", "config"));
  EXPECT_EQ(Read().size(), 1u);
}

TEST_F(Sysfs, TheKernelsIdsBeatConfigurationSpace) {
  Add("pci0000:00", Endpoint("0000:00:01.0"));
  folder_.Write("bus/pci/devices/0000:00:01.0/class", "0x010802\n");
  EXPECT_EQ(Read()[0]->GetClassCode(), 0x0108);
}

TEST_F(Sysfs, AMissingAttributeIsNamedInLibpcisWords) {
  for (const char* name : {"vendor", "device", "class"}) {
    Add("pci0000:00", Endpoint("0000:00:01.0"));
    fs::remove(FileOf("0000:00:01.0", name));
    EXPECT_EQ(Error(),
              "Cannot open " + FileOf("0000:00:01.0", name) + ": No such file or directory");
    fs::remove_all(folder_.Path("bus/pci/devices/0000:00:01.0"));
  }
}

TEST_F(Sysfs, OptionalAttributesMayBeMissing) {
  Add("pci0000:00", Endpoint("0000:00:01.0").Set(8, {5}).Set(0x2c, {0xf4, 0x1a, 0x00, 0x11}));
  for (const char* name : {"revision", "subsystem_vendor", "subsystem_device"}) {
    fs::remove(FileOf("0000:00:01.0", name));
  }
  const Devices devices = Read();
  EXPECT_EQ(devices[0]->GetRevision(), 5);
  EXPECT_EQ(devices[0]->GetSubsystemVendorId(), 0x1af4);
}

TEST_F(Sysfs, GarbageInAttributesIsAnAnswerOrAnException) {
  Add("pci0000:00", Endpoint("0000:00:01.0"));
  for (const char* name : {"vendor", "device", "class", "revision", "subsystem_vendor",
                           "subsystem_device", "config"}) {
    for (const std::string& garbage :
         {std::string(), std::string("garbage"), std::string("0xffffffffffffffffffff"),
          std::string("-1"), std::string(3, '\0'), std::string(5000, '9')}) {
      folder_.Write("bus/pci/devices/0000:00:01.0/" + std::string(name), garbage);
      try {
        ExpectSensible(Read());
      } catch (const HostCtl::Lib::HostCtlException& error) {
        EXPECT_THAT(error.message, HasSubstr(name));
      }
    }
    folder_.Write("bus/pci/devices/0000:00:01.0/" + std::string(name), "0x1");
  }
}

TEST_F(Sysfs, SpecialFilesAreRefused) {
  for (const char* name : {"vendor", "subsystem_device", "config"}) {
    Add("pci0000:00", Endpoint("0000:00:01.0"));
    const std::string path = FileOf("0000:00:01.0", name);
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(Error(), "Cannot read " + path + ": not a regular file");
    fs::remove(path);
    fs::create_symlink("/dev/zero", path);
    EXPECT_EQ(Error(), "Cannot read " + path + ": not a regular file");
    fs::remove(path);
    fs::remove_all(folder_.Path("bus/pci/devices/0000:00:01.0"));
  }
}

TEST_F(Sysfs, LinksThatLeadNowhereAreNamed) {
  Link("0000:00:01.0", "0000:00:01.0");
  EXPECT_THAT(Error(), HasSubstr("0000:00:01.0/vendor: Too many levels of symbolic links"));
  fs::remove(folder_.Path("bus/pci/devices/0000:00:01.0"));
  Link("0000:00:01.0", "../../../devices/gone");
  EXPECT_THAT(Error(), HasSubstr("0000:00:01.0/vendor: No such file or directory"));
}

// The kernel takes the link away first, then the files.
TEST_F(Sysfs, AFunctionThatIsPulledOutWhileItIsReadIsLeftOut) {
  for (const char* address : {"0000:00:01.0", "0000:00:02.0", "0000:00:03.0"}) {
    Add("pci0000:00", Endpoint(address));
  }
  before_opening = [&](int device) {
    if (device == 2) fs::remove(folder_.Path("bus/pci/devices/0000:00:02.0"));
  };
  const Devices devices = Read();
  before_opening = nullptr;
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0]->GetName(), "0000:00:01.0");
  EXPECT_EQ(devices[1]->GetName(), "0000:00:03.0");
}

TEST_F(Sysfs, ReadsSlotLabels) {
  const std::pair<const char*, std::int32_t> slots[] = {
      {"7", 7}, {"12-3", 12}, {"3slot", 3}, {"PCI4", -1}, {"-5", -1}, {"99999999999", -1}};
  unsigned bus = 1;
  for (const auto& [label, number] : slots) {
    char device[32];
    std::snprintf(device, sizeof device, "0000:%02x:00", bus++);
    Add("pci0000:00", Endpoint(std::string(device) + ".0"));
    Add("pci0000:00", Endpoint(std::string(device) + ".1"));
    AddSlot(label, std::string(device) + "\n");
  }
  Add("pci0000:00", Endpoint("0000:40:00.0"));
  const Devices devices = Read();
  for (std::size_t i = 0; i < std::size(slots); ++i) {
    EXPECT_EQ(devices[2 * i]->GetPhysicalSlot(), slots[i].second) << slots[i].first;
    EXPECT_EQ(devices[2 * i + 1]->GetPhysicalSlot(), slots[i].second) << slots[i].first;
  }
  EXPECT_EQ(devices.back()->GetPhysicalSlot(), -1);
}

TEST_F(Sysfs, SlotsThatNameNoDeviceHoldNothing) {
  Add("pci0000:00", Endpoint("0000:01:00.0"));
  AddSlot("1", "0000:01\n");  // a slot that gets its device when a card is put in
  AddSlot("2", "");
  AddSlot("3", "garbage\n");
  AddSlot("4", std::string(5000, 'x'));
  fs::create_directories(folder_.Path("bus/pci/slots/5/address"));
  fs::create_directories(folder_.Path("bus/pci/slots/6"));
  ASSERT_EQ(mkfifo(folder_.Path("bus/pci/slots/6/address").c_str(), 0600), 0);
  EXPECT_EQ(Read()[0]->GetPhysicalSlot(), -1);
}

TEST_F(Sysfs, FailuresLeaveNothingOpen) {
  Add("pci0000:00", Endpoint("0000:00:01.0"));
  Add("pci0000:00", Endpoint("0000:00:02.0"));
  fs::remove(FileOf("0000:00:02.0", "class"));
  EXPECT_NE(Error(), "");
  const std::size_t open_before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) EXPECT_NE(Error(), "");
  EXPECT_EQ(OpenDescriptors(), open_before);
}

}  // namespace
}  // namespace hostctl_test
