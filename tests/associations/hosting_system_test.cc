// What the associations return of an object manager that knows several systems, or none.

#include "associations/hosting_system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostint/recording_broker.h"

namespace {

using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiResult;
using testing::ElementsAre;
using testing::IsEmpty;

class HostingSystemTest : public testing::Test {
 protected:
  void Return(const char** properties = nullptr) {
    ReturnHostingSystem(CmpiBroker(broker_.raw()), context_, result_, properties);
  }
  void ReturnRef() { ReturnHostingSystemRef(CmpiBroker(broker_.raw()), context_, result_); }

  // What was returned, without what was made for asking.
  std::vector<std::string> Returned() {
    std::vector<std::string> calls = broker_.calls();
    std::erase_if(calls, [](const std::string& call) { return call.rfind("return", 0) != 0; });
    return calls;
  }

  CMPIData PathOf(const char* class_name) {
    return RecordingBroker::Reference(broker_.Path("root/cimv2", class_name));
  }
  CMPIData Instance() {
    CMPIData data{CMPI_instance, CMPI_goodValue, {}};
    data.value.inst = broker_.Instance();
    return data;
  }

  RecordingBroker broker_;
  ostInt::CmpiBroker wrapped_broker_{broker_.raw()};
  ostInt::BrokerScope scope_{&wrapped_broker_};
  CmpiContext context_{RecordingBroker::Context()};
  CmpiResult result_{broker_.Result()};
};

TEST_F(HostingSystemTest, ReturnsTheFirstOfSeveralNames) {
  broker_.found = {PathOf("First"), PathOf("Second"), PathOf("Third")};
  ReturnRef();
  EXPECT_THAT(Returned(), ElementsAre("returnObjectPath First"));
}

TEST_F(HostingSystemTest, ReturnsOneOfSeveralInstances) {
  broker_.found = {Instance(), Instance(), Instance()};
  const char* properties[] = {"Name", nullptr};
  Return(static_cast<const char**>(properties));
  EXPECT_THAT(Returned(), ElementsAre("returnInstance"));
  EXPECT_EQ(broker_.upcall_properties(), properties);
}

TEST_F(HostingSystemTest, ReturnsNothingWhereThereIsNone) {
  Return();
  ReturnRef();
  EXPECT_THAT(Returned(), IsEmpty());
}

}  // namespace
