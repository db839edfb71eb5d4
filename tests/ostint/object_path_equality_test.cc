// Equality of object paths: what CIM calls the same element, whoever spelt the path.

#include <gtest/gtest.h>

#include <string>

#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"

namespace {

using ostInt::CmpiObjectPath;

class ObjectPathEqualityTest : public testing::Test {
 protected:
  using Keys = std::initializer_list<std::pair<std::string, CMPIData>>;

  CMPIObjectPath* Path(Keys keys) { return broker_.Path("root/cimv2", "C", keys); }
  CMPIData Ref(Keys keys) { return RecordingBroker::Reference(Path(keys)); }
  CMPIData Time(const std::string& text) {
    CMPIData data{CMPI_dateTime, CMPI_goodValue, {}};
    data.value.dateTime = broker_.DateTime(text);
    return data;
  }

  // Equality, both ways round and with its negation.
  static bool Equal(const CMPIObjectPath* a, const CMPIObjectPath* b) {
    const CmpiObjectPath left(a);
    const CmpiObjectPath right(b);
    const bool equal = left == right;
    EXPECT_EQ(right == left, equal);
    EXPECT_EQ(left != right, !equal);
    return equal;
  }
  bool SameKey(const CMPIData& a, const CMPIData& b) {
    return Equal(Path({{"K", a}}), Path({{"K", b}}));
  }

