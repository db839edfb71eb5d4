// Names from pci.ids: against a naive reading of the same list, and against lspci.

#include "pci/names.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>

#include "pci/naive_names.h"
#include "support/temp_folder.h"

namespace pci_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr char kInstalledList[] = "/usr/share/misc/pci.ids";

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Hex(unsigned number, int digits = 4) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*x", digits, number);
  return text;
}

// One answer of the library, asked for alone.
struct Asked {
  std::uint32_t place;
  std::string expected;
  std::string what;
};

// Asks for what a test collects, all at once, and compares it with the naive reading.
class Comparison {
 public:
  // `names` must outlive the comparison.
  explicit Comparison(const NamesByIds& names) : names_(names) {}

  void Vendor(unsigned id) {
    const auto vendor = static_cast<std::uint16_t>(id);
    Add(query_.Vendor(vendor), VendorText(names_, Hex(id)), "vendor " + Hex(id));
  }
  void Device(unsigned vendor, unsigned id) {
    const auto place =
        query_.Device(static_cast<std::uint16_t>(vendor), static_cast<std::uint16_t>(id));
    Add(place, DeviceText(names_, Hex(vendor), Hex(id)), "device " + Hex(vendor) + ':' + Hex(id));
  }
  void Class(unsigned code) {
    const auto class_code = static_cast<std::uint16_t>(code);
    Add(query_.Class(class_code), ClassText(names_, Hex(code)), "class " + Hex(code));
  }
  void Interface(unsigned code, unsigned id) {
    const auto place = query_.ProgrammingInterface(static_cast<std::uint16_t>(code),
                                                   static_cast<std::uint8_t>(id));
    Add(place, InterfaceText(names_, Hex(code), Hex(id, 2)), "interface " + Hex(id, 2));
  }

  // Gives the differences, one a line.
  std::string Differences(const std::string& path) const {
    const pci::Names names = pci::Names::LookUp(query_, {path});
    std::string text;
    for (const Asked& asked : asked_) {
      const std::string& answer = names.At(asked.place);
      if (answer == asked.expected) continue;
      text += asked.what + " is \"" + answer + "\", not \"" + asked.expected + "\"\n";
    }
    return text;
  }

  std::size_t size() const { return asked_.size(); }

 private:
  void Add(std::uint32_t place, std::string expected, std::string what) {
    asked_.push_back({place, std::move(expected), std::move(what)});
  }

  const NamesByIds& names_;
  pci::NameQuery query_;
  std::vector<Asked> asked_;
};

unsigned Number(const std::string& hex) {
  return static_cast<unsigned>(std::strtoul(hex.c_str(), nullptr, 16));
}

// Asks for everything that the list names.
void AskForAll(const NamesByIds& names, Comparison& comparison) {
  for (const auto& [ids, name] : names) {
    std::istringstream words(ids);
    std::vector<std::string> parts{std::istream_iterator<std::string>(words), {}};
    if (parts[0] != "C") {
      if (parts.size() == 1) comparison.Vendor(Number(parts[0]));
      if (parts.size() == 2) comparison.Device(Number(parts[0]), Number(parts[1]));
    } else if (parts.size() == 2) {
      comparison.Class(Number(parts[1] + "fe"));
    } else if (parts.size() == 3) {
      comparison.Class(Number(parts[1] + parts[2]));
    } else {
      comparison.Interface(Number(parts[1] + parts[2]), Number(parts[3]));
    }
  }
}

std::string NameOfVendor(const std::string& list, std::uint16_t vendor) {
  const TempFolder folder;
  pci::NameQuery query;
  const std::uint32_t place = query.Vendor(vendor);
  return pci::Names::LookUp(query, {folder.Write("list", list)}).At(place);
}

std::string NameOfDevice(const std::string& list, std::uint16_t vendor, std::uint16_t device) {
  const TempFolder folder;
  pci::NameQuery query;
  const std::uint32_t place = query.Device(vendor, device);
  return pci::Names::LookUp(query, {folder.Write("list", list)}).At(place);
}

