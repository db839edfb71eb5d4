// Characters as UTF-8 text and back.
//
// Thread rule: pure functions.

#ifndef CIM_UTF8_H_
#define CIM_UTF8_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace cim {

// CIM's char16 in one to three bytes. Half of a surrogate pair, which alone is no character, is
// written in three bytes as well, so that it survives the way back.
inline std::string ToUtf8(char16_t c) {
  const auto byte = [](unsigned value) { return static_cast<char>(value); };
  const unsigned u = c;
  if (u < 0x80) return {byte(u)};
  if (u < 0x800) return {byte(0xc0 | (u >> 6)), byte(0x80 | (u & 0x3f))};
  return {byte(0xe0 | (u >> 12)), byte(0x80 | ((u >> 6) & 0x3f)), byte(0x80 | (u & 0x3f))};
}

// The character that the text's first bytes spell, and how many they are; nothing where they spell
// none. Half of a surrogate pair counts as one.
struct CharacterRead {
  char32_t value;
  std::size_t bytes;
};
inline std::optional<CharacterRead> FirstCharacter(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = at(0);
  if (lead < 0x80) return CharacterRead{lead, 1};
  const std::size_t bytes = lead >= 0xf5   ? 0U
                            : lead >= 0xf0 ? 4U
                            : lead >= 0xe0 ? 3U
                            : lead >= 0xc2 ? 2U
                                           : 0U;
  if (bytes == 0 || text.size() < bytes) return std::nullopt;
  char32_t value = lead & (0xffU >> (bytes + 1));
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((at(i) & 0xc0) != 0x80) return std::nullopt;
    value = (value << 6) | (at(i) & 0x3f);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (value < kSmallest[bytes] || value > 0x10ffff) return std::nullopt;
  return CharacterRead{value, bytes};
}

}  // namespace cim

#endif  // CIM_UTF8_H_
