// Two texts put together, on the stack unless they are long: what an element's name is made of
// lives no longer than the call that takes it.
//
// Thread rule: a plain value.

#ifndef FRAME_JOINED_TEXT_H_
#define FRAME_JOINED_TEXT_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

class JoinedText {
 public:
  JoinedText(std::string_view left, std::string_view right) {
    const std::size_t size = left.size() + right.size();
    if (size >= short_.size()) {
      long_ = std::make_unique<char[]>(size + 1);  // NOLINT(cppcoreguidelines-avoid-c-arrays)
      text_ = long_.get();
    }
    *std::copy(right.begin(), right.end(), std::copy(left.begin(), left.end(), text_)) = '\0';
  }
  JoinedText(const JoinedText&) = delete;
  JoinedText& operator=(const JoinedText&) = delete;

  const char* c_str() const { return text_; }

 private:
  std::array<char, 64> short_;
  std::unique_ptr<char[]> long_;  // NOLINT(cppcoreguidelines-avoid-c-arrays)
  char* text_ = short_.data();
};

#endif  // FRAME_JOINED_TEXT_H_