TEST(Names, AreThoseOfTheInstalledListForAllOfItsIds) {
  const NamesByIds names = ReadNaively(ReadFile(kInstalledList));
  Comparison comparison(names);
  AskForAll(names, comparison);
  EXPECT_GT(comparison.size(), 15000u);
  EXPECT_EQ(comparison.Differences(kInstalledList), "");
}

TEST(Names, AreTheSameForTheFewOfAHost) {
  const NamesByIds names = ReadNaively(ReadFile(kInstalledList));
  std::mt19937 random(1);
  std::vector<std::string> ids;
  for (const auto& entry : names) ids.push_back(entry.first);
  for (int i = 0; i < 20; ++i) {
    Comparison comparison(names);
    NamesByIds few;
    for (int j = 0; j < 30; ++j) few.emplace(ids[random() % ids.size()], "");
    AskForAll(few, comparison);
    comparison.Vendor(random() % 0x10000);
    comparison.Device(0x8086, random() % 0x10000);
    comparison.Class(random() % 0x10000);
    EXPECT_EQ(comparison.Differences(kInstalledList), "");
  }
}

TEST(Names, OfTheSameIdsHaveOnePlace) {
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x8086);
  EXPECT_EQ(query.Vendor(0x8086), vendor);
  EXPECT_NE(query.Vendor(0x8087), vendor);
  EXPECT_NE(query.Device(0x8086, 0), vendor);
  EXPECT_EQ(query.Device(0x8086, 0), query.Device(0x8086, 0));
  EXPECT_NE(query.Device(0x8086, 0xffff), query.Vendor(0x8087));
  EXPECT_NE(query.Class(0x0300), query.Device(0x0003, 0x0000));
  EXPECT_NE(query.ProgrammingInterface(0x0300, 0), query.Class(0x0300));
}

TEST(Names, UnknownIdsAreNumbers) {
  const std::string list = "1234  Maker\n\t0001  Thing\nC 03  Display controller\n\t00  VGA\n";
  const TempFolder folder;
  pci::NameQuery query;
  const auto vendor = query.Vendor(0xabcd), device = query.Device(0x1234, 0x00ff);
  const auto none = query.Device(0xffff, 0xffff);
  const auto subclass = query.Class(0x03ff), base = query.Class(0x4000);
  const auto interface = query.ProgrammingInterface(0x0300, 1);
  const pci::Names names = pci::Names::LookUp(query, {folder.Write("list", list)});
  EXPECT_EQ(names.At(vendor), "Vendor abcd");
  EXPECT_EQ(names.At(device), "Device 00ff");
  EXPECT_EQ(names.At(none), "Device ffff");
  EXPECT_EQ(names.At(subclass), "Display controller [03ff]");
  EXPECT_EQ(names.At(base), "Class 4000");
  EXPECT_EQ(names.At(interface), "");
  EXPECT_EQ(names.notice(), "");
}

TEST(Names, InterfacesOfIdeControllersAreSpeltFromTheirBits) {
  pci::NameQuery query;
  const auto all = query.ProgrammingInterface(0x0101, 0x8f);
  const auto one = query.ProgrammingInterface(0x0101, 0x04);
  const auto other = query.ProgrammingInterface(0x0101, 0x10);
  const auto plain = query.ProgrammingInterface(0x0101, 0x00);
  const auto elsewhere = query.ProgrammingInterface(0x0102, 0x8f);
  const pci::Names names = pci::Names::LookUp(query, {});
  EXPECT_EQ(names.At(all), "Master SecP SecO PriP PriO");
  EXPECT_EQ(names.At(one), "SecO");
  EXPECT_EQ(names.At(other), "");
  EXPECT_EQ(names.At(plain), "");
  EXPECT_EQ(names.At(elsewhere), "");
}

