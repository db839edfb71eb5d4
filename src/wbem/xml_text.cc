#include "wbem/xml_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "cim/utf8.h"

namespace wbem {

namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";  // U+FFFD

constexpr bool IsXmlCharacter(std::uint32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return c <= 0xd7ff || (c >= 0xe000 && c <= 0xfffd) || (c >= 0x10000 && c <= 0x10ffff);
}

// How many bytes the first character of the text takes; 0 where they are no UTF-8 or spell a
// character that XML does not allow.
std::size_t LengthOfFirst(std::string_view text) {
  const auto read = cim::FirstCharacter(text);
  return read && IsXmlCharacter(read->value) ? read->bytes : 0;
}

// The character that "&#" stands before: "65;" or "x41;".
std::optional<std::uint32_t> ReferredCharacter(std::string_view reference) {
  const bool hexadecimal = !reference.empty() && reference.front() == 'x';
  if (hexadecimal) reference.remove_prefix(1);
  std::uint32_t character = 0;
  const auto* end = reference.data() + reference.size();
  const auto read = std::from_chars(reference.data(), end, character, hexadecimal ? 16 : 10);
  if (read.ec != std::errc() || read.ptr == end || *read.ptr != ';') return std::nullopt;
  return character;
}

constexpr std::string_view Escape(char c) {
  switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return "&quot;";
    case '\r': return "&#13;";
    default: return {};
  }
}

// By byte: ASCII that is written as it is. Most text is nothing else.
constexpr std::array<bool, 256> kPlain = [] {
  std::array<bool, 256> plain{};
  for (unsigned char c = ' '; c <= '~'; ++c) plain[c] = Escape(static_cast<char>(c)).empty();
  return plain;
}();

bool IsPlain(char c) { return kPlain[static_cast<unsigned char>(c)]; }

}  // namespace

bool IsXmlText(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = LengthOfFirst(text);
    if (length == 0) return false;
    if (text.starts_with("&#")) {
      const auto character = ReferredCharacter(text.substr(2, 12));
      if (!character || !IsXmlCharacter(*character)) return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

void AppendEscaped(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const auto* const plain = std::find_if_not(text.begin(), text.end(), IsPlain);
    out.append(text.begin(), plain);
    text.remove_prefix(static_cast<std::size_t>(plain - text.begin()));
    if (text.empty()) return;
    const std::size_t length = LengthOfFirst(text);
    const std::string_view escape = Escape(text.front());
    if (length == 0) {
      out += kReplacement;
    } else if (!escape.empty()) {
      out += escape;
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
}

}  // namespace wbem
