#include "platform/ostint/cmpi_broker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ostint/recording_broker.h"
#include "ostint/statuses.h"

namespace {

using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiElementScope;
using ostInt::CmpiEnumeration;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;
using ostInt::CmpiString;
using testing::ElementsAre;

class CmpiBrokerTest : public testing::Test {
 protected:
  RecordingBroker broker_;
  ostInt::CmpiBroker wrapped_broker_{broker_.raw()};
  ostInt::BrokerScope scope_{&wrapped_broker_};
};

TEST_F(CmpiBrokerTest, ResultsArePassedOnOneByOne) {
  CmpiResult result(broker_.Result());
  result.returnData(CmpiObjectPath(broker_.Path("", "C")));
  result.returnData(CmpiInstance(broker_.Instance()));
  result.returnDone();
  EXPECT_THAT(broker_.calls(), ElementsAre("returnObjectPath C", "returnInstance", "returnDone"));
}

TEST_F(CmpiBrokerTest, ResultsThatAreRefusedThrow) {
  CmpiResult result(broker_.Result());
  broker_.Fail("returnObjectPath", CMPI_RC_ERR_FAILED, "client gone");
  broker_.Fail("returnInstance", CMPI_RC_ERR_INVALID_PARAMETER, "not ours");
  broker_.Fail("returnDone", CMPI_RC_ERROR_SYSTEM);
  EXPECT_EQ(OutcomeOf([&] { result.returnData(CmpiObjectPath(broker_.Path("", "C"))); }),
            (Outcome{CMPI_RC_ERR_FAILED, "client gone"}));
  EXPECT_EQ(OutcomeOf([&] { result.returnData(CmpiInstance(broker_.Instance())); }),
            (Outcome{CMPI_RC_ERR_INVALID_PARAMETER, "not ours"}));
  EXPECT_EQ(OutcomeOf([&] { result.returnDone(); }), (Outcome{CMPI_RC_ERROR_SYSTEM, ""}));
}

TEST_F(CmpiBrokerTest, UpCallsPassContextPathAndPropertyList) {
  const CmpiBroker broker(broker_.raw());
  const CmpiContext context(RecordingBroker::Context());
  const CmpiObjectPath path(broker_.Path("root/cimv2", "OMC_UnitaryComputerSystem"));
  const char* properties[] = {"Name", nullptr};
  broker.enumInstances(context, path, properties);
  EXPECT_EQ(broker_.upcall_context(), context.raw());
  EXPECT_EQ(broker_.upcall_path(), path.raw());
  EXPECT_EQ(broker_.upcall_properties(), properties);

  const CmpiObjectPath other(broker_.Path("root/cimv2", "C"));
  broker.enumInstanceNames(context, other);
  EXPECT_EQ(broker_.upcall_context(), context.raw());
  EXPECT_EQ(broker_.upcall_path(), other.raw());
}

TEST_F(CmpiBrokerTest, UpCallsThatFailThrow) {
  const CmpiBroker broker(broker_.raw());
  const CmpiContext context(RecordingBroker::Context());
  const CmpiObjectPath path(broker_.Path("", "C"));
  const auto names = [&] { broker.enumInstanceNames(context, path); };
  const auto instances = [&] { broker.enumInstances(context, path, nullptr); };
  broker_.Fail("enumerateInstanceNames", CMPI_RC_ERR_INVALID_CLASS, "no class");
  broker_.Fail("enumerateInstances", CMPI_RC_ERR_ACCESS_DENIED, "no right");
  EXPECT_EQ(OutcomeOf(names), (Outcome{CMPI_RC_ERR_INVALID_CLASS, "no class"}));
  EXPECT_EQ(OutcomeOf(instances), (Outcome{CMPI_RC_ERR_ACCESS_DENIED, "no right"}));
  broker_.GiveNull("enumerateInstanceNames");
  broker_.GiveNull("enumerateInstances");
  EXPECT_EQ(OutcomeOf(names), (Outcome{CMPI_RC_ERR_FAILED, "enumerateInstanceNames gave nothing"}));
  EXPECT_EQ(OutcomeOf(instances), (Outcome{CMPI_RC_ERR_FAILED, "enumerateInstances gave nothing"}));
}

TEST_F(CmpiBrokerTest, EnumerationsEndWithNull) {
  CMPIObjectPath* path = broker_.Path("", "C");
  CmpiEnumeration found(broker_.Enumeration({RecordingBroker::Reference(path), broker_.Text("t")}));
  EXPECT_EQ(CmpiObjectPath(found.getNext()).raw(), path);
  EXPECT_STREQ(CmpiString(found.getNext()).charPtr(), "t");
  EXPECT_TRUE(found.getNext().isNull());
  EXPECT_TRUE(found.getNext().isNull());
}

TEST_F(CmpiBrokerTest, AnEmptyEnumerationIsNotAskedForAnElement) {
  CmpiEnumeration found(broker_.Enumeration({}));
  broker_.Fail("getNext", CMPI_RC_ERR_FAILED, "there is none");
  EXPECT_TRUE(found.getNext().isNull());
}

TEST_F(CmpiBrokerTest, EnumerationsThatFailThrow) {
  CmpiEnumeration found(broker_.Enumeration({broker_.Text("t")}));
  broker_.Fail("getNext", CMPI_RC_ERR_FAILED, "next");
  EXPECT_EQ(OutcomeOf([&] { found.getNext(); }), (Outcome{CMPI_RC_ERR_FAILED, "next"}));
  broker_.Fail("hasNext", CMPI_RC_ERR_INVALID_HANDLE, "has");
  EXPECT_EQ(OutcomeOf([&] { found.getNext(); }), (Outcome{CMPI_RC_ERR_INVALID_HANDLE, "has"}));
}

TEST_F(CmpiBrokerTest, AnElementThatIsNotThereIsNull) {
  CmpiEnumeration found(broker_.Enumeration({broker_.Text("t")}));
  broker_.GiveNull("getNext");
  EXPECT_TRUE(found.getNext().isNull());
}

// What one object manager's states say of every element, good as it is.
TEST_F(CmpiBrokerTest, AnElementIsThereWhateverItsStateSays) {
  CMPIData path = RecordingBroker::Reference(broker_.Path("", "C"));
  path.state = CMPI_nullValue;
  CMPIData instance{CMPI_instance, CMPI_nullValue, {}};
  instance.value.inst = broker_.Instance();
  CmpiEnumeration found(broker_.Enumeration({path, instance}));
  EXPECT_EQ(CmpiObjectPath(found.getNext()).raw(), path.value.ref);
  EXPECT_EQ(CmpiInstance(found.getNext()).raw(), instance.value.inst);
  EXPECT_TRUE(found.getNext().isNull());
}

TEST_F(CmpiBrokerTest, AnElementWithoutPointerIsNull) {
  CmpiEnumeration found(broker_.Enumeration(
      {AbsentValue(CMPI_instance, CMPI_nullValue), AbsentValue(CMPI_ref, CMPI_goodValue)}));
  EXPECT_TRUE(found.getNext().isNull());
  EXPECT_TRUE(found.getNext().isNull());
}

TEST_F(CmpiBrokerTest, AScopeFreesWhatWasMadeInIt) {
  const CmpiObjectPath before("root/cimv2", "Before");
  for (int element = 0; element < 3; ++element) {
    const CmpiElementScope scope;
    const CmpiObjectPath path("root/cimv2", "Inside");
    EXPECT_EQ(broker_.live_objects(), 2U);
    EXPECT_EQ(broker_.open_marks(), 1);
  }
  EXPECT_EQ(broker_.live_objects(), 1U);
  EXPECT_EQ(broker_.open_marks(), 0);
}

TEST_F(CmpiBrokerTest, ScopesNest) {
  const CmpiElementScope outer;
  const CmpiObjectPath path("root/cimv2", "Outer");
  {
    const CmpiElementScope inner;
    const CmpiObjectPath other("root/cimv2", "Inner");
  }
  EXPECT_EQ(broker_.live_objects(), 1U);
  EXPECT_EQ(path.toString().charPtr(), std::string("path of Outer"));
}

TEST_F(CmpiBrokerTest, AStatusOutlivesTheScopeThatItIsThrownFrom) {
  broker_.Fail("newInstance", CMPI_RC_ERR_FAILED, "text of an object that the scope frees");
  const Outcome outcome = OutcomeOf([&] {
    const CmpiElementScope scope;
    CmpiInstance(CmpiObjectPath("root/cimv2", "C"));
  });
  EXPECT_EQ(outcome, (Outcome{CMPI_RC_ERR_FAILED, "text of an object that the scope frees"}));
  EXPECT_EQ(broker_.live_objects(), 0U);
}

TEST_F(CmpiBrokerTest, AScopeWithoutMarkReleasesNothing) {
  broker_.GiveNull("mark");
  {
    const CmpiElementScope scope;
    const CmpiObjectPath path("root/cimv2", "C");
  }
  EXPECT_EQ(broker_.live_objects(), 1U);
}

TEST_F(CmpiBrokerTest, AReleaseThatFailsIsNoError) {
  broker_.Fail("release", CMPI_RC_ERR_FAILED);
  { const CmpiElementScope scope; }
  EXPECT_EQ(broker_.open_marks(), 0);
}

class PlainMemoryTest : public testing::TestWithParam<Offer> {};

// Nothing is marked, nothing released, and nothing read behind the end of a table.
TEST_P(PlainMemoryTest, EveryOperationWorksWithoutMarkAndRelease) {
  RecordingBroker broker(GetParam());
  const ostInt::CmpiBroker wrapped_broker(broker.raw());
  const ostInt::BrokerScope call(&wrapped_broker);
  broker.class_is_a = {"C"};
  CmpiResult result(broker.Result());
  for (int element = 0; element < 2; ++element) {
    const CmpiElementScope scope;
    CmpiObjectPath path("root/cimv2", "C");
    path.setKey("K", "v");
    EXPECT_STREQ(CmpiString(path.getKey("k")).charPtr(), "v");
    EXPECT_TRUE(path.classPathIsA("C"));
    EXPECT_TRUE(path == CmpiObjectPath(broker.Path("", "c", {{"k", broker.Text("v")}})));
    CmpiInstance instance(path);
    ostInt::CmpiArray array(1, CMPI_uint16);
    array[0] = static_cast<unsigned short>(1);
    instance.setProperty("P", array);
    instance.setPropertyFilter(nullptr, nullptr);
    result.returnData(instance);
    result.returnData(path);
  }
  result.returnDone();
  EXPECT_EQ(broker.open_marks(), 0);
  EXPECT_GE(broker.live_objects(), 6U);
}

INSTANTIATE_TEST_SUITE_P(Brokers, PlainMemoryTest,
                         testing::Values(Offer{.cmpi_2_0 = false, .mark_release = false},
                                         Offer{.mark_release = false},
                                         Offer{.memory_table = false}));

}  // namespace