TEST(Names, LoseOneBlankAtTheirEnd) {
  EXPECT_EQ(NameOfVendor("1234  Maker \n", 0x1234), "Maker");
  EXPECT_EQ(NameOfVendor("1234  Maker\t\n", 0x1234), "Maker");
  EXPECT_EQ(NameOfVendor("1234  Maker  \n", 0x1234), "Maker ") << "as lspci has it";
}

TEST(Names, EndAtACarriageReturnOrNull) {
  EXPECT_EQ(NameOfVendor("1234  Maker\r\n", 0x1234), "Maker");
  EXPECT_EQ(NameOfVendor("1234  Maker \r\n", 0x1234), "Maker");
  EXPECT_EQ(NameOfDevice("1234  Maker\r\n\r\n#\r\n\t0001  Thing\r\n", 0x1234, 1), "Thing");
  EXPECT_EQ(NameOfVendor(std::string("1234  Ma\0ker\n", 13), 0x1234), "Ma");
}

TEST(Names, KeepBytesThatAreNoUtf8) {
  EXPECT_EQ(NameOfVendor("1234  M\xe4ker \xff\n", 0x1234), "M\xe4ker \xff");
}

TEST(Names, NeedNoLineEndAtTheEndOfTheList) {
  EXPECT_EQ(NameOfVendor("1234  Maker", 0x1234), "Maker");
  EXPECT_EQ(NameOfDevice("1234  Maker\n\t0001", 0x1234, 1), "Device 0001") << "cut off";
}

TEST(Names, NeedNoOrderInTheList) {
  const std::string list =
      "C 03  Display\n8086  Intel\n\t0002  Two\n\t0001  One\n1234  Maker\n\t0001  Thing\n"
      "8086  Again\n\t0001  Another\n\t0003  Three\n";
  EXPECT_EQ(NameOfVendor(list, 0x1234), "Maker");
  EXPECT_EQ(NameOfVendor(list, 0x8086), "Intel") << "the first of two";
  EXPECT_EQ(NameOfDevice(list, 0x8086, 1), "One");
  EXPECT_EQ(NameOfDevice(list, 0x8086, 3), "Three");
}

TEST(Names, MalformedLinesArePassedOverWithWhatStandsBelow) {
  const std::string list =
      "1234  Maker\n\t0001  Thing\n\t00x2  Bad\n\t\t1234 5678  Subsystem\n\t0003  Third\n"
      "junk\n\t0004  Of junk\n12345  Long\n\t0005  Of long\n8086  Intel\n\t0006  Sixth\n";
  EXPECT_EQ(NameOfDevice(list, 0x1234, 3), "Third");
  EXPECT_EQ(NameOfDevice(list, 0x1234, 4), "Device 0004");
  EXPECT_EQ(NameOfDevice(list, 0x1234, 5), "Device 0005");
  EXPECT_EQ(NameOfDevice(list, 0x8086, 6), "Sixth");
}

TEST(Names, ThatAreTooLongAreNone) {
  const std::string list = "1234  " + std::string(1000, 'a') + "\n\t0001  " +
                           std::string(70000, 'b') + "\n\t0002  Two\n";
  EXPECT_EQ(NameOfVendor(list, 0x1234), std::string(1000, 'a'));
  EXPECT_EQ(NameOfDevice(list, 0x1234, 1), "Device 0001");
  EXPECT_EQ(NameOfDevice(list, 0x1234, 2), "Two");
  EXPECT_EQ(NameOfVendor("1234  " + std::string(1001, 'a'), 0x1234), "Vendor 1234");
}

TEST(Names, AreFoundWhereverTheFileIsCutIntoPieces) {
  // Lines of odd lengths, so that the ends of what is read at once fall everywhere.
  std::string list;
  for (unsigned vendor = 1; vendor < 4000; ++vendor) {
    list += Hex(vendor) + "  " + std::string(vendor % 97 + 1, 'v') + "\n\t" + Hex(vendor ^ 0x55aa) +
            "  " + std::string(vendor % 41 + 1, 'd') + '\n';
  }
  const TempFolder folder;
  const NamesByIds names = ReadNaively(list);
  Comparison comparison(names);
  AskForAll(names, comparison);
  EXPECT_EQ(comparison.Differences(folder.Write("list", list)), "");
}

