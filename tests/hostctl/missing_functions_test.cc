// Sources of which not every function can be read: the rest is answered, and the log says what is
// missing.

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "hostctl/sources.h"
#include "support/log_capture.h"

namespace hostctl_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class MissingFunctions : public ::testing::Test {
 protected:
  std::vector<std::string> WarningsWhileReading(std::size_t functions_left) const {
    const LogCapture log;
    EXPECT_THAT(ReadSysfs(folder_.Path("")), SizeIs(functions_left));
    return log.Texts(LOG_WARNING);
  }

  void Add(const std::string& address) const {
    WriteSysfsFunction(folder_, "devices/" + address, Endpoint(address));
  }
  void RemoveVendorOf(const std::string& address) const {
    std::filesystem::remove(folder_.Path("devices/" + address + "/vendor"));
  }

  const TempFolder folder_;
};

TEST_F(MissingFunctions, AreToldByAddressAndFile) {
  for (const char* address : {"0000:00:01.0", "0000:00:02.0", "0000:00:03.0"}) Add(address);
  RemoveVendorOf("0000:00:02.0");
  EXPECT_THAT(WarningsWhileReading(2), ElementsAre("0000:00:02.0 is left out: Cannot read " +
                                                   folder_.Path("devices/0000:00:02.0/vendor") +
                                                   ": No such file or directory"));
}

TEST_F(MissingFunctions, AreNoneInAWholeHost) {
  Add("0000:00:01.0");
  EXPECT_THAT(WarningsWhileReading(1), IsEmpty());
}

TEST_F(MissingFunctions, ThatAreVeryManyAreCounted) {
  Add("0001:00:00.0");
  for (int i = 0; i < 25; ++i) {
    const std::string address = "0000:" + std::to_string(10 + i) + ":00.0";
    Add(address);
    RemoveVendorOf(address);
  }
  const std::vector<std::string> warnings = WarningsWhileReading(1);
  ASSERT_THAT(warnings, SizeIs(11));
  EXPECT_EQ(warnings.back(), "15 more PCI functions are left out");
}

TEST_F(MissingFunctions, OfADumpAreToldByFileAndLine) {
  const std::string path =
      folder_.Write("dump", Endpoint("0000:00:01.0").DumpText() + "0000:00:02.0 x\n00: 86 8\n");
  const LogCapture log;
  EXPECT_THAT(ReadDump(path), SizeIs(1));
  EXPECT_THAT(log.Texts(LOG_WARNING),
              ElementsAre(path + ", line 20 is left out: malformed bytes of 0000:00:02.0"));
}

TEST_F(MissingFunctions, OfAllOfThemThereIsAnException) {
  Add("0000:00:01.0");
  RemoveVendorOf("0000:00:01.0");
  const LogCapture log;
  EXPECT_THROW(ReadSysfs(folder_.Path("")), HostCtl::Lib::HostCtlException);
  EXPECT_THAT(log.Texts(LOG_WARNING), IsEmpty());
}

}  // namespace
}  // namespace hostctl_test
