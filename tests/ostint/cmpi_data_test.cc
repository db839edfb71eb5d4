#include "platform/ostint/cmpi_data.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_broker.h"

namespace {

using ostInt::CmpiArray;
using ostInt::CmpiData;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiString;

class CmpiDataTest : public testing::Test {
 protected:
  RecordingBroker broker_;
  ostInt::CmpiBroker wrapped_broker_{broker_.raw()};
  ostInt::BrokerScope scope_{&wrapped_broker_};
};

template <typename Target>
Outcome Converting(const CMPIData& data) {
  return OutcomeOf([&] { static_cast<void>(static_cast<Target>(CmpiData(data))); });
}

TEST_F(CmpiDataTest, TextTravelsAsTheCallersOwnPointer) {
  const char* text = "text";
  const CmpiData data(text);
  EXPECT_EQ(data.type(), CMPI_chars);
  EXPECT_EQ(reinterpret_cast<const char*>(data.value()), text);
  EXPECT_EQ(broker_.live_objects(), 0U);
}

TEST_F(CmpiDataTest, NumbersKeepTheirWidth) {
  const CmpiData uint8(static_cast<unsigned char>(0xff));
  EXPECT_EQ(uint8.type(), CMPI_uint8);
  EXPECT_EQ(uint8.value()->uint8, 0xff);
  const CmpiData uint16(static_cast<unsigned short>(0xffff));
  EXPECT_EQ(uint16.type(), CMPI_uint16);
  EXPECT_EQ(uint16.value()->uint16, 0xffff);
}

TEST_F(CmpiDataTest, BooleansAndOtherNumbersAreNoProperties) {
  EXPECT_FALSE((std::is_constructible_v<CmpiData, bool>));
  EXPECT_FALSE((std::is_convertible_v<int, CmpiData>));
  EXPECT_FALSE((std::is_convertible_v<unsigned, CmpiData>));
}

TEST_F(CmpiDataTest, ArraysAndPathsPointToTheirObjects) {
  CmpiArray array(2, CMPI_uint16);
  const CmpiData array_data(array);
  EXPECT_EQ(array_data.type(), CMPI_uint16 | CMPI_ARRAY);
  EXPECT_EQ(array_data.value()->array, array.raw());
  const CmpiObjectPath path("root/cimv2", "C");
  const CmpiData path_data(path);
  EXPECT_EQ(path_data.type(), CMPI_ref);
  EXPECT_EQ(path_data.value()->ref, path.raw());
}

TEST_F(CmpiDataTest, ValuesAreAsSmallAsWhatTheyHold) {
  EXPECT_EQ(sizeof(CmpiData), sizeof(CMPIData));
  EXPECT_EQ(sizeof(CmpiObjectPath), sizeof(void*));
  EXPECT_EQ(sizeof(CmpiInstance), sizeof(void*));
  EXPECT_EQ(sizeof(CmpiString), sizeof(void*));
}

TEST_F(CmpiDataTest, TextIsReadFromStringsAndFromChars) {
  EXPECT_STREQ(CmpiString(CmpiData(broker_.Text("a"))).charPtr(), "a");
  EXPECT_STREQ(CmpiString(CmpiData(broker_.Chars("b"))).charPtr(), "b");
  EXPECT_STREQ(CmpiString(CmpiData(broker_.Text(""))).charPtr(), "");
}

TEST_F(CmpiDataTest, AStringWithoutCharactersReadsAsEmpty) {
  const CmpiString string(broker_.String("gone"));
  broker_.GiveNull("getCharPtr");
  EXPECT_STREQ(string.charPtr(), "");
}

TEST_F(CmpiDataTest, AStringThatCannotBeReadThrows) {
  const CmpiString string(broker_.String("x"));
  broker_.Fail("getCharPtr", CMPI_RC_ERR_INVALID_HANDLE);
  EXPECT_EQ(OutcomeOf([&] { string.charPtr(); }), (Outcome{CMPI_RC_ERR_INVALID_HANDLE, ""}));
}

TEST_F(CmpiDataTest, CharsThrowWhereNoStringIsMade) {
  broker_.Fail("newString", CMPI_RC_ERR_FAILED);
  EXPECT_EQ(Converting<CmpiString>(broker_.Chars("x")).rc, CMPI_RC_ERR_FAILED);
  broker_.GiveNull("newString");
  EXPECT_EQ(Converting<CmpiString>(broker_.Chars("x")),
            (Outcome{CMPI_RC_ERR_FAILED, "newString gave nothing"}));
}

TEST_F(CmpiDataTest, ReferencesAndInstancesAreReadAsTheyAre) {
  CMPIObjectPath* path = broker_.Path("root/cimv2", "C");
  EXPECT_EQ(CmpiObjectPath(CmpiData(RecordingBroker::Reference(path))).raw(), path);
  CMPIData data{CMPI_instance, CMPI_goodValue, {}};
  data.value.inst = broker_.Instance();
  EXPECT_EQ(CmpiInstance(CmpiData(data)).raw(), data.value.inst);
}

TEST_F(CmpiDataTest, AnotherTypeIsAMismatch) {
  const CMPIData text = broker_.Text("x");
  const CMPIData reference = RecordingBroker::Reference(broker_.Path("", "C"));
  const Outcome no_string{CMPI_RC_ERR_TYPE_MISMATCH, "not a string"};
  EXPECT_EQ(Converting<CmpiString>(Uint8Value(1)), no_string);
  EXPECT_EQ(Converting<CmpiString>(reference), no_string);
  const Outcome no_reference{CMPI_RC_ERR_TYPE_MISMATCH, "not a reference"};
  EXPECT_EQ(Converting<CmpiObjectPath>(text), no_reference);
  EXPECT_EQ(Converting<CmpiObjectPath>(broker_.Chars("root/cimv2:C")), no_reference);
  // A path is no instance, although an instance could be made from it.
  const Outcome no_instance{CMPI_RC_ERR_TYPE_MISMATCH, "not an instance"};
  EXPECT_EQ(Converting<CmpiInstance>(reference), no_instance);
  EXPECT_EQ(Converting<CmpiInstance>(text), no_instance);
}

TEST_F(CmpiDataTest, AnArrayOfTheTypeIsAMismatchToo) {
  CMPIData array{CMPI_string | CMPI_ARRAY, CMPI_goodValue, {}};
  array.value.array = CmpiArray(1, CMPI_string).raw();
  EXPECT_EQ(Converting<CmpiString>(array).rc, CMPI_RC_ERR_TYPE_MISMATCH);
}

class AbsentDataTest : public CmpiDataTest, public testing::WithParamInterface<CMPIData> {};

TEST_P(AbsentDataTest, IsNullAndConvertsToNothing) {
  EXPECT_TRUE(CmpiData(GetParam()).isNull());
  const Outcome null{CMPI_RC_ERR_NO_SUCH_PROPERTY, "the value is null"};
  EXPECT_EQ(Converting<CmpiString>(GetParam()), null);
  EXPECT_EQ(Converting<CmpiObjectPath>(GetParam()), null);
  EXPECT_EQ(Converting<CmpiInstance>(GetParam()), null);
}

INSTANTIATE_TEST_SUITE_P(ByStateOrByNullPointer, AbsentDataTest,
                         testing::Values(AbsentValue(CMPI_string, CMPI_nullValue),
                                         AbsentValue(CMPI_ref, CMPI_nullValue | CMPI_keyValue),
                                         AbsentValue(CMPI_null, CMPI_notFound),
                                         AbsentValue(CMPI_instance, CMPI_badValue),
                                         AbsentValue(CMPI_uint8, CMPI_nullValue),
                                         AbsentValue(CMPI_null, CMPI_goodValue),
                                         AbsentValue(CMPI_string, CMPI_goodValue),
                                         AbsentValue(CMPI_chars, CMPI_keyValue),
                                         AbsentValue(CMPI_ref, CMPI_goodValue),
                                         AbsentValue(CMPI_instance, CMPI_goodValue),
                                         AbsentValue(CMPI_uint16 | CMPI_ARRAY, CMPI_goodValue)));

TEST_F(CmpiDataTest, ZeroAndTheEmptyTextAreValues) {
  EXPECT_FALSE(CmpiData(Uint8Value(0)).isNull());
  EXPECT_FALSE(CmpiData(Uint64Value(0)).isNull());
  EXPECT_FALSE(CmpiData(broker_.Text("")).isNull());
  EXPECT_TRUE(CmpiData::Null().isNull());
}

TEST_F(CmpiDataTest, AnArrayIsMadeOfItsCountAndTypeAndFilledByPosition) {
  CmpiArray array(3, CMPI_uint16);
  EXPECT_EQ(array.element_type(), CMPI_uint16);
  array[2] = static_cast<unsigned short>(7);
  EXPECT_EQ(broker_.calls(),
            (std::vector<std::string>{"newArray 3 of type 144", "setElementAt 2 uint16 7"}));
}

TEST_F(CmpiDataTest, AnArrayMayBeEmpty) {
  CmpiArray array(0, CMPI_uint16);
  EXPECT_NE(array.raw(), nullptr);
}

TEST_F(CmpiDataTest, AnArrayThatIsNotMadeOrNotFilledThrows) {
  CmpiArray array(1, CMPI_uint16);
  broker_.Fail("setElementAt", CMPI_RC_ERR_TYPE_MISMATCH, "no");
  EXPECT_EQ(OutcomeOf([&] { array[0] = static_cast<unsigned short>(1); }),
            (Outcome{CMPI_RC_ERR_TYPE_MISMATCH, "no"}));
  broker_.GiveNull("newArray");
  EXPECT_EQ(OutcomeOf([] { CmpiArray(1, CMPI_uint16); }),
            (Outcome{CMPI_RC_ERR_FAILED, "newArray gave nothing"}));
  broker_.Fail("newArray", CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(OutcomeOf([] { CmpiArray(1, CMPI_uint16); }).rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

}  // namespace
