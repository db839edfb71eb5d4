// Text on its way out: encoding, widths, tables.

#include <gtest/gtest.h>

#include <sstream>

#include "tool/pci_class.h"
#include "tool/table.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

constexpr const char* kMark = "\xef\xbf\xbd";  // U+FFFD

TEST(Utf8Text, KeepsWellFormedText) {
  const std::string text = "plain \t é € \U0001F600";
  EXPECT_EQ(ValidUtf8(text), text);
}

TEST(Utf8Text, ReplacesEveryByteThatIsNoPartOfACharacter) {
  const std::string mark = kMark;
  EXPECT_EQ(ValidUtf8("a\xff"
                      "b"),
            "a" + mark + "b");
  EXPECT_EQ(ValidUtf8("\xc3"), mark);                                   // cut off
  EXPECT_EQ(ValidUtf8("\x80x"), mark + "x");                            // continuation alone
  EXPECT_EQ(ValidUtf8("\xc0\xaf"), mark + mark);                        // overlong
  EXPECT_EQ(ValidUtf8("\xed\xa0\x80"), mark + mark + mark);             // surrogate
  EXPECT_EQ(ValidUtf8("\xf4\x90\x80\x80"), mark + mark + mark + mark);  // beyond U+10FFFF
}

TEST(Utf8Text, LetsNoControlCharacterReachTheTerminal) {
  const std::string mark = kMark;
  EXPECT_EQ(PrintableUtf8("a\x1b[31mb"), "a" + mark + "[31mb");
  EXPECT_EQ(PrintableUtf8("a\nb\x7f"), "a" + mark + "b" + mark);
  EXPECT_EQ(PrintableUtf8("\xc2\x9b"), mark);  // C1: the one-character form of escape [
  EXPECT_EQ(PrintableUtf8(std::string("\0", 1)), mark);
}

TEST(Utf8Text, IsCutBetweenCharacters) {
  EXPECT_EQ(Width("äöü"), 3U);
  EXPECT_EQ(Cut("äöü", 3, "…"), "äöü");
  EXPECT_EQ(Cut("äöüß", 3, "…"), "äö…");
  EXPECT_EQ(Cut("abcdef", 5, "..."), "ab...");
  EXPECT_EQ(Cut("abcdef", 2, "..."), "");
}

TEST(PciClass, NamesSubclassesAndFallsBackToTheBaseClass) {
  EXPECT_EQ(PciClassName(0x01, 0x06), "SATA controller");
  EXPECT_EQ(PciClassName(0x06, 0x04), "PCI bridge");
  EXPECT_EQ(PciClassName(0x0d, 0x21), "Wireless LAN (2.4 GHz)");
  EXPECT_EQ(PciClassName(0x02, 0x80), "Network controller");
  EXPECT_EQ(PciClassName(0x2a, 0x13), "Class 2a13");
  EXPECT_EQ(PciClassName(0xff, 0x00), "Unassigned class");
}

Table SampleTable() {
  return {{"ID", "NAME", "PARENT"},
          {{"1", {"Maker, and its name", "its name"}, "0000:00:01.0"}, {"22", "short", ""}},
          {false, true, false}};
}

std::string Printed(const Table& table, std::size_t width) {
  std::ostringstream out;
  PrintTable(table, width, "...", out);
  return out.str();
}

TEST(Table, IsAsWideAsItsCellsWhereNothingLimitsIt) {
  EXPECT_EQ(Printed(SampleTable(), 0),
            "ID  NAME                 PARENT\n"
            "1   Maker, and its name  0000:00:01.0\n"
            "22  short\n");
  EXPECT_EQ(Printed(SampleTable(), 37), Printed(SampleTable(), 0));
}

TEST(Table, TakesTheShorterTextBeforeItCuts) {
  EXPECT_EQ(ColumnWidths(SampleTable(), 30), (std::vector<std::size_t>{2, 12, 12}));
  EXPECT_EQ(Printed(SampleTable(), 30),
            "ID  NAME          PARENT\n"
            "1   its name      0000:00:01.0\n"
            "22  short\n");
  Table table = SampleTable();
  table.rows[0][1].shorter.clear();
  EXPECT_EQ(Printed(table, 30),
            "ID  NAME          PARENT\n"
            "1   Maker, an...  0000:00:01.0\n"
            "22  short\n");
}

TEST(Table, CutsNothingThatIdentifies) {
  EXPECT_EQ(ColumnWidths(SampleTable(), 1), (std::vector<std::size_t>{2, 8, 12}));
  Table table = SampleTable();
  table.cuttable.clear();
  EXPECT_EQ(Printed(table, 10), Printed(SampleTable(), 0));
}

TEST(Table, LosesItsEmptyColumnsAndItsTitlesWhereThatIsWanted) {
  Table table = SampleTable();
  table.rows[0][1] = "";
  table.rows[1][1] = "";
  DropEmptyColumns(table);
  EXPECT_EQ(Printed(table, 0), "ID  PARENT\n1   0000:00:01.0\n22\n");
  table.headings = false;
  EXPECT_EQ(Printed(table, 0), "1   0000:00:01.0\n22\n");
}

TEST(Table, WithoutRowsIsALineOfTitles) { EXPECT_EQ(Printed({{"A", "B"}, {}, {}}, 0), "A  B\n"); }

}  // namespace
}  // namespace tool
