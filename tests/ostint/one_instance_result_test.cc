// GetInstance in object managers that take one instance, and in all others.

#include "platform/ostint/one_instance_result.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_base_mi.h"

namespace {

using ostInt::CmpiBaseMI;
using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;
using testing::ElementsAre;
using testing::IsEmpty;

// Answers GetInstance with what the test says.
class InstancesProvider : virtual public ostInt::CmpiInstanceMI {
 public:
  explicit InstancesProvider(const CmpiBroker& broker)
      : InstancesProvider(broker, CmpiContext(RecordingBroker::Context())) {}

  std::vector<const CMPIInstance*> instances;
  CmpiStatus status = CMPI_RC_OK;
  const char** properties = nullptr;

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& /*path*/, const char** names) override {
    properties = names;
    for (const CMPIInstance* instance : instances) {
      CmpiInstance filtered(instance);
      filtered.setPropertyFilter(names, nullptr);
      result.returnData(filtered);
    }
    result.returnDone();
    return status;
  }

 private:
  InstancesProvider(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}
};

class GetInstanceTest : public testing::TestWithParam<const char*> {
 protected:
  // A path whose first key is "DeviceID".
  CMPIObjectPath* Port(const std::string& name) {
    return broker_.Path("root/cimv2", "Port",
                        {{"DeviceID", broker_.Text(name)}, {"SystemName", broker_.Text("host")}});
  }
  CMPIInstance* Instance(const std::string& name) { return broker_.Instance(Port(name)); }

  // What reaches the object manager when the port is asked for.
  std::vector<std::string> Delivered(const CMPIObjectPath* asked) {
    CMPIInstanceMI record{};
    CmpiBaseMI* object = &provider_;
    record.hdl = object;
    const std::size_t before = broker_.calls().size();
    const CMPIStatus status = ostInt::CmpiInstanceMI::driveGetInstance(
        &record, RecordingBroker::Context(), broker_.Result(), asked, properties_);
    outcome_ = {status.rc, TextOf(status.msg)};
    EXPECT_EQ(broker_.live_clones(), 0);
    std::vector<std::string> calls = broker_.calls();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
    std::erase(calls, "setPropertyFilter");
    return calls;
  }

  RecordingBroker broker_{Offer{.name = GetParam()}};
  InstancesProvider provider_{CmpiBroker(broker_.raw())};
  const char* names_[2] = {"PortType", nullptr};
  const char** properties_ = names_;
  Outcome outcome_;
};

class OneInstanceTest : public GetInstanceTest {};

TEST_P(OneInstanceTest, TheOneThatWasAskedForIsDelivered) {
  provider_.instances = {Instance("b-pri"), Instance("b-sec")};
  EXPECT_THAT(Delivered(Port("b-pri")), ElementsAre("returnInstance b-pri", "returnDone"));
  EXPECT_EQ(outcome_, Outcome{});
  EXPECT_THAT(Delivered(Port("b-sec")), ElementsAre("returnInstance b-sec", "returnDone"));
  EXPECT_EQ(outcome_, Outcome{});
}

TEST_P(OneInstanceTest, TheFirstIsDeliveredWhereNoneHasTheKeys) {
  provider_.instances = {Instance("b-pri"), Instance("b-sec")};
  EXPECT_THAT(Delivered(Port("b")), ElementsAre("returnInstance b-pri", "returnDone"));
}

TEST_P(OneInstanceTest, KeysThatWereNotGivenAreNotCompared) {
  provider_.instances = {Instance("b-pri"), Instance("b-sec")};
  const CMPIObjectPath* asked = broker_.Path("", "port", {{"deviceid", broker_.Text("b-sec")}});
  EXPECT_THAT(Delivered(asked), ElementsAre("returnInstance b-sec", "returnDone"));
}

TEST_P(OneInstanceTest, NothingIsNotFound) {
  EXPECT_THAT(Delivered(Port("b-sec")), IsEmpty());
  EXPECT_EQ(outcome_.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_P(OneInstanceTest, AProviderThatFailsDeliversNothing) {
  provider_.instances = {Instance("b-pri")};
  provider_.status = CmpiStatus(CMPI_RC_ERR_FAILED, "host gone");
  EXPECT_THAT(Delivered(Port("b-pri")), IsEmpty());
  EXPECT_EQ(outcome_, (Outcome{CMPI_RC_ERR_FAILED, "host gone"}));
}

// An instance that a filter took its keys from could not be told from another.
TEST_P(OneInstanceTest, PropertiesAreFilteredOnceTheInstanceIsChosen) {
  provider_.properties = properties_;
  provider_.instances = {Instance("b-pri")};
  Delivered(Port("b-pri"));
  EXPECT_EQ(provider_.properties, nullptr);
  EXPECT_EQ(broker_.filter_properties(), properties_);
  EXPECT_EQ(broker_.filter_keys(), nullptr);
}

TEST_P(OneInstanceTest, WhatTheObjectManagerRefusesIsAnswered) {
  provider_.instances = {Instance("b-pri"), Instance("b-sec")};
  for (const char* function : {"getObjectPath", "clone", "returnInstance", "returnDone"}) {
    broker_.Fail(function, CMPI_RC_ERR_FAILED, function);
    Delivered(Port("b-pri"));
    EXPECT_EQ(outcome_, (Outcome{CMPI_RC_ERR_FAILED, function}));
    broker_.Mend(function);
  }
}

INSTANTIATE_TEST_SUITE_P(ObjectManagers, OneInstanceTest,
                         testing::Values("Pegasus", "RequestHandler"));

class AllInstancesTest : public GetInstanceTest {};

TEST_P(AllInstancesTest, EverythingIsDeliveredAsTheProviderHasIt) {
  provider_.instances = {Instance("b-pri"), Instance("b-sec")};
  EXPECT_THAT(Delivered(Port("b-sec")),
              ElementsAre("returnInstance b-pri", "returnInstance b-sec", "returnDone"));
  EXPECT_EQ(outcome_, Outcome{});
  EXPECT_EQ(provider_.properties, properties_);
  provider_.instances = {};
  EXPECT_THAT(Delivered(Port("b-sec")), ElementsAre("returnDone"));
  EXPECT_EQ(outcome_, Outcome{});
}

INSTANTIATE_TEST_SUITE_P(ObjectManagers, AllInstancesTest,
                         testing::Values("ostrel in-process object manager", "pegasus", "",
                                         nullptr));

}  // namespace
