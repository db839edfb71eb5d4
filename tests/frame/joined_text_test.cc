#include "frame/joined_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(JoinedTextTest, IsTheTwoTextsWhateverTheirLengths) {
  // Around the size up to which a text needs no memory.
  for (std::size_t left_size = 0; left_size < 130; ++left_size) {
    for (const std::size_t right_size : {0U, 1U, 3U, 62U, 63U, 64U, 65U, 200U}) {
      const std::string left(left_size, 'l');
      const std::string right(right_size, 'r');
      EXPECT_EQ(JoinedText(left, right).c_str(), left + right);
    }
  }
}

TEST(JoinedTextTest, EndsWhereATextHoldsAZero) {
  EXPECT_STREQ(JoinedText(std::string("a\0b", 3), "-ep").c_str(), "a");
}

}  // namespace