// A list of pieces that are well formed or nearly.
std::string RandomList(std::mt19937& random) {
  static const std::vector<std::string> pieces = {
      "1234", "1235", "8086", "ABCD",   "abcd", "C ",   "03",   "0c",     "00", "  ",
      " ",    "\t",   "\t\t", "\n",     "\n",   "\n\t", "\n#",  "\r",     "\n", "Na",
      "me",   "S ",   "zz",   "\n\t\t", "\xff", "\n\n", "\n  ", "\t\t\t", "x",  "\n\t03  "};
  std::string list;
  const std::size_t count = random() % 60;
  for (std::size_t i = 0; i < count; ++i) list += pieces[random() % pieces.size()];
  if (random() % 8 == 0) list.insert(random() % (list.size() + 1), 1, '\0');
  if (random() % 50 == 0) list.insert(random() % (list.size() + 1), 66000, 'l');
  return list;
}

TEST(Names, AreThoseOfTheNaiveReadingOfHostileLists) {
  const TempFolder folder;
  for (unsigned seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    const std::string list = RandomList(random);
    const NamesByIds names = ReadNaively(list);
    Comparison comparison(names);
    AskForAll(names, comparison);
    for (const unsigned vendor : {0x1234u, 0x1235u, 0x8086u, 0xabcdu}) {
      comparison.Vendor(vendor);
      for (const unsigned device : {0x1234u, 0x1235u, 0x8086u, 0xabcdu}) {
        comparison.Device(vendor, device);
      }
    }
    for (const unsigned code : {0x0300u, 0x0303u, 0x030cu, 0x0c00u, 0x0c03u}) {
      comparison.Class(code);
      comparison.Interface(code, 0x00);
      comparison.Interface(code, 0x03);
    }
    ASSERT_EQ(comparison.Differences(folder.Write("list", list)), "") << seed << ":\n" << list;
  }
}

TEST(Names, AreNumbersWithoutAList) {
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x8086);
  const TempFolder folder;
  const pci::Names names = pci::Names::LookUp(query, {folder.Path("none"), folder.Path("a/b")});
  EXPECT_EQ(names.At(vendor), "Vendor 8086");
  EXPECT_EQ(names.notice(), "") << "nothing is wrong where no list is installed";
}

TEST(Names, ComeFromTheFirstListThatIsThere) {
  const TempFolder folder;
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x1234);
  const std::string first = folder.Write("first", "1234  First\n");
  const std::string second = folder.Write("second", "1234  Second\n");
  EXPECT_EQ(pci::Names::LookUp(query, {first, second}).At(vendor), "First");
  EXPECT_EQ(pci::Names::LookUp(query, {folder.Path("none"), second}).At(vendor), "Second");
  const pci::Names after_folder = pci::Names::LookUp(query, {folder.Path(""), second});
  EXPECT_EQ(after_folder.At(vendor), "Second");
  EXPECT_EQ(after_folder.notice(), "");
}

TEST(Names, ACompressedListIsToldAsSuch) {
  const TempFolder folder;
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x1234);
  folder.Write("pci.ids.gz", "\x1f\x8b anything");
  const pci::Names names = pci::Names::LookUp(query, {folder.Path("pci.ids")});
  EXPECT_EQ(names.At(vendor), "Vendor 1234");
  EXPECT_EQ(names.notice(), folder.Path("pci.ids.gz") + " is compressed: unpack it with gunzip");
  const std::string misnamed = folder.Write("misnamed", "\x1f\x8b anything");
  EXPECT_EQ(pci::Names::LookUp(query, {misnamed}).notice(),
            misnamed + " is compressed: unpack it with gunzip");
  const std::string plain = folder.Write("plain", "1234  Maker\n");
  EXPECT_EQ(pci::Names::LookUp(query, {folder.Path("pci.ids"), plain}).notice(), "");
}

