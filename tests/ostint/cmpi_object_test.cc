#include "platform/ostint/cmpi_object.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_data.h"

namespace {

using ostInt::CmpiData;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiString;
using testing::ElementsAre;
using testing::IsEmpty;

class CmpiObjectTest : public testing::Test {
 protected:
  RecordingBroker broker_;
  ostInt::CmpiBroker wrapped_broker_{broker_.raw()};
  ostInt::BrokerScope scope_{&wrapped_broker_};
};

std::string KeyOf(const CmpiObjectPath& path, const char* name) {
  const CmpiString text = path.getKey(name);
  return text.charPtr();
}

TEST_F(CmpiObjectTest, PathsAreMadeOfNameSpaceAndClass) {
  const CmpiObjectPath path("root/cimv2", "Class");
  EXPECT_THAT(broker_.calls(), ElementsAre("newObjectPath root/cimv2 Class"));
  EXPECT_STREQ(path.toString().charPtr(), "path of Class");
}

TEST_F(CmpiObjectTest, KeysAreSetInOrderAndReadBack) {
  CmpiObjectPath path("root/cimv2", "Class");
  path.setKey("First", "1");
  path.setKey("Second", CmpiObjectPath("root/cimv2", "Other"));
  EXPECT_THAT(broker_.calls(),
              ElementsAre("newObjectPath root/cimv2 Class", "addKey First chars 1",
                          "newObjectPath root/cimv2 Other", "addKey Second ref Other"));
  EXPECT_EQ(KeyOf(path, "First"), "1");
}

TEST_F(CmpiObjectTest, AnEmptyKeyIsAValue) {
  const CmpiObjectPath path(broker_.Path("", "C", {{"DeviceID", broker_.Text("")}}));
  EXPECT_EQ(KeyOf(path, "DeviceID"), "");
}

TEST_F(CmpiObjectTest, AMissingKeyThrowsTheObjectManagersStatus) {
  const CmpiObjectPath path(broker_.Path("", "C", {{"Name", broker_.Text("x")}}));
  EXPECT_EQ(OutcomeOf([&] { path.getKey("DeviceID"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  broker_.Fail("getKey", CMPI_RC_ERR_NOT_FOUND, "no such key");
  EXPECT_EQ(OutcomeOf([&] { path.getKey("DeviceID"); }),
            (Outcome{CMPI_RC_ERR_NOT_FOUND, "no such key"}));
}

TEST_F(CmpiObjectTest, AKeyThatIsAbsentUnderAnOkStatusThrows) {
  const CmpiObjectPath path(broker_.Path("", "C"));
  broker_.GiveNull("getKey");
  EXPECT_EQ(OutcomeOf([&] { path.getKey("DeviceID"); }),
            (Outcome{CMPI_RC_ERR_NO_SUCH_PROPERTY, "the object path has no key DeviceID"}));
}

TEST_F(CmpiObjectTest, ANullKeyThrowsWhateverSaysThatItIsNull) {
  for (const CMPIValueState state :
       {CMPI_nullValue, CMPI_notFound, CMPI_badValue, CMPI_goodValue}) {
    const CmpiObjectPath path(broker_.Path("", "C", {{"K", AbsentValue(CMPI_string, state)}}));
    EXPECT_EQ(OutcomeOf([&] { path.getKey("K"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY) << state;
  }
}

TEST_F(CmpiObjectTest, SettingAKeyThatIsRefusedThrows) {
  CmpiObjectPath path("root/cimv2", "Class");
  broker_.Fail("addKey", CMPI_RC_ERR_INVALID_PARAMETER, "not a key");
  EXPECT_EQ(OutcomeOf([&] { path.setKey("K", "v"); }),
            (Outcome{CMPI_RC_ERR_INVALID_PARAMETER, "not a key"}));
}

TEST(CmpiObjectKeyTest, NamesAreFoundIgnoringCaseWhereTheObjectManagerDoesNot) {
  RecordingBroker broker({.key_case = true});
  const ostInt::CmpiBroker wrapped_broker(broker.raw());
  const ostInt::BrokerScope scope(&wrapped_broker);
  const CmpiObjectPath path(
      broker.Path("", "C", {{"NAME", broker.Text("n")}, {"deviceid", broker.Text("d")}}));
  EXPECT_EQ(KeyOf(path, "DeviceID"), "d");
  EXPECT_EQ(OutcomeOf([&] { path.getKey("Device"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(OutcomeOf([&] { path.getKey("DeviceIDs"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST(CmpiObjectKeyTest, KeysThatCannotBeListedAreMissing) {
  RecordingBroker broker({.key_case = true});
  const ostInt::CmpiBroker wrapped_broker(broker.raw());
  const ostInt::BrokerScope scope(&wrapped_broker);
  const CmpiObjectPath path(broker.Path("", "C", {{"deviceid", broker.Text("d")}}));
  broker.Fail("getKeyAt", CMPI_RC_ERR_FAILED);
  EXPECT_EQ(OutcomeOf([&] { path.getKey("DeviceID"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  broker.GiveNull("getKeyAt");
  EXPECT_EQ(OutcomeOf([&] { path.getKey("DeviceID"); }).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST(CmpiObjectKeyTest, KeysAnsweredAsCharsAreRead) {
  RecordingBroker broker({.keys_as_chars = true});
  const ostInt::CmpiBroker wrapped_broker(broker.raw());
  const ostInt::BrokerScope scope(&wrapped_broker);
  const CmpiObjectPath path(broker.Path("", "C", {{"DeviceID", broker.Text("0000:00:1f.2")}}));
  EXPECT_EQ(KeyOf(path, "DeviceID"), "0000:00:1f.2");
}

TEST_F(CmpiObjectTest, PathsAndInstancesThatAreNotMadeThrow) {
  broker_.Fail("newObjectPath", CMPI_RC_ERR_INVALID_CLASS, "no such class");
  EXPECT_EQ(OutcomeOf([] { CmpiObjectPath("root/cimv2", "C"); }),
            (Outcome{CMPI_RC_ERR_INVALID_CLASS, "no such class"}));
  broker_.GiveNull("newObjectPath");
  EXPECT_EQ(OutcomeOf([] { CmpiObjectPath("root/cimv2", "C"); }),
            (Outcome{CMPI_RC_ERR_FAILED, "newObjectPath gave nothing"}));

  const CmpiObjectPath path(broker_.Path("", "C"));
  broker_.Fail("newInstance", CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(OutcomeOf([&] { CmpiInstance{path}; }).rc, CMPI_RC_ERR_NOT_FOUND);
  broker_.GiveNull("newInstance");
  EXPECT_EQ(OutcomeOf([&] { CmpiInstance{path}; }),
            (Outcome{CMPI_RC_ERR_FAILED, "newInstance gave nothing"}));
}

TEST_F(CmpiObjectTest, ATextFormThatIsNotMadeThrows) {
  const CmpiObjectPath path(broker_.Path("", "C"));
  broker_.Fail("toString", CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(OutcomeOf([&] { path.toString(); }).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  broker_.GiveNull("toString");
  EXPECT_EQ(OutcomeOf([&] { path.toString(); }),
            (Outcome{CMPI_RC_ERR_FAILED, "toString gave nothing"}));
}

TEST_F(CmpiObjectTest, InstancesPassPropertiesAndTheirFilterOn) {
  CmpiInstance instance(CmpiObjectPath(broker_.Path("", "C")));
  instance.setProperty("BusNumber", static_cast<unsigned char>(3));
  instance.setProperty("ElementName", "V D #3");
  const char* names[] = {"BusNumber", nullptr};
  const char* keys[] = {"DeviceID", nullptr};
  instance.setPropertyFilter(names, keys);
  EXPECT_THAT(broker_.calls(),
              ElementsAre("newInstance C", "setProperty BusNumber uint8 3",
                          "setProperty ElementName chars V D #3", "setPropertyFilter"));
  EXPECT_EQ(broker_.filter_properties(), names);
  EXPECT_EQ(broker_.filter_keys(), keys);
  instance.setPropertyFilter(nullptr, nullptr);
  EXPECT_EQ(broker_.filter_properties(), nullptr);
  EXPECT_EQ(broker_.filter_keys(), nullptr);
}

TEST_F(CmpiObjectTest, PropertiesAndFiltersThatAreRefusedThrow) {
  CmpiInstance instance(broker_.Instance());
  broker_.Fail("setProperty", CMPI_RC_ERR_TYPE_MISMATCH, "uint16 wanted");
  EXPECT_EQ(OutcomeOf([&] { instance.setProperty("P", "v"); }),
            (Outcome{CMPI_RC_ERR_TYPE_MISMATCH, "uint16 wanted"}));
  broker_.Fail("setPropertyFilter", CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(OutcomeOf([&] { instance.setPropertyFilter(nullptr, nullptr); }).rc,
            CMPI_RC_ERR_NOT_SUPPORTED);
}

// ---------------------------------------------------------------------------- keys of instances

class InstanceKeysTest : public testing::Test {
 protected:
  // What is set on an instance that is made of the path.
  static std::vector<std::string> SetOn(RecordingBroker& broker, const CmpiObjectPath& path) {
    const std::size_t before = broker.calls().size() + 1;  // newInstance
    const CmpiInstance instance(path);
    return {broker.calls().begin() + static_cast<std::ptrdiff_t>(before), broker.calls().end()};
  }

  static CMPIObjectPath* Association(RecordingBroker& broker) {
    const auto reference = [&](const char* name) {
      return RecordingBroker::Reference(broker.Path("", name));
    };
    return broker.Path("", "A",
                       {{"Antecedent", reference("System")}, {"Dependent", reference("Group")}});
  }
};

TEST_F(InstanceKeysTest, AreLeftToAnObjectManagerThatCopiesThem) {
  RecordingBroker broker;
  const ostInt::CmpiBroker wrapped(broker.raw());
  const ostInt::BrokerScope scope(&wrapped);
  const CmpiObjectPath path(broker.Path("", "C", {{"K", broker.Text("v")}}));
  EXPECT_THAT(SetOn(broker, path), IsEmpty());
  // From the second instance on nothing is asked.
  for (const char* question : {"getProperty", "getKeyCount", "getKeyAt"}) {
    broker.Fail(question, CMPI_RC_ERR_FAILED, "asked again");
  }
  EXPECT_THAT(SetOn(broker, path), IsEmpty());
}

TEST_F(InstanceKeysTest, AreSetWhereTheObjectManagerDoesNotCopyThem) {
  RecordingBroker broker({.copies_keys = false});
  const ostInt::CmpiBroker wrapped(broker.raw());
  const ostInt::BrokerScope scope(&wrapped);
  const CmpiObjectPath path(
      broker.Path("", "C", {{"SystemName", broker.Text("host")}, {"DeviceID", broker.Text("d")}}));
  for (int instance = 0; instance < 3; ++instance) {
    EXPECT_THAT(SetOn(broker, path),
                ElementsAre("setProperty SystemName string host", "setProperty DeviceID string d"));
  }
  EXPECT_THAT(SetOn(broker, CmpiObjectPath(Association(broker))),
              ElementsAre("setProperty Antecedent ref System", "setProperty Dependent ref Group"));
}

TEST_F(InstanceKeysTest, AreSetAsTheyAreHandedOut) {
  RecordingBroker broker({.keys_as_chars = true, .copies_keys = false});
  const ostInt::CmpiBroker wrapped(broker.raw());
  const ostInt::BrokerScope scope(&wrapped);
  const CmpiObjectPath path(broker.Path("", "C", {{"DeviceID", broker.Text("0000:00:1f.2")}}));
  EXPECT_THAT(SetOn(broker, path), ElementsAre("setProperty DeviceID chars 0000:00:1f.2"));
}

// An instance without keys tells nothing of the object manager.
TEST_F(InstanceKeysTest, AreFoundOutFromTheFirstInstanceThatHasAny) {
  RecordingBroker broker({.copies_keys = false});
  const ostInt::CmpiBroker wrapped(broker.raw());
  const ostInt::BrokerScope scope(&wrapped);
  EXPECT_THAT(SetOn(broker, CmpiObjectPath(broker.Path("", "C"))), IsEmpty());
  EXPECT_THAT(SetOn(broker, CmpiObjectPath(Association(broker))), testing::SizeIs(2));
}

// Some object managers give every provider a broker of its own, perhaps where another one was.
TEST_F(InstanceKeysTest, AreFoundOutOfEachBroker) {
  for (const bool copies : {false, true, false}) {
    RecordingBroker broker({.copies_keys = copies});
    const ostInt::CmpiBroker wrapped(broker.raw());
    const ostInt::BrokerScope scope(&wrapped);
    EXPECT_THAT(SetOn(broker, CmpiObjectPath(Association(broker))),
                testing::SizeIs(copies ? 0 : 2));
  }
}

TEST_F(InstanceKeysTest, ThatAreRefusedThrow) {
  RecordingBroker broker({.copies_keys = false});
  const ostInt::CmpiBroker wrapped(broker.raw());
  const ostInt::BrokerScope scope(&wrapped);
  const CmpiObjectPath path(Association(broker));
  broker.Fail("setProperty", CMPI_RC_ERR_TYPE_MISMATCH, "no reference");
  EXPECT_EQ(OutcomeOf([&] { CmpiInstance{path}; }),
            (Outcome{CMPI_RC_ERR_TYPE_MISMATCH, "no reference"}));
  broker.Fail("getKeyAt", CMPI_RC_ERR_FAILED, "no key");
  EXPECT_EQ(OutcomeOf([&] { CmpiInstance{path}; }), (Outcome{CMPI_RC_ERR_FAILED, "no key"}));
}

// ---------------------------------------------------------------------------------- class tree

TEST_F(CmpiObjectTest, TheClassTreeIsTheObjectManagers) {
  const CmpiObjectPath path(broker_.Path("", "C"));
  broker_.class_is_a = {"CIM_Port"};
  EXPECT_TRUE(path.classPathIsA("CIM_Port"));
  EXPECT_FALSE(path.classPathIsA("CIM_System"));
}

TEST_F(CmpiObjectTest, AClassThatTheObjectManagerDoesNotKnowIsNone) {
  const CmpiObjectPath path(broker_.Path("", "C"));
  for (const CMPIrc unknown : {CMPI_RC_ERR_INVALID_CLASS, CMPI_RC_ERR_NOT_FOUND}) {
    broker_.Fail("classPathIsA", unknown);
    EXPECT_FALSE(path.classPathIsA("CIM_Port"));
  }
  broker_.Fail("classPathIsA", CMPI_RC_ERR_FAILED, "broken");
  EXPECT_EQ(OutcomeOf([&] { path.classPathIsA("CIM_Port"); }),
            (Outcome{CMPI_RC_ERR_FAILED, "broken"}));
}

}  // namespace
