#include "frame/header_constants.h"

#include <gtest/gtest.h>

#include <iterator>
#include <type_traits>

#include "frame/header_constants_elsewhere.h"

namespace {

static_assert(std::is_same_v<decltype(kFlowDirections), const std::string[4]>);

TEST(HeaderConstantsTest, EveryIncludingFileHasItsOwn) {
  const std::string* const here[] = {&kFlowDirections[0],
                                     &kFlowDirections[1],
                                     &kFlowDirections[2],
                                     &kFlowDirections[3],
                                     &kUnspecifiedAddress,
                                     &kCongestionControl,
                                     &kEnabled};
  const char* const texts[] = {"down", "listen", "advertise", "both", "::", "newreno", "enabled"};
  const std::vector<const std::string*> elsewhere = ConstantsElsewhere();
  ASSERT_EQ(elsewhere.size(), std::size(texts));
  for (std::size_t constant = 0; constant < std::size(texts); ++constant) {
    EXPECT_EQ(*here[constant], texts[constant]);
    EXPECT_EQ(*elsewhere[constant], texts[constant]);
    EXPECT_NE(here[constant], elsewhere[constant]);
  }
}

}  // namespace
