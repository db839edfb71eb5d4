// Sources that show only the start of configuration spaces, as the kernel does to users other than
// root: what is still answered, and that the log says once what is missing.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "hostctl/sources.h"
#include "support/log_capture.h"

namespace hostctl_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Function Plain(const std::string& address) { return Function(address).Ids(0x8086, 0x1234); }

// Its capabilities stand at 0x40 and 0x80.
Function Capable(const std::string& address) {
  return Plain(address).Capability(0x34, 0x40, 0x01).Capability(0x41, 0x80, 0x10, {0x52, 0});
}

class PartialSource : public ::testing::Test {
 protected:
  // Reads a tree of these functions; keeps what the log says meanwhile.
  Devices Read(const std::vector<Function>& functions) {
    for (const Function& function : functions) {
      WriteSysfsFunction(folder_, "devices/" + function.address(), function);
    }
    const LogCapture log;
    Devices devices = ReadSysfs(folder_.Path(""));
    log_ = log.Lines();
    return devices;
  }

  LogLine MissingOf(const std::string& share) const {
    return {LOG_WARNING, folder_.Path("") + ": " + share +
                             " functions are shown without their capabilities: port types are "
                             "unknown, switches taken for bridges; copy it as root"};
  }

  const TempFolder folder_;
  std::vector<LogLine> log_;
};

TEST_F(PartialSource, IsAnsweredWithoutCapabilitiesAndSaysSoOnce) {
  const Devices devices = Read({Capable("0000:00:01.0").Bridge(3, 4).Resize(64),
                                Capable("0000:00:02.0").Resize(64), Plain("0000:00:03.0")});
  ASSERT_EQ(devices.size(), 3u);
  EXPECT_EQ(devices[0]->GetClassCode(), 0x0604);
  EXPECT_EQ(devices[0]->GetSecondaryBus(), 3);
  EXPECT_EQ(devices[0]->GetPcieDeviceType(), -1);
  EXPECT_FALSE(devices[0]->HasCapability(0x10));
  EXPECT_THAT(devices[0]->GetCapabilities(), IsEmpty());
  EXPECT_THAT(log_, ElementsAre(MissingOf("2 of 3")));
}

TEST_F(PartialSource, IsNoneWhereEverythingIsShown) {
  const Devices devices = Read({Capable("0000:00:01.0"), Plain("0000:00:02.0")});
  EXPECT_EQ(devices[0]->GetPcieDeviceType(), 5);
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(PartialSource, IsNoneWhereNothingIsListedBehindWhatIsShown) {
  Read({Plain("0000:00:01.0").Resize(64)});
  EXPECT_THAT(log_, IsEmpty());
}

// Of a CardBus bridge the kernel shows 128 bytes to everybody.
TEST_F(PartialSource, EndsWithinAChain) {
  const Devices devices = Read({Capable("0000:00:01.0").Resize(128)});
  EXPECT_TRUE(devices[0]->HasCapability(0x01));
  EXPECT_FALSE(devices[0]->HasCapability(0x10));
  EXPECT_THAT(log_, ElementsAre(MissingOf("1 of 1")));
}

TEST_F(PartialSource, MayShowNoConfigurationSpaceAtAll) {
  WriteSysfsFunction(folder_, "devices/0000:00:01.0", Plain("0000:00:01.0"));
  std::filesystem::remove(folder_.Path("devices/0000:00:01.0/config"));
  const Devices devices = Read({Plain("0000:00:02.0")});
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_THAT(log_, ElementsAre(MissingOf("1 of 2")));
}

TEST_F(PartialSource, IsNoneWhereAFunctionHasGone) {
  Function gone("0000:00:01.0");
  for (std::size_t i = 0; i < 256; ++i) gone.Set(i, {0xff});
  Read({gone.Resize(64)});
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(PartialSource, IsToldOfEveryReading) {
  Read({Capable("0000:00:01.0").Resize(64)});
  Read({});
  EXPECT_THAT(log_, ElementsAre(MissingOf("1 of 1")));
}

TEST_F(PartialSource, MayBeADump) {
  const std::string path = folder_.Write(
      "dump", Capable("0000:00:01.0").Resize(64).DumpText() + Capable("0000:00:02.0").DumpText());
  const LogCapture log;
  EXPECT_EQ(ReadDump(path).size(), 2u);
  EXPECT_THAT(log.Texts(LOG_WARNING),
              ElementsAre(path + ": 1 of 2 functions are shown without their capabilities: port "
                                 "types are unknown, switches taken for bridges; take it with "
                                 "lspci -xxx, as root"));
}

}  // namespace
}  // namespace hostctl_test
