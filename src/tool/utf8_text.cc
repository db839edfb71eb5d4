#include "tool/utf8_text.h"

#include <algorithm>

#include "cim/utf8.h"

#include "cim/text.h"

namespace tool {
namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; }

// How many bytes the text's first character takes, 0 where they spell none (Unicode 15, table 3-7).
std::size_t LengthOfFirst(std::string_view text, char32_t& character) {
  const auto read = cim::FirstCharacter(text);
  if (!read || (read->value >= 0xd800 && read->value < 0xe000)) return 0;
  character = read->value;
  return read->bytes;
}

// How many characters of printable ASCII, which everybody keeps, the text begins with.
std::size_t PlainLength(std::string_view text) {
  const auto* end =
      std::find_if_not(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7f; });
  return static_cast<std::size_t>(end - text.begin());
}

template <class Keep>
std::string Filter(std::string_view text, Keep keep) {
  std::string out;
  out.reserve(text.size());
  while (true) {
    const std::size_t plain = PlainLength(text);
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    char32_t character = 0;
    const std::size_t bytes = LengthOfFirst(text, character);
    out += bytes > 0 && keep(character) ? text.substr(0, bytes) : kReplacement;
    text.remove_prefix(std::max<std::size_t>(bytes, 1));
  }
  return out;
}

}  // namespace

std::string ValidUtf8(std::string_view text) {
  return Filter(text, [](char32_t) { return true; });
}

std::string PrintableUtf8(std::string_view text) {
  return Filter(text, [](char32_t c) { return c >= 0x20 && (c < 0x7f || c >= 0xa0); });
}

std::size_t Width(std::string_view text) {
  std::size_t width = 0;
  for (const char c : text) width += IsContinuation(c) ? 0 : 1;
  return width;
}

std::string Cut(std::string_view text, std::size_t width, std::string_view ellipsis) {
  if (Width(text) <= width) return std::string(text);
  const std::size_t mark = Width(ellipsis);
  const std::size_t kept = width > mark ? width - mark : 0;
  std::size_t end = 0;
  for (std::size_t characters = 0; end < text.size(); ++end) {
    if (!IsContinuation(text[end]) && characters++ == kept) break;
  }
  std::string out(text.substr(0, end));
  if (width >= mark) out += ellipsis;
  return out;
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), cim::LowerAscii);
  return lower;
}

}  // namespace tool
