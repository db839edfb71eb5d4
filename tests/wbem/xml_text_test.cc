#include "wbem/xml_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using std::string_literals::operator""s;

std::string Escaped(std::string_view text) {
  std::string out;
  wbem::AppendEscaped(out, text);
  return out;
}

TEST(XmlText, MarkupIsEscaped) { EXPECT_EQ(Escaped("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c'"); }

TEST(XmlText, CarriageReturnSurvivesAReader) { EXPECT_EQ(Escaped("a\r\nb\t"), "a&#13;\nb\t"); }

TEST(XmlText, UnicodeIsKept) {
  EXPECT_EQ(Escaped("gr\u00fc\u00df \u4e2d \U0001f600"), "gr\u00fc\u00df \u4e2d \U0001f600");
}

TEST(XmlText, WhatXmlDoesNotAllowIsReplaced) {
  const std::string r = "\ufffd";
  EXPECT_EQ(Escaped("a\0b"s), "a" + r + "b");
  EXPECT_EQ(Escaped("\x1b[1m"), r + "[1m");
  EXPECT_EQ(Escaped("\xff"), r);
  EXPECT_EQ(Escaped("\xc3"), r);                          // cut off
  EXPECT_EQ(Escaped("\xc0\xaf"), r + r);                  // overlong
  EXPECT_EQ(Escaped("\xed\xa0\x80"), r + r + r);          // half of a surrogate pair
  EXPECT_EQ(Escaped("\xef\xbf\xbf"), r + r + r);          // U+FFFF
  EXPECT_EQ(Escaped("\xf4\x90\x80\x80"), r + r + r + r);  // beyond U+10FFFF
}

TEST(XmlText, EveryByteAloneGivesTextThatXmlAllows) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string escaped = Escaped(std::string(1, static_cast<char>(byte)));
    EXPECT_TRUE(wbem::IsXmlText(escaped)) << byte;
    EXPECT_FALSE(escaped.empty()) << byte;
  }
}

TEST(XmlText, TextOfADocumentIsChecked) {
  EXPECT_TRUE(wbem::IsXmlText("<a>\u00fc\r\n\t</a>"));
  EXPECT_TRUE(wbem::IsXmlText(""));
  EXPECT_FALSE(wbem::IsXmlText("a\0b"s));
  EXPECT_FALSE(wbem::IsXmlText("\xe4"));  // Latin-1
  EXPECT_FALSE(wbem::IsXmlText("\xff\xfe<\0"s));
}

TEST(XmlText, CharacterReferencesAreChecked) {
  EXPECT_TRUE(wbem::IsXmlText("&#65;&#x41;&#10;&#x10ffff;&amp;&#x00000041;"));
  for (const char* bad : {"&#0;", "&#x0;", "&#1;", "&#xd800;", "&#xffff;", "&#x110000;", "&#;",
                          "&#x;", "&#65", "&#65x", "&#99999999999999999999;", "&#-1;", "&#"}) {
    EXPECT_FALSE(wbem::IsXmlText(bad)) << bad;
  }
}

}  // namespace
