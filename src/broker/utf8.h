// CIM's char16 as UTF-8 text and back.
//
// Thread rule: pure functions.

#ifndef BROKER_UTF8_H_
#define BROKER_UTF8_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace broker {

// The character in one to three bytes. Half of a surrogate pair, which alone is no character, is
// written in three bytes as well, so that it survives the way back.
inline std::string ToUtf8(char16_t c) {
  const auto byte = [](unsigned value) { return static_cast<char>(value); };
  const unsigned u = c;
  if (u < 0x80) return {byte(u)};
  if (u < 0x800) return {byte(0xc0 | (u >> 6)), byte(0x80 | (u & 0x3f))};
  return {byte(0xe0 | (u >> 12)), byte(0x80 | ((u >> 6) & 0x3f)), byte(0x80 | (u & 0x3f))};
}

// The character that the text's first bytes spell, and how many they are; nothing where they spell
// none or one that needs more than 16 bits.
struct Char16Read {
  char16_t value;
  std::size_t bytes;
};
inline std::optional<Char16Read> FirstChar16(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = at(0);
  if (lead < 0x80) return Char16Read{static_cast<char16_t>(lead), 1};
  const std::size_t bytes = lead >= 0xc2 && lead < 0xe0 ? 2U : (lead >> 4) == 0xe ? 3U : 0U;
  if (bytes == 0 || text.size() < bytes) return std::nullopt;
  unsigned value = bytes == 2 ? lead & 0x1f : lead & 0x0f;
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((at(i) & 0xc0) != 0x80) return std::nullopt;
    value = (value << 6) | (at(i) & 0x3f);
  }
  if (bytes == 3 && value < 0x800) return std::nullopt;
  return Char16Read{static_cast<char16_t>(value), bytes};
}

}  // namespace broker

#endif  // BROKER_UTF8_H_