TEST(Names, WhatIsNoFileIsNotRead) {
  const TempFolder folder;
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x1234);
  ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
  for (const std::string& path :
       {folder.Path("pipe"), folder.Path("."), std::string("/dev/zero")}) {
    const pci::Names names = pci::Names::LookUp(query, {path});
    EXPECT_EQ(names.At(vendor), "Vendor 1234");
    EXPECT_EQ(names.notice(), "cannot read " + path + ": not a regular file");
  }
}

TEST(Names, AListThatMayNotBeReadIsTold) {
  const TempFolder folder;
  pci::NameQuery query;
  const std::string list = folder.Write("list", "1234  Maker\n");
  ASSERT_EQ(chmod(list.c_str(), 0), 0);
  const uid_t user = geteuid();
  if (user == 0) {
    ASSERT_EQ(seteuid(65534), 0) << "root may read everything";
  }
  const pci::Names names = pci::Names::LookUp(query, {list});
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(names.notice(), "cannot read " + list + ": Permission denied");
}

TEST(Names, AnEndlessListEnds) {
  const TempFolder folder;
  const std::string list = folder.Write("list", "1234  Maker\n");
  ASSERT_EQ(truncate(list.c_str(), off_t{1} << 40), 0) << "zeros, for a terabyte";
  pci::NameQuery query;
  const auto vendor = query.Vendor(0x1234);
  EXPECT_EQ(pci::Names::LookUp(query, {list}).At(vendor), "Maker");
}

// ---- lspci.

std::string OutputOf(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[65536];
  while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, length);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

struct FunctionIds {
  unsigned vendor, device, class_code;
};

std::string DumpOf(const std::vector<FunctionIds>& functions) {
  std::string dump;
  for (unsigned i = 0; i < functions.size(); ++i) {
    const auto& [vendor, device, class_code] = functions[i];
    const auto bytes = [](unsigned word) { return Hex(word & 0xff, 2) + ' ' + Hex(word >> 8, 2); };
    const std::string zeros = " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n";
    dump += Hex(i >> 16) + ':' + Hex(i >> 8 & 0xff, 2) + ':' + Hex(i >> 3 & 0x1f, 2) + '.' +
            Hex(i & 7, 1) + " function\n00: " + bytes(vendor) + ' ' + bytes(device) +
            " 00 00 00 00 00 00 " + bytes(class_code) + " 00 00 00 00\n10:" + zeros +
            "20:" + zeros + "30:" + zeros + '\n';
  }
  return dump;
}

struct FunctionNames {
  std::string vendor, device, class_name;

  bool operator==(const FunctionNames&) const = default;
};

std::vector<FunctionNames> AskLspci(const std::string& list,
                                    const std::vector<FunctionIds>& functions) {
  const TempFolder folder;
  const std::string dump = folder.Write("dump", DumpOf(functions));
  // Without udev's copy of the list, which lspci asks first.
  std::istringstream lines(
      OutputOf("LC_ALL=C lspci -O hwdb.disable=1 -i " + list + " -D -vmm -F " + dump));
  std::vector<FunctionNames> names;
  for (std::string line; std::getline(lines, line);) {
    const std::string value = line.substr(std::min(line.size(), line.find('\t') + 1));
    if (line.starts_with("Slot:")) names.emplace_back();
    if (line.starts_with("Class:")) names.back().class_name = value;
    if (line.starts_with("Vendor:")) names.back().vendor = value;
    if (line.starts_with("Device:")) names.back().device = value;
  }
  return names;
}

