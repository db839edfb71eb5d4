// Text from the host on its way to a terminal or a file: names come from tables and devices that
// nobody vouches for.
//
// Thread rule: pure functions.

#ifndef TOOL_UTF8_TEXT_H_
#define TOOL_UTF8_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// The text with every byte that is not part of well-formed UTF-8 replaced by U+FFFD.
std::string ValidUtf8(std::string_view text);

// ValidUtf8 with control characters (C0, C1, DEL) replaced as well: safe on a terminal, one line.
std::string PrintableUtf8(std::string_view text);

// How many characters the valid UTF-8 text has; each is taken as one column.
std::size_t Width(std::string_view text);

// The text, or its beginning with `ellipsis` at the end where it is wider than `width`.
std::string Cut(std::string_view text, std::size_t width, std::string_view ellipsis);

// The text with ASCII letters in lower case.
std::string Lower(std::string_view text);

}  // namespace tool

#endif  // TOOL_UTF8_TEXT_H_
