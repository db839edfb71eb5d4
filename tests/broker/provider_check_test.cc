// What a provider must not do: it is answered with an error code and kept for the one who asks.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_providers.h"

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

class ProviderCheck : public ::testing::TestWithParam<Misuse> {};

TEST_P(ProviderCheck, ReportsTheMisuse) {
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
    Misuses, ProviderCheck,
    ::testing::Values(
        Misuse{"Test_WrongType", CMPI_RC_ERR_TYPE_MISMATCH, "CMPIInstance.setProperty",
               "Ostrel_PCIPortGroup.BusNumber: uint16 where the class says uint8"},
        Misuse{"Test_UnknownProperty", CMPI_RC_ERR_NO_SUCH_PROPERTY, "CMPIInstance.setProperty",
               "Colour: the class has no such property"},
        Misuse{"Test_AfterMark", CMPI_RC_ERR_INVALID_HANDLE, "CMPIResult.returnInstance",
               "used after its release"},
        Misuse{"Test_DoubleMarkRelease", CMPI_RC_ERR_INVALID_HANDLE, "CMPIBroker.release",
               "no open mark"},
        Misuse{"Test_DoubleRelease", CMPI_RC_ERR_INVALID_HANDLE, "CMPIInstance.release",
               "used after its release"},
        Misuse{"Test_AfterDone", CMPI_RC_ERR_FAILED, "CMPIResult.returnInstance",
               "after returnDone"},
        Misuse{"Test_PathForInstance", CMPI_RC_ERR_FAILED, "CMPIResult.returnObjectPath",
               "returns instances"},
        Misuse{"Test_WrongKind", CMPI_RC_ERR_INVALID_HANDLE, "CMPIResult.returnInstance",
               "a CMPIObjectPath where a CMPIInstance belongs"},
        Misuse{"Test_Null", CMPI_RC_ERR_INVALID_HANDLE, "CMPIResult.returnInstance",
               "a null object"},
        Misuse{"Test_Outer", CMPI_RC_ERR_INVALID_HANDLE, "CMPIObjectPath.getKeyCount",
               "an object of another call"},
        Misuse{"Test_Throwing", CMPI_RC_ERR_FAILED, "EnumerateInstances", "out of the operation"}),
    [](const auto& tested) { return std::string(tested.param.class_name).substr(6); });

// What was kept, without the class and the operation.
std::vector<std::string> Kept(const Outcome& outcome) {
  std::vector<std::string> texts;
  for (const ProviderError& error : outcome.errors) {
    texts.push_back(error.function + ": " + error.text);
  }
  return texts;
}

class ProviderChecks : public ::testing::TestWithParam<bool> {
 protected:
  ObjectManager manager_{{.imitate = GetParam() ? &Cmpi10() : nullptr}};
};

INSTANTIATE_TEST_SUITE_P(Versions, ProviderChecks, ::testing::Bool(), [](const auto& tested) {
  return tested.param ? "Version100" : "Version200";
});

TEST_P(ProviderChecks, RefuseNullObjectsInEveryFunction) {
  const Outcome outcome = RunChecks(manager_, "Test_Nulls");
  std::vector<std::string> functions;
  for (const ProviderError& error : outcome.errors) {
    EXPECT_EQ(error.text, "a null object") << error.function;
    functions.push_back(error.function);
  }
  EXPECT_THAT(functions, ElementsAreArray(
                             {"CMPIString.getCharPtr",         "CMPIArray.setElementAt",
                              "CMPIObjectPath.getNameSpace",   "CMPIObjectPath.getClassName",
                              "CMPIObjectPath.addKey",         "CMPIObjectPath.getKey",
                              "CMPIObjectPath.getKeyAt",       "CMPIObjectPath.getKeyCount",
                              "CMPIInstance.release",          "CMPIInstance.clone",
                              "CMPIInstance.getProperty",      "CMPIInstance.setProperty",
                              "CMPIInstance.getObjectPath",    "CMPIInstance.setPropertyFilter",
                              "CMPIResult.returnInstance",     "CMPIResult.returnObjectPath",
                              "CMPIResult.returnDone",         "CMPIEnumeration.getNext",
                              "CMPIEnumeration.hasNext",       "CMPIBroker.enumerateInstanceNames",
                              "CMPIBroker.enumerateInstances", "CMPIBroker.newInstance",
                              "CMPIBroker.classPathIsA",       "CMPIBroker.toString"}));
}

