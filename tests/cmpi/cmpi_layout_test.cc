// The CMPI records as the other side of the interface sees them: by offset, in memory. The header's
// own asserts hold most of the layout; here is what only shows at run time.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/cmpi/cmpi.h"

namespace {

template <typename Field, typename Record>
Field ReadAt(const Record& record, std::size_t offset) {
  Field field;
  const auto* bytes = reinterpret_cast<const std::byte*>(&record);
  std::memcpy(&field, bytes + offset, sizeof(Field));  // NOLINT(bugprone-sizeof-expression)
  return field;
}

TEST(CmpiLayoutTest, DataHoldsTypeStateAndValueInOrder) {
  CMPIData data = {};
  data.type = CMPI_uint16;
  data.state = CMPI_keyValue;
  data.value.uint64 = 0x0102030405060708;
  EXPECT_EQ(ReadAt<std::uint16_t>(data, 0), 0x0090);
  EXPECT_EQ(ReadAt<std::uint16_t>(data, 2), 0x0200);
  EXPECT_EQ(ReadAt<std::uint64_t>(data, 8), 0x0102030405060708U);
}

TEST(CmpiLayoutTest, ArrayTypesAreTheElementTypeWithOneBitMore) {
  const CMPIType array = CMPI_uint16 | CMPI_ARRAY;
  EXPECT_EQ(array, 0x2090);
  EXPECT_EQ(array & static_cast<CMPIType>(~CMPI_ARRAY), CMPI_uint16);
}

TEST(CmpiLayoutTest, StatusHoldsCodeAndMessage) {
  CMPIString text = {};
  const CMPIStatus status = {CMPI_RC_ERR_NOT_FOUND, &text};
  EXPECT_EQ(ReadAt<std::int32_t>(status, 0), 6);
  EXPECT_EQ(ReadAt<const CMPIString*>(status, 8), &text);
}

TEST(CmpiLayoutTest, InstanceTableStartsWithVersionsAndName) {
  CMPIInstanceMIFT table = {};
  table.ftVersion = 200;
  table.miVersion = 201;
  table.miName = "instance";
  EXPECT_EQ(ReadAt<std::int32_t>(table, 0), 200);
  EXPECT_EQ(ReadAt<std::int32_t>(table, 4), 201);
  EXPECT_STREQ(ReadAt<const char*>(table, 8), "instance");
}

}  // namespace