std::vector<FunctionNames> AskLibrary(const std::string& list,
                                      const std::vector<FunctionIds>& functions) {
  pci::NameQuery query;
  std::vector<std::array<std::uint32_t, 3>> places;
  for (const FunctionIds& ids : functions) {
    const auto vendor = static_cast<std::uint16_t>(ids.vendor);
    places.push_back({query.Vendor(vendor),
                      query.Device(vendor, static_cast<std::uint16_t>(ids.device)),
                      query.Class(static_cast<std::uint16_t>(ids.class_code))});
  }
  const pci::Names names = pci::Names::LookUp(query, {list});
  std::vector<FunctionNames> texts;
  for (const auto& [vendor, device, class_code] : places) {
    texts.push_back({names.At(vendor), names.At(device), names.At(class_code)});
  }
  return texts;
}

// lspci's buffers hold 127 characters; what is longer it does not print.
bool Unprinted(const FunctionNames& names) {
  constexpr char kNotPrinted[] = "<pci_lookup_name: buffer too small>";
  return names.vendor == kNotPrinted || names.device == kNotPrinted;
}

void ExpectLspcisNames(const std::string& list, const std::vector<FunctionIds>& functions) {
  const std::vector<FunctionNames> lspci = AskLspci(list, functions);
  const std::vector<FunctionNames> library = AskLibrary(list, functions);
  ASSERT_EQ(lspci.size(), library.size());
  std::size_t unprinted = 0;
  for (std::size_t i = 0; i < lspci.size(); ++i) {
    if (Unprinted(lspci[i]) && ++unprinted) continue;
    ASSERT_EQ(lspci[i].vendor, library[i].vendor) << i;
    ASSERT_EQ(lspci[i].device, library[i].device) << i;
    ASSERT_EQ(lspci[i].class_name, library[i].class_name) << i;
  }
  EXPECT_LT(unprinted, 10u);
}

TEST(NamesLikeLspci, OfTheInstalledListsDevices) {
  std::vector<FunctionIds> functions;
  std::mt19937 random(1);
  for (const auto& [ids, name] : ReadNaively(ReadFile(kInstalledList))) {
    if (ids.starts_with("C ") || random() % 3 != 0) continue;
    const unsigned device = ids.size() == 4 ? 0xfffe : Number(ids.substr(5));
    functions.push_back(
        {Number(ids.substr(0, 4)), device, static_cast<unsigned>(random() % 0x1400)});
  }
  EXPECT_GT(functions.size(), 5000u);
  ExpectLspcisNames(kInstalledList, functions);
}

TEST(NamesLikeLspci, OfAllClasses) {
  std::vector<FunctionIds> functions;
  for (unsigned code = 0; code < 0x10000; code += code < 0x1400 ? 1 : 0x55) {
    functions.push_back({code, code ^ 0xffff, code});
  }
  functions.push_back({0xffff, 0xffff, 0xffff});
  ExpectLspcisNames(kInstalledList, functions);
}

TEST(NamesLikeLspci, OfAPeculiarList) {
  const TempFolder folder;
  const std::string list = folder.Write(
      "list",
      "\n# Comment\n  # another\n\t\n1234  Two blanks  \n\t0001 One blank\n\t0002\tA tab \t\n"
      "\t0003  Carriage return\r\n\t0004  Blank and it \r\n\t0005  #\n\t0006   Three\r junk\n"
      "\t\t1234 0001  Subsystem\n\n\t0007  After an empty line\nABCD  Upper\n\tAbCd  M\xe4ker\n"
      "0001  Late\nC 03 Display\n\t00  VGA\n\t\t00  Controller\n\t01  XGA\nC 0C\tSerial");
  std::vector<FunctionIds> functions;
  for (const unsigned vendor : {0x0001u, 0x1234u, 0xabcdu, 0xfffeu}) {
    for (unsigned device = 0; device < 10; ++device) {
      functions.push_back({vendor, device, 0x0300 + device});
    }
    functions.push_back({vendor, 0xabcd, 0x0c00});
  }
  ExpectLspcisNames(list, functions);
}

}  // namespace
}  // namespace pci_test
