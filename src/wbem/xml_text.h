// Text as XML 1.0 allows it: what may stand in a document, and how other text is written into one.
//
// Thread rule: pure functions.

#ifndef WBEM_XML_TEXT_H_
#define WBEM_XML_TEXT_H_

#include <string>
#include <string_view>

namespace wbem {

// Whether the bytes are UTF-8 and every character is one that XML 1.0 allows (production Char),
// character references (&#...;) included.
bool IsXmlText(std::string_view text);

// Appends the text as element content or attribute value: markup characters as references, bytes
// that are no UTF-8 and characters that XML does not allow as U+FFFD. A carriage return becomes a
// reference, because a reader would turn it into a line feed.
void AppendEscaped(std::string& out, std::string_view text);

}  // namespace wbem

#endif  // WBEM_XML_TEXT_H_
