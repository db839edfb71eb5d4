#include "frame/object_paths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cache/topology_cache.h"
#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_data.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"

namespace {

using HostCtl::Lib::HostCtlException;
using ostInt::CmpiObjectPath;
using testing::ElementsAre;

class ObjectPathsTest : public testing::Test {
 protected:
  ~ObjectPathsTest() override { ResetCache(); }

  // Builds the cache from a host of one device, and answers that device.
  const HostCtl::Hardware::PciDevice* Load(const fake::Device& device) {
    LoadHost(fake::Host().SystemName("Host.EXAMPLE").Add(device));
    return GetDevicesCache().front().get();
  }

  // Gives `path` to the test as a request would carry it.
  CmpiObjectPath Request(const char* key, const CMPIData& value) {
    return CmpiObjectPath(broker_.Path(kNameSpace, "C", {{key, value}}));
  }

  RecordingBroker broker_;
  ostInt::CmpiBroker wrapped_broker_{broker_.raw()};
  ostInt::BrokerScope scope_{&wrapped_broker_};
};

TEST_F(ObjectPathsTest, ElementPathsHaveFourKeysInTheirOrder) {
  const auto* device = Load(fake::Endpoint("0000:00:1f.2"));
  CmpiObjectPath path(kNameSpace, kDeviceClass);
  PopulateDevicePath(device, path);
  EXPECT_THAT(broker_.calls(),
              ElementsAre("newObjectPath root/cimv2 Ostrel_PCIDevice",
                          "addKey SystemCreationClassName chars OMC_UnitaryComputerSystem",
                          "addKey SystemName chars host.example",
                          "addKey CreationClassName chars Ostrel_PCIDevice",
                          "addKey DeviceID chars 0000:00:1f.2"));
}

TEST_F(ObjectPathsTest, PopulateDevicePathCallsABridgeADevice) {
  const auto* device = Load(fake::PciBridge("0000:00:1c.0"));
  CmpiObjectPath path(kNameSpace, kDeviceClass);
  PopulateDevicePath(device, path);
  EXPECT_THAT(broker_.calls(),
              testing::Contains("addKey CreationClassName chars Ostrel_PCIDevice"));
}

TEST_F(ObjectPathsTest, SetDeviceObjectPathWritesTheGivenClass) {
  const auto* device = Load(fake::PciBridge("0000:00:1c.0"));
  CmpiObjectPath path(kNameSpace, kBridgeClass);
  SetDeviceObjectPath(device, path, "Ostrel_PCIBridge");
  EXPECT_THAT(broker_.calls(),
              ElementsAre("newObjectPath root/cimv2 Ostrel_PCIBridge",
                          "addKey SystemCreationClassName chars OMC_UnitaryComputerSystem",
                          "addKey SystemName chars host.example",
                          "addKey CreationClassName chars Ostrel_PCIBridge",
                          "addKey DeviceID chars 0000:00:1c.0"));
}

TEST_F(ObjectPathsTest, MakeElementRefIsOfTheClassThatItNames) {
  MakeElementRef(Load(fake::SwitchUpstream("U")), kSwitchClass);
  EXPECT_THAT(
      broker_.calls(),
      ElementsAre("newObjectPath root/cimv2 Ostrel_PCIeSwitch",
                  "addKey SystemCreationClassName chars OMC_UnitaryComputerSystem",
                  "addKey SystemName chars host.example",
                  "addKey CreationClassName chars Ostrel_PCIeSwitch", "addKey DeviceID chars U"));
}

TEST_F(ObjectPathsTest, PortPathsHaveTheSameKeysInAnotherOrder) {
  Load(fake::Endpoint("E"));
  MakePCIPortRef("0000:00:1f.2-ep");
  EXPECT_THAT(
      broker_.calls(),
      ElementsAre("newObjectPath root/cimv2 Ostrel_PCIPort", "addKey SystemName chars host.example",
                  "addKey CreationClassName chars Ostrel_PCIPort",
                  "addKey SystemCreationClassName chars OMC_UnitaryComputerSystem",
                  "addKey DeviceID chars 0000:00:1f.2-ep"));
}

TEST_F(ObjectPathsTest, TheSystemPathHasTwoKeys) {
  Load(fake::Endpoint("E"));
  PciCreateSystemRef();
  EXPECT_THAT(broker_.calls(),
              ElementsAre("newObjectPath root/cimv2 OMC_UnitaryComputerSystem",
                          "addKey CreationClassName chars OMC_UnitaryComputerSystem",
                          "addKey Name chars host.example"));
}

TEST_F(ObjectPathsTest, IdentifiersPassByteForByte) {
  for (const std::string& name :
       {std::string(), std::string("ABCD:EF:1a.7"), std::string(" \"quoted\\\" \t\n%s"),
        std::string("\xc3\xa4\xff\x01"), std::string(10000, 'x')}) {
    const auto* device = Load(fake::Endpoint(name));
    const CmpiObjectPath element = MakeElementRef(device, kDeviceClass);
    EXPECT_EQ(DeviceIdOf(element), name);
    EXPECT_EQ(DeviceIdOf(MakePCIPortRef(name)), name);
  }
}

TEST_F(ObjectPathsTest, AnIdentifierThatCannotBeReadPassesTheExceptionOn) {
  const auto* device = Load(fake::Endpoint("E"));
  CmpiObjectPath path(kNameSpace, kDeviceClass);
  fake::FailAt(1);
  EXPECT_THROW(PopulateDevicePath(device, path), HostCtlException);
  fake::FailAt(1);
  EXPECT_THROW(MakeElementRef(device, kDeviceClass), HostCtlException);
  fake::FailNever();
}

TEST_F(ObjectPathsTest, TheIdentifierIsAskedForOnceForEachPath) {
  const auto* device = Load(fake::Endpoint("E"));
  const std::size_t before = fake::CallCount("GetName");
  const std::size_t all = fake::CallCount();
  MakeElementRef(device, kDeviceClass);
  MakeElementRef(device, kDeviceClass);
  EXPECT_EQ(fake::CallCount("GetName") - before, 2U);
  EXPECT_EQ(fake::CallCount() - all, 2U);
}

TEST_F(ObjectPathsTest, AKeyThatIsRefusedPassesTheStatusOn) {
  Load(fake::Endpoint("E"));
  broker_.Fail("addKey", CMPI_RC_ERR_INVALID_PARAMETER, "no");
  EXPECT_EQ(OutcomeOf([] { PciCreateSystemRef(); }),
            (Outcome{CMPI_RC_ERR_INVALID_PARAMETER, "no"}));
  EXPECT_EQ(OutcomeOf([] { MakePCIPortRef("p"); }), (Outcome{CMPI_RC_ERR_INVALID_PARAMETER, "no"}));
}

TEST_F(ObjectPathsTest, TheParentsIdentifierIsEmptyWithoutParent) {
  EXPECT_EQ(ParentIdentifier(Load(fake::Endpoint("E"))), "");
  EXPECT_EQ(ParentIdentifier(Load(fake::Endpoint("E").Parent("0000:00:1c.0"))), "0000:00:1c.0");
}

TEST_F(ObjectPathsTest, ParentObjectsAreReleasedOnEveryPath) {
  const auto* device = Load(fake::Endpoint("E").Parent("P"));
  ParentIdentifier(device);
  EXPECT_EQ(fake::LiveObjects().parents, 0);
  fake::FailAt(2);  // the parent's name
  EXPECT_THROW(ParentIdentifier(device), HostCtlException);
  fake::FailNever();
  EXPECT_EQ(fake::LiveObjects().parents, 0);
}

TEST_F(ObjectPathsTest, KeysOfRequestsAreRead) {
  EXPECT_EQ(DeviceIdOf(Request("deviceid", broker_.Text("E"))), "E");
  EXPECT_EQ(DeviceIdOf(Request("DeviceID", broker_.Text(""))), "");
  EXPECT_EQ(KeyText(Request("InstanceID", broker_.Chars("i")), "InstanceID"), "i");
  CMPIObjectPath* inner = broker_.Path(kNameSpace, "Inner");
  const CmpiObjectPath outer = Request("Antecedent", RecordingBroker::Reference(inner));
  EXPECT_EQ(KeyRef(outer, "Antecedent").raw(), inner);
}

TEST_F(ObjectPathsTest, KeysThatAreMissingOrOfAnotherTypeThrow) {
  const CmpiObjectPath request = Request("DeviceID", Uint8Value(1));
  EXPECT_EQ(OutcomeOf([&] { DeviceIdOf(request); }).rc, CMPI_RC_ERR_TYPE_MISMATCH);
  EXPECT_EQ(OutcomeOf([&] { KeyText(request, "Name"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(OutcomeOf([&] { KeyRef(request, "DeviceID"); }).rc, CMPI_RC_ERR_TYPE_MISMATCH);
  const CmpiObjectPath null = Request("DeviceID", AbsentValue(CMPI_string, CMPI_nullValue));
  EXPECT_EQ(OutcomeOf([&] { DeviceIdOf(null); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

}  // namespace
