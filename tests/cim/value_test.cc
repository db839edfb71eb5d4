#include "cim/value.h"

#include <gtest/gtest.h>

#include <utility>

#include "cim/status.h"

namespace cim {
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
  EXPECT_NE(Value::Null(CMPI_uint8), Value::Null(CMPI_string));
  EXPECT_NE(Value::ArrayOf(CMPI_uint8, {}), Value::ArrayOf(CMPI_uint16, {}));
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
  EXPECT_EQ(ToText(Value(~std::uint64_t{0})), "18446744073709551615");
  EXPECT_EQ(ToText(Value(0.5F)), "0.5");
  EXPECT_EQ(ToText(Value(-0.125)), "-0.125");
  EXPECT_EQ(ToText(Value(DateTime{"00000001010101.000000:000"})), "00000001010101.000000:000");
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
  const std::pair<CMPIType, const char*> names[] = {
      {CMPI_null, "null"},     {CMPI_boolean, "boolean"},   {CMPI_char16, "char16"},
      {CMPI_real32, "real32"}, {CMPI_real64, "real64"},     {CMPI_uint8, "uint8"},
      {CMPI_uint16, "uint16"}, {CMPI_uint32, "uint32"},     {CMPI_uint64, "uint64"},
      {CMPI_sint8, "sint8"},   {CMPI_sint16, "sint16"},     {CMPI_sint32, "sint32"},
      {CMPI_sint64, "sint64"}, {CMPI_instance, "instance"}, {CMPI_ref, "reference"},
      {CMPI_args, "args"},     {CMPI_string, "string"},     {CMPI_enumeration, "enumeration"},
      {CMPI_chars, "chars"},   {CMPI_dateTime, "datetime"}, {CMPI_uint16 | CMPI_ARRAY, "uint16[]"}};
  for (const auto& [type, name] : names) EXPECT_EQ(TypeName(type), name);
  EXPECT_EQ(TypeName(0x0BAD), "unknown");
}

TEST(Status, TellsNameNumberAndText) {
  const std::pair<CMPIrc, const char*> names[] = {
      {CMPI_RC_ERR_ACCESS_DENIED, "CMPI_RC_ERR_ACCESS_DENIED (2)"},
      {CMPI_RC_ERR_INVALID_NAMESPACE, "CMPI_RC_ERR_INVALID_NAMESPACE (3)"},
      {CMPI_RC_ERR_INVALID_PARAMETER, "CMPI_RC_ERR_INVALID_PARAMETER (4)"},
      {CMPI_RC_ERR_INVALID_CLASS, "CMPI_RC_ERR_INVALID_CLASS (5)"},
      {CMPI_RC_ERR_NOT_FOUND, "CMPI_RC_ERR_NOT_FOUND (6)"},
      {CMPI_RC_ERR_NOT_SUPPORTED, "CMPI_RC_ERR_NOT_SUPPORTED (7)"},
      {CMPI_RC_ERR_CLASS_HAS_CHILDREN, "CMPI_RC_ERR_CLASS_HAS_CHILDREN (8)"},
      {CMPI_RC_ERR_CLASS_HAS_INSTANCES, "CMPI_RC_ERR_CLASS_HAS_INSTANCES (9)"},
      {CMPI_RC_ERR_INVALID_SUPERCLASS, "CMPI_RC_ERR_INVALID_SUPERCLASS (10)"},
      {CMPI_RC_ERR_ALREADY_EXISTS, "CMPI_RC_ERR_ALREADY_EXISTS (11)"},
      {CMPI_RC_ERR_NO_SUCH_PROPERTY, "CMPI_RC_ERR_NO_SUCH_PROPERTY (12)"},
      {CMPI_RC_ERR_TYPE_MISMATCH, "CMPI_RC_ERR_TYPE_MISMATCH (13)"},
      {CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, "CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED (14)"},
      {CMPI_RC_ERR_INVALID_QUERY, "CMPI_RC_ERR_INVALID_QUERY (15)"},
      {CMPI_RC_ERR_METHOD_NOT_AVAILABLE, "CMPI_RC_ERR_METHOD_NOT_AVAILABLE (16)"},
      {CMPI_RC_ERR_METHOD_NOT_FOUND, "CMPI_RC_ERR_METHOD_NOT_FOUND (17)"},
      {CMPI_RC_DO_NOT_UNLOAD, "CMPI_RC_DO_NOT_UNLOAD (50)"},
      {CMPI_RC_NEVER_UNLOAD, "CMPI_RC_NEVER_UNLOAD (51)"},
      {CMPI_RC_ERR_INVALID_HANDLE, "CMPI_RC_ERR_INVALID_HANDLE (60)"},
      {CMPI_RC_ERR_INVALID_DATA_TYPE, "CMPI_RC_ERR_INVALID_DATA_TYPE (61)"},
      {CMPI_RC_ERROR_SYSTEM, "CMPI_RC_ERROR_SYSTEM (100)"},
      {CMPI_RC_ERROR, "CMPI_RC_ERROR (200)"}};
  for (const auto& [code, name] : names) EXPECT_EQ(StatusName(code), name);
  EXPECT_EQ(StatusName(static_cast<CMPIrc>(123)), "CMPI_RC (123)");
  EXPECT_EQ(ToString(Status{}), "CMPI_RC_OK (0)");
  EXPECT_EQ(ToString(Status{CMPI_RC_ERR_FAILED, "why"}), "CMPI_RC_ERR_FAILED (1): why");
}

}  // namespace
}  // namespace cim