TEST_P(ProviderChecks, RefuseArgumentsThatAFunctionCannotTake) {
  EXPECT_THAT(
      Kept(RunChecks(manager_, "Test_Misuses")),
      ElementsAreArray(
          {"CMPIArray.setElementAt: uint16 into an array of uint8",
           "CMPIArray.setElementAt: an index beyond the array",
           "CMPIBroker.newArray: elements of type args",
           "CMPIInstance.setProperty: an array of another type than is stated",
           "CMPIInstance.setProperty: a value of type enumeration",
           "CMPIObjectPath.addKey: a key of type instance", "CMPIInstance.setProperty: a null name",
           "CMPIInstance.getProperty: a null name", "CMPIBroker.classPathIsA: a null class name",
           "CMPIInstance.setProperty: an object used after its release",
           "CMPIBroker.toString: no object of this object manager",
           "CMPIInstance.setProperty: Ostrel_PCIPortGroup.Colour: the class has no such property",
           "CMPIResult.returnObjectPath: the operation returns instances",
           "CMPIEnumeration.getNext: beyond the end"}));
}

TEST(ProviderCheck, MeetsAnObjectThatWasKeptFromAnEarlierCall) {
  const auto manager = ManagerWith({"Test_Keeper"});
  EXPECT_TRUE(Enumerate(*manager, "Test_Keeper").status.ok());
  const Outcome late = Enumerate(*manager, "Test_Keeper");
  EXPECT_EQ(late.status.code, CMPI_RC_ERR_INVALID_HANDLE);
  ASSERT_EQ(late.errors.size(), 1U);
  EXPECT_EQ(ToString(late.errors[0]),
            "EnumerateInstances of Test_Keeper: CMPIResult.returnInstance: an object used after "
            "its release");
}

TEST(ProviderCheck, ReportsEveryNullOfACall) {
  const auto manager = ManagerWith({"Test_Null"});
  const Outcome outcome = Enumerate(*manager, "Test_Null");
  ASSERT_EQ(outcome.errors.size(), 4U);
  EXPECT_EQ(outcome.errors[0].text, "a null name");
  EXPECT_EQ(outcome.errors[1].text, "a null value");
  EXPECT_EQ(outcome.errors[2].function, "CMPIBroker.newObjectPath");
}

// Also objects that are dead: there is no call to report it with, but their object manager.
TEST(ProviderCheck, ReportsThreadsThatTheRequestDoesNotRunOn) {
  const auto manager = ManagerWith({"Test_Thread"});
  const Outcome outcome = Enumerate(*manager, "Test_Thread");
  EXPECT_THAT(
      Kept(outcome),
      ElementsAreArray({"CMPIObjectPath.getKeyCount: a thread that the request does not run on",
                        "CMPIInstance.getObjectPath: an object used after its release",
                        "CMPIInstance.getProperty: an object used after its release",
                        "CMPIBroker.newString: a thread that the request does not run on"}));
  for (const ProviderError& error : outcome.errors) {
    EXPECT_EQ(error.operation, "outside of any request");
  }
}

TEST(ProviderCheck, MayBeLeftOut) {
  const auto manager = ManagerWith({"Test_Plain", "Test_Outer"}, {.check_providers = false});
  EXPECT_EQ(Enumerate(*manager, "Test_Plain").found.instances.size(), 3U);
  EXPECT_TRUE(Enumerate(*manager, "Test_Outer").status.ok());
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
}

}  // namespace
}  // namespace broker