  RecordingBroker broker_;
  ostInt::CmpiBroker wrapped_broker_{broker_.raw()};
  ostInt::BrokerScope scope_{&wrapped_broker_};
};

TEST_F(ObjectPathEqualityTest, APathEqualsItself) {
  const CMPIObjectPath* path = Path({{"K", broker_.Text("v")}});
  EXPECT_TRUE(Equal(path, path));
}

TEST_F(ObjectPathEqualityTest, NamesAreComparedIgnoringCase) {
  const CMPIData value = broker_.Text("v");
  EXPECT_TRUE(Equal(broker_.Path("root/cimv2", "Ostrel_PCIDevice", {{"DeviceID", value}}),
                    broker_.Path("ROOT/CIMv2", "OSTREL_pcidevice", {{"deviceId", value}})));
}

TEST_F(ObjectPathEqualityTest, NamesThatDifferMakePathsDiffer) {
  const CMPIData value = broker_.Text("v");
  const CMPIObjectPath* path = Path({{"K", value}});
  EXPECT_FALSE(Equal(path, broker_.Path("root/other", "C", {{"K", value}})));
  EXPECT_FALSE(Equal(path, broker_.Path("root/cimv2", "D", {{"K", value}})));
  EXPECT_FALSE(Equal(path, broker_.Path("root/cimv2", "CC", {{"K", value}})));
  EXPECT_FALSE(Equal(path, Path({{"KK", value}})));
  // Only letters have a case: '[' and '{' are 32 apart as well.
  EXPECT_FALSE(Equal(broker_.Path("", "a["), broker_.Path("", "a{")));
}

TEST_F(ObjectPathEqualityTest, APathWithoutNameSpaceIsLocal) {
  EXPECT_TRUE(Equal(broker_.Path("", "C"), broker_.Path("root/cimv2", "C")));
  EXPECT_TRUE(Equal(broker_.Path("", "C"), broker_.Path("", "C")));
}

TEST_F(ObjectPathEqualityTest, ANameSpaceThatIsNotAnsweredIsNone) {
  broker_.GiveNull("getNameSpace");
  EXPECT_TRUE(Equal(broker_.Path("root/a", "C"), broker_.Path("root/b", "C")));
  broker_.Fail("getNameSpace", CMPI_RC_ERR_FAILED);
  EXPECT_TRUE(Equal(broker_.Path("root/a", "C"), broker_.Path("root/b", "C")));
}

TEST_F(ObjectPathEqualityTest, KeysStandInAnyOrder) {
  const CMPIData a = broker_.Text("a");
  const CMPIData b = broker_.Text("b");
  EXPECT_TRUE(Equal(Path({{"A", a}, {"B", b}}), Path({{"b", b}, {"a", a}})));
  EXPECT_FALSE(Equal(Path({{"A", a}, {"B", b}}), Path({{"A", b}, {"B", a}})));
}

TEST_F(ObjectPathEqualityTest, TheNumberOfKeysCounts) {
  const CMPIData a = broker_.Text("a");
  EXPECT_FALSE(Equal(Path({}), Path({{"A", a}})));
  EXPECT_FALSE(Equal(Path({{"A", a}}), Path({{"A", a}, {"B", a}})));
  EXPECT_TRUE(Equal(Path({}), Path({})));
}

TEST_F(ObjectPathEqualityTest, ADuplicateKeyDoesNotStandForAnother) {
  const CMPIData a = broker_.Text("a");
  EXPECT_FALSE(Equal(Path({{"A", a}, {"a", a}}), Path({{"A", a}, {"B", a}})));
}

TEST_F(ObjectPathEqualityTest, TextIsComparedByteForByte) {
  EXPECT_TRUE(SameKey(broker_.Text("host"), broker_.Text("host")));
  EXPECT_FALSE(SameKey(broker_.Text("host"), broker_.Text("Host")));
  EXPECT_FALSE(SameKey(broker_.Text("host"), broker_.Text("host ")));
  EXPECT_FALSE(SameKey(broker_.Text(""), broker_.Text("host")));
  EXPECT_TRUE(SameKey(broker_.Text(""), broker_.Text("")));
}

TEST_F(ObjectPathEqualityTest, CharsAndStringsAreText) {
  EXPECT_TRUE(SameKey(broker_.Chars("x"), broker_.Text("x")));
  EXPECT_TRUE(SameKey(broker_.Chars("x"), broker_.Chars("x")));
  EXPECT_FALSE(SameKey(broker_.Chars("x"), broker_.Text("y")));
}

TEST_F(ObjectPathEqualityTest, IntegersAreNumbersWhateverTheirWidth) {
  EXPECT_TRUE(SameKey(Uint8Value(200), Uint16Value(200)));
  EXPECT_TRUE(SameKey(Uint16Value(7), Sint8Value(7)));
  EXPECT_TRUE(SameKey(Sint8Value(-1), Sint64Value(-1)));
  EXPECT_FALSE(SameKey(Uint8Value(1), Uint16Value(257)));
  // All bits set, and yet not the same number.
  EXPECT_FALSE(SameKey(Uint64Value(~0ULL), Sint64Value(-1)));
  EXPECT_FALSE(SameKey(Uint8Value(255), Sint8Value(-1)));
}

TEST_F(ObjectPathEqualityTest, EveryIntegerTypeIsRead) {
  const auto value = [](CMPIType type, auto CMPIValue::*member) {
    CMPIData data{type, CMPI_goodValue, {}};
    data.value.*member = 5;
    return data;
  };
  const CMPIData values[] = {
      value(CMPI_uint8, &CMPIValue::uint8),   value(CMPI_uint16, &CMPIValue::uint16),
      value(CMPI_uint32, &CMPIValue::uint32), value(CMPI_uint64, &CMPIValue::uint64),
      value(CMPI_sint8, &CMPIValue::sint8),   value(CMPI_sint16, &CMPIValue::sint16),
      value(CMPI_sint32, &CMPIValue::sint32), value(CMPI_sint64, &CMPIValue::sint64)};
  for (const CMPIData& left : values) {
    EXPECT_FALSE(SameKey(left, Uint8Value(6)));
    for (const CMPIData& right : values) EXPECT_TRUE(SameKey(left, right));
  }
}

TEST_F(ObjectPathEqualityTest, ANumberIsNoText) {
  EXPECT_FALSE(SameKey(Uint8Value(1), broker_.Text("1")));
}

TEST_F(ObjectPathEqualityTest, ReferencesAreComparedInDepth) {
  const CMPIData text = broker_.Text("v");
  EXPECT_TRUE(SameKey(Ref({{"Inner", Ref({{"A", text}, {"B", text}})}}),
                      Ref({{"inner", Ref({{"b", text}, {"a", text}})}})));
  EXPECT_FALSE(SameKey(Ref({{"Inner", Ref({{"A", text}})}}),
                       Ref({{"Inner", Ref({{"A", broker_.Text("w")}})}})));
  EXPECT_FALSE(SameKey(Ref({}), text));
}

TEST_F(ObjectPathEqualityTest, OtherKeyTypesAreComparedByValue) {
  CMPIData yes{CMPI_boolean, CMPI_goodValue, {}};
  yes.value.boolean = 1;
  CMPIData also_yes = yes;
  also_yes.value.boolean = 255;
  CMPIData no = yes;
  no.value.boolean = 0;
  EXPECT_TRUE(SameKey(yes, also_yes));
  EXPECT_FALSE(SameKey(yes, no));
  EXPECT_FALSE(SameKey(yes, Uint8Value(1)));

  CMPIData letter{CMPI_char16, CMPI_goodValue, {}};
  letter.value.char16 = 0x20ac;
  CMPIData other = letter;
  other.value.char16 = 0xac;
  EXPECT_TRUE(SameKey(letter, letter));
  EXPECT_FALSE(SameKey(letter, other));

  CMPIData real32{CMPI_real32, CMPI_goodValue, {}};
  real32.value.real32 = 0.5F;
  CMPIData real64{CMPI_real64, CMPI_goodValue, {}};
  real64.value.real64 = 0.5;
  EXPECT_TRUE(SameKey(real32, real32));
  EXPECT_TRUE(SameKey(real64, real64));
  EXPECT_FALSE(SameKey(real32, real64));

  EXPECT_TRUE(SameKey(Time("20261121000000.000000+000"), Time("20261121000000.000000+000")));
  EXPECT_FALSE(SameKey(Time("20261121000000.000000+000"), Time("20261121000001.000000+000")));
}

TEST_F(ObjectPathEqualityTest, WhatIsNoKeyTypeEqualsNothing) {
  CMPIData instance{CMPI_instance, CMPI_goodValue, {}};
  instance.value.inst = broker_.Instance();
  EXPECT_FALSE(SameKey(instance, instance));
}

TEST_F(ObjectPathEqualityTest, NullEqualsNullAlone) {
  const CMPIData null = AbsentValue(CMPI_string, CMPI_nullValue);
  EXPECT_TRUE(SameKey(null, AbsentValue(CMPI_null, CMPI_nullValue)));
  EXPECT_FALSE(SameKey(null, broker_.Text("")));
}

TEST_F(ObjectPathEqualityTest, NullPointersUnderAGoodStateAreNull) {
  for (const CMPIType type : {CMPI_string, CMPI_chars, CMPI_ref, CMPI_dateTime}) {
    const CMPIData null = AbsentValue(type, CMPI_goodValue);
    EXPECT_TRUE(SameKey(null, null));
    EXPECT_FALSE(SameKey(null, broker_.Text("")));
    EXPECT_FALSE(SameKey(null, Ref({})));
    EXPECT_FALSE(SameKey(null, Time("20261121000000.000000+000")));
  }
}

TEST_F(ObjectPathEqualityTest, PathsThatCannotBeReadAreNotCompared) {
  const CmpiObjectPath left(Path({{"K", broker_.Text("v")}}));
  const CmpiObjectPath right(Path({{"L", broker_.Text("w")}}));
  for (const char* function : {"getKeyAt", "getKeyCount", "getClassName"}) {
    broker_.Fail(function, CMPI_RC_ERR_INVALID_HANDLE, "broken");
    EXPECT_EQ(OutcomeOf([&] { static_cast<void>(left == right); }),
              (Outcome{CMPI_RC_ERR_INVALID_HANDLE, "broken"}))
        << function;
    broker_.Mend(function);
  }
}

}  // namespace
