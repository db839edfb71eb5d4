#include "tool/utf8_text.h"

#include <algorithm>
#include <optional>

namespace tool {
namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";

struct Decoded {
  char32_t character;
  std::size_t bytes;
};

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; }

std::size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xc2 && lead < 0xe0) return 2;
  if (lead >= 0xe0 && lead < 0xf0) return 3;
  if (lead >= 0xf0 && lead < 0xf5) return 4;
  return 0;
}

// The well-formed character at the text's beginning (Unicode 15, table 3-7).
std::optional<Decoded> First(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t bytes = SequenceLength(lead);
  if (bytes == 0 || text.size() < bytes) return std::nullopt;
  if (bytes == 1) return Decoded{lead, 1};
  char32_t character = lead & (0xffU >> (bytes + 1));
  for (std::size_t i = 1; i < bytes; ++i) {
    if (!IsContinuation(text[i])) return std::nullopt;
    character = (character << 6) | (static_cast<unsigned char>(text[i]) & 0x3fU);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = character >= 0xd800 && character < 0xe000;
  if (character < kSmallest[bytes] || surrogate || character > 0x10ffff) return std::nullopt;
  return Decoded{character, bytes};
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
    const std::optional<Decoded> next = First(text);
    const std::size_t bytes = next ? next->bytes : 1;
    out += next && keep(next->character) ? text.substr(0, bytes) : kReplacement;
    text.remove_prefix(bytes);
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

std::string XmlUtf8(std::string_view text) {
  return Filter(text, [](char32_t c) {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c != 0xfffe && c != 0xffff);
  });
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

}  // namespace tool
