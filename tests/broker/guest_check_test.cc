// What a provider must not do: it is answered with an error code and kept for the one who asks.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "guest.h"

namespace broker {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Misuse {
  const char* class_name;
  CMPIrc code;
  const char* function;
  const char* text;
};

void PrintTo(const Misuse& misuse, std::ostream* out) { *out << misuse.class_name; }

class GuestCheck : public ::testing::TestWithParam<Misuse> {};

TEST_P(GuestCheck, ReportsTheMisuse) {
  const Misuse& misuse = GetParam();
  const auto manager = ManagerWith({misuse.class_name});
  const Outcome outcome = Enumerate(*manager, misuse.class_name);
  EXPECT_EQ(cim::StatusName(outcome.status.code), cim::StatusName(misuse.code));
  EXPECT_THAT(outcome.found.instances, IsEmpty());
  ASSERT_FALSE(outcome.errors.empty());
  const ProviderError& error = outcome.errors.back();
  EXPECT_EQ(error.class_name, misuse.class_name);
  EXPECT_EQ(error.operation, "EnumerateInstances");
  EXPECT_EQ(error.function, misuse.function);
  EXPECT_THAT(error.text, HasSubstr(misuse.text));
}

INSTANTIATE_TEST_SUITE_P(
    Misuses, GuestCheck,
    ::testing::Values(
        Misuse{"Guest_WrongType", CMPI_RC_ERR_TYPE_MISMATCH, "CMPIInstance.setProperty",
               "Ostrel_PCIPortGroup.BusNumber: uint16 where the class says uint8"},
        Misuse{"Guest_UnknownProperty", CMPI_RC_ERR_NO_SUCH_PROPERTY, "CMPIInstance.setProperty",
               "Colour: the class has no such property"},
        Misuse{"Guest_AfterMark", CMPI_RC_ERR_INVALID_HANDLE, "CMPIResult.returnInstance",
               "used after its release"},
        Misuse{"Guest_DoubleMarkRelease", CMPI_RC_ERR_INVALID_HANDLE, "CMPIBroker.release",
               "no open mark"},
        Misuse{"Guest_DoubleRelease", CMPI_RC_ERR_INVALID_HANDLE, "CMPIObjectPath.release",
               "used after its release"},
        Misuse{"Guest_AfterDone", CMPI_RC_ERR_FAILED, "CMPIResult.returnInstance",
               "after returnDone"},
        Misuse{"Guest_AfterError", CMPI_RC_ERR_FAILED, "CMPIResult.returnInstance",
               "after returnError"},
        Misuse{"Guest_PathForInstance", CMPI_RC_ERR_FAILED, "CMPIResult.returnObjectPath",
               "returns instances"},
        Misuse{"Guest_WrongKind", CMPI_RC_ERR_INVALID_HANDLE, "CMPIResult.returnInstance",
               "a CMPIObjectPath where a CMPIInstance belongs"},
        Misuse{"Guest_Null", CMPI_RC_ERR_INVALID_HANDLE, "CMPIResult.returnInstance",
               "a null object"},
        Misuse{"Guest_Outer", CMPI_RC_ERR_INVALID_HANDLE, "CMPIObjectPath.getKeyCount",
               "an object of another call"},
        Misuse{"Guest_Throwing", CMPI_RC_ERR_FAILED, "EnumerateInstances", "out of the operation"}),
    [](const auto& tested) { return std::string(tested.param.class_name).substr(6); });

// What was kept, without the class and the operation.
std::vector<std::string> Kept(const Outcome& outcome) {
  std::vector<std::string> texts;
  for (const ProviderError& error : outcome.errors) {
    texts.push_back(error.function + ": " + error.text);
  }
  return texts;
}

class GuestChecks : public ::testing::TestWithParam<bool> {
 protected:
  ObjectManager manager_{{.imitate = GetParam() ? &Cmpi10() : nullptr}};
};

INSTANTIATE_TEST_SUITE_P(Versions, GuestChecks, ::testing::Bool(), [](const auto& tested) {
  return tested.param ? "Version100" : "Version200";
});

TEST_P(GuestChecks, RefuseNullObjectsInEveryFunction) {
  const Outcome outcome = RunChecks(manager_, "Guest_Nulls");
  std::vector<std::string> functions;
  for (const ProviderError& error : outcome.errors) {
    EXPECT_EQ(error.text, "a null object") << error.function;
    functions.push_back(error.function);
  }
  EXPECT_THAT(functions, ElementsAreArray({"CMPIString.release",
                                           "CMPIString.clone",
                                           "CMPIString.getCharPtr",
                                           "CMPIArray.getSize",
                                           "CMPIArray.getSimpleType",
                                           "CMPIArray.getElementAt",
                                           "CMPIArray.setElementAt",
                                           "CMPIArgs.addArg",
                                           "CMPIArgs.getArg",
                                           "CMPIArgs.getArgAt",
                                           "CMPIArgs.getArgCount",
                                           "CMPIDateTime.getBinaryFormat",
                                           "CMPIDateTime.getStringFormat",
                                           "CMPIDateTime.isInterval",
                                           "CMPIObjectPath.getClassName",
                                           "CMPIObjectPath.setClassName",
                                           "CMPIObjectPath.addKey",
                                           "CMPIObjectPath.getKey",
                                           "CMPIObjectPath.getKeyAt",
                                           "CMPIObjectPath.getKeyCount",
                                           "CMPIObjectPath.setNameSpaceFromObjectPath",
                                           "CMPIObjectPath.setHostAndNameSpaceFromObjectPath",
                                           "CMPIObjectPath.toString",
                                           "CMPIInstance.getProperty",
                                           "CMPIInstance.getPropertyAt",
                                           "CMPIInstance.getPropertyCount",
                                           "CMPIInstance.setProperty",
                                           "CMPIInstance.getObjectPath",
                                           "CMPIInstance.setPropertyFilter",
                                           "CMPIInstance.setObjectPath",
                                           "CMPIContext.getEntry",
                                           "CMPIContext.clone",
                                           "CMPIResult.returnInstance",
                                           "CMPIResult.returnObjectPath",
                                           "CMPIResult.returnDone",
                                           "CMPIEnumeration.getNext",
                                           "CMPIEnumeration.hasNext",
                                           "CMPIEnumeration.toArray",
                                           "CMPIBroker.enumerateInstances",
                                           "CMPIBroker.getInstance",
                                           "CMPIBroker.createInstance",
                                           "CMPIBroker.createInstance",
                                           "CMPIBroker.modifyInstance",
                                           "CMPIBroker.deleteInstance",
                                           "CMPIBroker.prepareAttachThread",
                                           "CMPIBroker.attachThread",
                                           "CMPIBroker.newInstance",
                                           "CMPIBroker.classPathIsA",
                                           "CMPIBroker.isOfType",
                                           "CMPIBroker.toString",
                                           "CMPIBroker.getType"}));
}

TEST_P(GuestChecks, RefuseArgumentsThatAFunctionCannotTake) {
  EXPECT_THAT(
      Kept(RunChecks(manager_, "Guest_Misuses")),
      ElementsAreArray(
          {"CMPIArray.setElementAt: uint16 into an array of uint8",
           "CMPIArray.setElementAt: an index beyond the array",
           "CMPIArray.getElementAt: an index beyond the array",
           "CMPIBroker.newArray: elements of type args",
           "CMPIInstance.setProperty: an array of another type than is stated",
           "CMPIInstance.setProperty: a value of type enumeration",
           "CMPIObjectPath.addKey: a key of type instance", "CMPIInstance.setProperty: a null name",
           "CMPIInstance.getProperty: a null name", "CMPIBroker.classPathIsA: a null class name",
           "CMPIInstance.setProperty: an object used after its release",
           "CMPIBroker.toString: no object of this object manager",
           "CMPIResult.returnData: a null value", "CMPIResult.returnData: a value of type uint8",
           "CMPIResult.returnData: the operation returns instances",
           "CMPIEnumeration.getNext: beyond the end",
           "CMPIBroker.attachThread: the thread is attached already",
           "CMPIBroker.detachThread: the thread is not attached"}));
}

TEST(GuestCheck, RefusesWhatOnlyACurrentBrokerCanBeAsked) {
  ObjectManager manager({});
  EXPECT_THAT(
      Kept(RunChecks(manager, "Guest_CurrentMisuses")),
      ElementsAreArray({"CMPIBroker.cmpiRealloc: no block of this call",
                        "CMPIBroker.cmpiFree: no block of this call",
                        "CMPIError.get: a null object", "CMPIError.get: a null object",
                        "CMPIError.get: a null object", "CMPIResult.returnError: a null object"}));
}

TEST(GuestCheck, MeetsAnObjectThatWasKeptFromAnEarlierCall) {
  const auto manager = ManagerWith({"Guest_Keeper"});
  EXPECT_TRUE(Enumerate(*manager, "Guest_Keeper").status.ok());
  const Outcome late = Enumerate(*manager, "Guest_Keeper");
  EXPECT_EQ(late.status.code, CMPI_RC_ERR_INVALID_HANDLE);
  ASSERT_EQ(late.errors.size(), 1U);
  EXPECT_EQ(ToString(late.errors[0]),
            "EnumerateInstances of Guest_Keeper: CMPIResult.returnInstance: an object used after "
            "its release");
}

TEST(GuestCheck, ReportsEveryNullOfACall) {
  const auto manager = ManagerWith({"Guest_Null"});
  const Outcome outcome = Enumerate(*manager, "Guest_Null");
  ASSERT_EQ(outcome.errors.size(), 4U);
  EXPECT_EQ(outcome.errors[0].text, "a null name");
  EXPECT_EQ(outcome.errors[1].text, "a null value");
  EXPECT_EQ(outcome.errors[2].function, "CMPIBroker.newObjectPath");
  manager->ClearProviderErrors();
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
}

TEST(GuestCheck, ReportsThreadsThatAreNotAttached) {
  const auto manager = ManagerWith({"Guest_Unattached"});
  const Outcome outcome = Enumerate(*manager, "Guest_Unattached");
  ASSERT_EQ(outcome.errors.size(), 2U);
  EXPECT_EQ(outcome.errors[0].function, "CMPIObjectPath.getKeyCount");
  EXPECT_EQ(outcome.errors[1].function, "CMPIBroker.newString");
  for (const ProviderError& error : outcome.errors) {
    EXPECT_EQ(error.operation, "outside of any request");
    EXPECT_EQ(error.text, "a thread that is not attached");
  }
}

TEST(GuestCheck, HandsAReturnedErrorToTheSink) {
  const auto manager = ManagerWith({"Guest_AfterError"});
  const Outcome outcome = Enumerate(*manager, "Guest_AfterError");
  ASSERT_EQ(outcome.found.errors.size(), 1U);
  EXPECT_EQ(outcome.found.errors[0], (cim::Status{CMPI_RC_ERR_FAILED, "it went wrong"}));
}

TEST(GuestCheck, MayBeLeftOut) {
  const auto manager = ManagerWith({"Guest_Plain", "Guest_Outer"}, {.check_guest = false});
  EXPECT_EQ(Enumerate(*manager, "Guest_Plain").found.instances.size(), 3U);
  EXPECT_TRUE(Enumerate(*manager, "Guest_Outer").status.ok());
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
}

}  // namespace
}  // namespace broker
