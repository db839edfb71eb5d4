// The properties that the provider library sets on the recorded host, through the host control
// library for Linux.

#include <gtest/gtest.h>
#include <stdlib.h>

#include "broker/served_schema.h"

namespace {

TEST(ServedSchema, DeclaresAllThatTheLibrarySetsOnTheRecordedHost) {
  ASSERT_EQ(setenv("HOSTCTL_PCI_DUMP", RECORDED_DUMP, 1), 0);
  const SetProperties set = ExpectServedAsDeclared(PROVIDER_LIBRARY);
  EXPECT_TRUE(set.contains("Ostrel_PCIeSwitch"));
}

}  // namespace
