#include "broker/value.h"

#include <gtest/gtest.h>

#include "broker/status.h"

namespace broker {
namespace {

TEST(Value, KeepsTheTypeThatWasSpelt) {
  EXPECT_EQ(Value(std::uint8_t{1}).type(), CMPI_uint8);
  EXPECT_EQ(Value(std::int64_t{-1}).type(), CMPI_sint64);
  EXPECT_EQ(Value(u'x').type(), CMPI_char16);
  EXPECT_EQ(Value(true).type(), CMPI_boolean);
  EXPECT_EQ(Value("text").type(), CMPI_string);
  EXPECT_EQ(Value::Null(CMPI_uint16).type(), CMPI_uint16);
  EXPECT_TRUE(Value::Null(CMPI_uint16).is_null());
  EXPECT_EQ(Value::ArrayOf(CMPI_uint16, {}).type(), CMPI_uint16 | CMPI_ARRAY);
}

TEST(Value, ComparesTypeAndContent) {
  EXPECT_EQ(Value("a"), Value("a"));
  EXPECT_NE(Value(std::uint8_t{1}), Value(std::uint16_t{1}));
  const ObjectPath path{std::nullopt, "root", "C", {{"K", Value("v")}}};
  EXPECT_EQ(Value(path), Value(path));
  ObjectPath other = path;
  other.keys[0].second = Value("w");
  EXPECT_NE(Value(path), Value(other));
  EXPECT_EQ(Value::ArrayOf(CMPI_ref, {Value(path)}), Value::ArrayOf(CMPI_ref, {Value(path)}));
  EXPECT_NE(Value::ArrayOf(CMPI_ref, {Value(path)}), Value::ArrayOf(CMPI_ref, {Value(other)}));
}

TEST(Value, ReadsIntegersOfAnyWidth) {
  EXPECT_EQ(Value(std::uint8_t{200}).as_unsigned(), 200U);
  EXPECT_EQ(Value(std::int16_t{-3}).as_signed(), -3);
  EXPECT_EQ(Value(std::int16_t{-3}).as_unsigned(), std::nullopt);
  EXPECT_EQ(Value(~std::uint64_t{0}).as_signed(), std::nullopt);
  EXPECT_EQ(Value("3").as_unsigned(), std::nullopt);
  EXPECT_EQ(Value(true).as_unsigned(), std::nullopt);
}

TEST(Value, ReadsWellAsText) {
  EXPECT_EQ(ToText(Value()), "NULL");
  EXPECT_EQ(ToText(Value(false)), "FALSE");
  EXPECT_EQ(ToText(Value(u'\u00e9')), "\xc3\xa9");
  EXPECT_EQ(ToText(Value(std::int8_t{-7})), "-7");
  EXPECT_EQ(ToText(Value::ArrayOf(CMPI_uint16, {Value(std::uint16_t{1}), Value(std::uint16_t{2})})),
            "{1, 2}");
  EXPECT_EQ(ToText(Value(ObjectPath{std::nullopt, "root", "C", {{"K", Value("v")}}})),
            "root:C.K=\"v\"");
  EXPECT_EQ(ToText(Value(Instance{{}, {{"A", Value("x")}, {"B", Value(true)}}})),
            "instance of  {A = x, B = TRUE}");
}

TEST(Value, FindsNamesIgnoringCase) {
  const Instance instance{{std::nullopt, "", "C", {{"Key", Value("k")}}}, {{"Prop", Value("p")}}};
  ASSERT_NE(instance.Find("PROP"), nullptr);
  EXPECT_EQ(*instance.path.Key("kEY"), Value("k"));
  EXPECT_EQ(instance.Find("Other"), nullptr);
}

TEST(Value, NamesTypes) {
  EXPECT_EQ(TypeName(CMPI_ref), "reference");
  EXPECT_EQ(TypeName(CMPI_uint16 | CMPI_ARRAY), "uint16[]");
  EXPECT_EQ(TypeName(0x0BAD), "unknown");
}

TEST(Status, TellsNameNumberAndText) {
  EXPECT_EQ(StatusName(CMPI_RC_ERR_NOT_FOUND), "CMPI_RC_ERR_NOT_FOUND (6)");
  EXPECT_EQ(StatusName(static_cast<CMPIrc>(123)), "CMPI_RC (123)");
  EXPECT_EQ(ToString(Status{}), "CMPI_RC_OK (0)");
  EXPECT_EQ(ToString(Status{CMPI_RC_ERR_FAILED, "why"}), "CMPI_RC_ERR_FAILED (1): why");
}

}  // namespace
}  // namespace broker
