// Dumps of all kinds: what is read, what is left out, and that what is no dump ends in a clear
// error.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>

#include "pci/error.h"
#include "pci/hosts.h"

namespace pci_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string ErrorOf(const std::string& path) {
  try {
    ReadDump(path);
  } catch (const pci::Error& error) {
    return error.what();
  }
  ADD_FAILURE() << path << " was accepted";
  return "";
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

class Dump : public ::testing::Test {
 protected:
  pci::Host Read(const std::string& text) const {
    pci::Host host = ReadDump(folder_.Write("dump", text));
    EXPECT_EQ(Complaints(host), "");
    return host;
  }
  std::vector<std::string> Troubles(const std::string& text) const {
    return TroublesOf(Read(text));
  }
  std::string Error(const std::string& text) const { return ErrorOf(folder_.Write("dump", text)); }

  // A function, one whose dump is this, and another function: what is told of the second one.
  std::string TroubleOf(const std::string& damaged) const {
    const pci::Host host = Read(good_ + damaged + Endpoint("0000:00:03.0").DumpText());
    EXPECT_EQ(host.functions().size(), 2u);
    const std::vector<std::string> troubles = TroublesOf(host);
    if (troubles.size() != 1) ADD_FAILURE() << troubles.size() << " troubles";
    return troubles.empty() ? "" : troubles[0].substr(folder_.Path("dump").size());
  }

  // Reads the text, whatever it is: a sensible answer or an error.
  void Try(const std::string& text) const {
    try {
      Read(text);
    } catch (const pci::Error& error) {
      EXPECT_THAT(error.what(), HasSubstr(folder_.Path("dump")));
    }
  }

  const TempFolder folder_;
  const std::string good_ = Endpoint("0000:00:01.0").DumpText();
};

// ---------------------------------------------------------------------------------------------
// What is read

TEST_F(Dump, ReadsShortAndLongAddresses) {
  const pci::Host host =
      Read(Function("00:01.0").DumpText() + Function("0001:02:1f.7").DumpText() +
           Function("10000:e0:06.0").DumpText() + Function("7fffffff:ff:00.0").DumpText());
  std::vector<std::string> addresses;
  for (const auto& function : host.functions())
    addresses.push_back(FormatAddress(function.address));
  EXPECT_THAT(addresses,
              ElementsAre("0000:00:01.0", "0001:02:1f.7", "10000:e0:06.0", "7fffffff:ff:00.0"));
}

TEST_F(Dump, ReadsEveryLengthThatLspciPrints) {
  for (const std::size_t size : {64u, 128u, 256u, 4096u}) {
    const pci::Host host = Read(Endpoint("00:01.0").Resize(size).DumpText());
    EXPECT_EQ(At(host, "0000:00:01.0").ids.device, 0x1234);
  }
}

TEST_F(Dump, ReadsUpperCaseAndAMissingLastNewline) {
  std::string text = Function("00:1A.0").Ids(0x8086, 0xABCD).Resize(64).DumpText();
  text.resize(text.find_last_not_of('\n') + 1);
  EXPECT_EQ(At(Read(text), "0000:00:1a.0").ids.device, 0xabcd);
}

// From other systems, editors and mails.
TEST_F(Dump, ReadsLinesHoweverTheyEndAndBegin) {
  const std::string text = "Our host\n\n" + DumpOf({Endpoint("00:01.0"), Endpoint("00:02.0")});
  const std::vector<std::string> expected = DescribeAll(Read(text));
  ASSERT_THAT(expected, SizeIs(2));
  for (const char* end : {"\r\n", "\r", "\r\r\n", " \n", "\t \r\n"}) {
    EXPECT_EQ(DescribeAll(Read(Replaced(text, "\n", end))), expected) << end;
  }
  for (const char* quote : {">", "> ", ">> ", "> > "}) {
    const std::string quoted = quote + Replaced(text, "\n", std::string("\n") + quote);
    EXPECT_EQ(DescribeAll(Read(quoted)), expected) << quote;
    EXPECT_EQ(DescribeAll(Read(Replaced(quoted, "\n", " \r\n"))), expected) << quote;
  }
  EXPECT_EQ(DescribeAll(Read("\xef\xbb\xbf" + text)), expected) << "byte order mark";
  // With no empty line between functions.
  EXPECT_EQ(DescribeAll(Read(Replaced(text, "\n\n", "\n"))), expected);
}

TEST_F(Dump, SkipsTheTextForPeople) {
  const std::string bytes = good_.substr(good_.find('\n') + 1);
  EXPECT_THAT(Read("A dump of our host\n\n00:01.0 Host bridge: x (rev 02)\n\tFlags: fast devsel\n"
                   "\tKernel driver in use: pcieport\n" +
                   bytes)
                  .functions(),
              SizeIs(1));
  EXPECT_THAT(
      Read("00:01.0 Host bridge: x (rev 02)\n"
           "\tControl: I/O+ Mem+ BusMaster+\n"
           "\tRegion 0: Memory at 10: 00 (32-bit)\n"
           "\tCapabilities: [40] Power Management version 2\n"
           "\t\t00: 00 00\n"
           "\t!!! Unknown header type 7f\n"
           "pcilib: sysfs_read_vpd: read failed: No such device\n" +
           bytes + "add: what is below is of another host\n\n" + Function("00:02.0").DumpText())
          .functions(),
      SizeIs(2));
}

TEST_F(Dump, TheFirstOfARepeatedFunctionStands) {
  const pci::Host host = Read(Function("00:01.0").Ids(1, 1).DumpText() +
                              Function("0000:00:01.0").Ids(1, 2).DumpText());
  ASSERT_THAT(host.functions(), SizeIs(1));
  EXPECT_EQ(host.functions()[0].ids.device, 1);
}

// As -n and -nn print them. The registers of a virtual function have none.
TEST_F(Dump, AVirtualFunctionsIdsStandOnItsFirstLine) {
  const Function hidden = Function("00:01.1").Ids(0xffff, 0xffff).Set(8, {1, 2, 8, 1});
  for (const char* text :
       {"0108: 1b36:0010 (rev 02)", "Class 0108: 1b36:0010", "0108: 1b36:0010",
        "Non-Volatile memory controller [0108]: Red Hat, Inc. QEMU [1b36:0010] (rev 02)",
        "Memory controller [0108]: A [AHCI mode: dead:beefs] [1b36:0010] (prog-if 02 [NVM])"}) {
    const pci::Host host = Read(hidden.DumpText(text));
    EXPECT_EQ(host.functions()[0].ids.vendor, 0x1b36) << text;
    EXPECT_EQ(host.functions()[0].ids.device, 0x0010) << text;
    EXPECT_EQ(host.functions()[0].class_code, 0x0108) << text;
    EXPECT_EQ(host.functions()[0].programming_interface, 0x02) << text;
  }
  for (const char* text : {"Non-Volatile memory controller: Illegal Vendor ID Device ffff", "x",
                           "0108: 1b36", "[0108]: [1b36:001]", "0108: 1b36:00100"}) {
    EXPECT_EQ(Read(hidden.DumpText(text)).functions()[0].ids.vendor, 0xffff) << text;
  }
  EXPECT_EQ(Read(Endpoint("00:01.0").DumpText("0108: 1b36:0010")).functions()[0].ids.vendor, 0x8086)
      << "other functions' registers have their own";
  EXPECT_EQ(Read(Function("00:01.0").Gone().DumpText("0108: 1b36:0010")).functions()[0].ids.vendor,
            0xffff)
      << "nor is a function that has gone a virtual one";
}

// As -PP and -P print them: by the path through the bridges above.
TEST_F(Dump, ReadsPathsInPlaceOfAddresses) {
  const auto dump = [](const char* port, const char* switch_port, const char* endpoint) {
    return DumpOf(
        {Endpoint(port).Bridge(1, 4), Endpoint(switch_port).Bridge(4, 4), Endpoint(endpoint)});
  };
  const std::vector<std::string> expected =
      DescribeAll(Read(dump("0002:00:02.0", "0002:01:1f.0", "0002:04:00.7")));
  EXPECT_EQ(DescribeAll(
                Read(dump("0002:00:02.0", "0002:00:02.0/01:1f.0", "0002:00:02.0/01:1f.0/04:00.7"))),
            expected);
  EXPECT_EQ(DescribeAll(Read(dump("0002:00:02.0", "0002:00:02.0/1f.0", "0002:00:02.0/1f.0/00.7"))),
            expected);
  EXPECT_EQ(TroubleOf(Endpoint("00:09.0/00.0").DumpText()),
            ", line 19: no such PCI address: 00:09.0/00.0")
      << "nothing tells that port's bus";
}

// ---------------------------------------------------------------------------------------------
// What is left out: the function, and no other

TEST_F(Dump, ADamagedFunctionIsLeftOutAndTold) {
  const std::string text = Endpoint("00:02.0").Resize(64).DumpText();
  const auto with = [&](const char* from, const char* to) { return Replaced(text, from, to); };
  EXPECT_EQ(TroubleOf(with("00:02.0", "00:1f.9")), ", line 19: no such PCI address: 00:1f.9");
  EXPECT_EQ(TroubleOf(with("00:02.0", "00:20.0")), ", line 19: no such PCI address: 00:20.0");
  EXPECT_EQ(TroubleOf(with("00:02.0", "80000000:00:02.0")),
            ", line 19: no such PCI address: 80000000:00:02.0");
  EXPECT_EQ(TroubleOf(with("86 80", "86 8")), ", line 20: malformed bytes of 0000:00:02.0");
  EXPECT_EQ(TroubleOf(with("86 80", "86 80x")), ", line 20: malformed bytes of 0000:00:02.0");
  EXPECT_EQ(TroubleOf(with("86 80", "86  80")), ", line 20: malformed bytes of 0000:00:02.0");
  EXPECT_EQ(TroubleOf(with("20: 00 00", "20:\n")), ", line 22: malformed bytes of 0000:00:02.0");
  EXPECT_EQ(TroubleOf(with("\n20:", "\n")),
            ", line 23: bytes of 0000:00:02.0 are missing before these");
  EXPECT_EQ(TroubleOf(with("\n20:", "\n10:")),
            ", line 22: bytes of 0000:00:02.0 that it already has");
  EXPECT_EQ(TroubleOf(with("\n20:", "\n1000:")),
            ", line 22: a configuration space has at most 4096 bytes");
  EXPECT_EQ(TroubleOf("00:02.0 Host bridge: x\n"),
            ", line 20: only 0 bytes of configuration space of 0000:00:02.0 up to here: lspci -x "
            "prints at least 64");
}

// A line that was cut in the middle, wherever that is.
TEST_F(Dump, ACutLineCostsItsFunction) {
  const std::string text = Endpoint("00:02.0").Resize(64).DumpText();
  const std::size_t line = text.find("20:");
  for (std::size_t length = 3; length < 50; ++length) {
    std::string cut = text;
    EXPECT_NE(TroubleOf(cut.erase(line + length, 50 - length)), "") << length;
  }
  const std::size_t last_line = text.find("30:");
  for (std::size_t length = 3; length < 50; ++length) {
    EXPECT_NE(TroubleOf(text.substr(0, last_line + length) + "\n\n"), "") << length;
  }
}

// With the line damaged that begins a function, its bytes are nobody's.
TEST_F(Dump, BytesWithoutTheirFirstLineAreLeftOut) {
  std::string damaged = Endpoint("00:02.0").DumpText();
  damaged.insert(1, " ");
  const std::string trouble = ": bytes without the line that begins a function before them";
  EXPECT_EQ(TroubleOf(damaged), ", line 20" + trouble);
  EXPECT_THAT(Error(damaged), HasSubstr("line 2" + trouble));
  // Without an empty line they look like bytes of the function before.
  const std::string closer = good_.substr(0, good_.size() - 1) + damaged;
  EXPECT_THAT(Troubles(closer), ElementsAre(folder_.Path("dump") + ", line 19" + trouble));
  EXPECT_EQ(Describe(Read(closer), Read(closer).functions()[0]),
            Describe(Read(good_), Read(good_).functions()[0]));
}

TEST_F(Dump, OffsetsOutsideTheConfigurationSpaceAreRefused) {
  for (const char* offset : {"1000", "ffff", "7fffffff", "80000000", "ffffffff"}) {
    const std::string text =
        Replaced(Endpoint("00:02.0").DumpText(), "\n20:", "\n" + std::string(offset) + ":");
    EXPECT_EQ(TroubleOf(text), ", line 22: a configuration space has at most 4096 bytes");
  }
}

// ---------------------------------------------------------------------------------------------
// What is no dump

TEST_F(Dump, WithoutAFunctionItIsNone) {
  const std::string none =
      folder_.Path("dump") + ": no PCI function in the dump, which lspci -x prints";
  for (const char* text : {"", "\n\n", "\xef\xbb\xbf", ">\n>\n",
                           "Slot:\t00:01.0\nClass:\tHost bridge\n", "lspci: command not found\n"}) {
    EXPECT_EQ(Error(text), none) << text;
  }
  EXPECT_THAT(Error("00:01.0 Host bridge: x\n00:02.0 VGA: y\n"), HasSubstr("only 0 bytes"));
  EXPECT_THAT(Error(good_.substr(0, 150)), HasSubstr("only 33 bytes"));
}

TEST_F(Dump, OtherFormatsAreNamedWithWhatHelps) {
  const std::string start = "Cannot read " + folder_.Path("dump") + ": it is ";
  const std::pair<std::string, std::string> formats[] = {
      {std::string("\x1f\x8b\x08\x00", 4), "gzip -dc"},
      {std::string("\xfd\x37zXZ\x00\x00", 7), "xz -dc"},
      {std::string("\x28\xb5\x2f\xfd\x24", 5), "zstd -dc"},
      {"BZh91AY", "bzip2 -dc"}};
  for (const auto& [text, command] : formats) {
    EXPECT_EQ(Error(text), start + "compressed; \"" + command + "\" unpacks it");
  }
  std::string utf16;
  for (const char c : good_) utf16 += std::string{c, '\0'};
  const std::string message = start + "UTF-16; \"iconv -f UTF-16 -t UTF-8\" makes it readable";
  EXPECT_EQ(Error(utf16), message);
  EXPECT_EQ(Error("\xff\xfe" + utf16), message);
  EXPECT_EQ(Error("\xfe\xff" + std::string(1, '\0') + utf16), message);
  EXPECT_EQ(Error(std::string(1, '\0') + utf16), message);
}

TEST_F(Dump, AMissingFileIsNamed) {
  EXPECT_EQ(ErrorOf(folder_.Path("none")),
            "Cannot open " + folder_.Path("none") + ": No such file or directory");
}

TEST_F(Dump, OnlyARegularFileIsRead) {
  EXPECT_THAT(ErrorOf(folder_.Path("")), HasSubstr("not a regular file"));
  EXPECT_THAT(ErrorOf("/dev/zero"), HasSubstr("/dev/zero: not a regular file"));
  const std::string pipe = folder_.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_THAT(ErrorOf(pipe), HasSubstr("not a regular file"));
}

// It looks like an empty file. Whoever opens it waits, and takes lines from the system's log.
TEST_F(Dump, TheKernelsLogIsNotRead) {
  EXPECT_THAT(ErrorOf("/proc/kmsg"), HasSubstr("no PCI function in the dump"));
}

TEST_F(Dump, BinaryAndEndlessLinesAreRefused) {
  const std::string file = folder_.Path("dump");
  EXPECT_EQ(Error(std::string(1 << 20, '\0')), "Cannot read " + file + ": it is no text");
  EXPECT_EQ(Error("host.lspci" + std::string(90, '\0') + "00:00.0 Host bridge"),
            "Cannot read " + file + ": it is no text");
  EXPECT_EQ(Error("\n" + std::string(1 << 20, '0')), file + ", line 2: the line is too long");
  EXPECT_EQ(Error("\n" + std::string(4097, '0') + "\n"), file + ", line 2: the line is too long");
  EXPECT_THAT(Error("\n" + std::string(4096, '0') + "\n"), HasSubstr("no PCI function"));
}

// ---------------------------------------------------------------------------------------------
// Anything

TEST_F(Dump, ALineThatIsCutBetweenItsBytesCostsItsFunction) {
  std::string cut = Endpoint("00:02.0").Resize(128).DumpText();
  const std::string half = "70: 00 00 00 00 00 00 00 00";
  cut.replace(cut.rfind("70: ") + half.size(), std::string::npos, "\n\n");
  EXPECT_THAT(TroubleOf(cut), HasSubstr("the last line of 0000:00:02.0 is cut off"));
}

TEST_F(Dump, CutOffAnywhereIsAnAnswerOrAnError) {
  std::string text;
  for (const char* address : {"00:01.0", "00:02.0", "01:00.0"}) {
    text += Endpoint(address).Bridge(1, 2).Resize(64).DumpText();
  }
  for (std::size_t length = 0; length < text.size(); length += 5) Try(text.substr(0, length));
}

TEST_F(Dump, RandomConfigurationSpacesAreAnswered) {
  Random random(11);
  for (int round = 0; round < 30; ++round) {
    std::vector<Function> functions;
    for (unsigned i = 0; i < 64; ++i) {
      char address[32];
      std::snprintf(address, sizeof address, "0000:%02x:%02x.0", i / 4, i % 4);
      functions.emplace_back(address);
      for (std::size_t k = 0; k < 256; ++k) functions.back().Set(k, {random.Below(256)});
      functions.back().Set(0x0e, {random.Below(3)});
    }
    const pci::Host host = ReadDumpOf(functions);
    EXPECT_THAT(host.functions(), SizeIs(64));
    EXPECT_EQ(Complaints(host), "");
  }
}

TEST_F(Dump, DamagedRecordingsAreAnsweredOrRefused) {
  std::ifstream file(RecordedDump("guest-switches"));
  std::string text;
  for (std::string line; std::getline(file, line);) {
    const bool extended = line.find(':') == 3;  // "100: ": of no interest to the library
    if (!extended) text += line + "\n";
  }
  Random random(13);
  for (int round = 0; round < 200; ++round) {
    std::string damaged = text;
    for (unsigned i = 0, count = 1 + random.Below(8); i < count; ++i) {
      const std::size_t at = random.Below(damaged.size());
      switch (random.Below(4)) {
        case 0: damaged[at] = static_cast<char>(random.Below(256)); break;
        case 1: damaged[at] = "0123456789abcdef"[random.Below(16)]; break;
        case 2: damaged.erase(at, random.Below(40)); break;
        default:
          damaged.insert(at, damaged.substr(random.Below(damaged.size()), random.Below(200)));
      }
    }
    Try(damaged);
  }
}

TEST_F(Dump, AMillionLinesAreReadInOneGo) {
  std::string text;
  std::size_t count = 0;
  const std::string bytes = good_.substr(good_.find('\n') + 1, std::size_t{5} * 52);
  for (unsigned domain = 0; domain < 4; ++domain) {
    for (unsigned place = 0; place < 0x10000 && count < 166'667; ++place, ++count) {
      char address[32];
      std::snprintf(address, sizeof address, "%04x:%02x:%02x.%x x\n", domain, place >> 8,
                    place >> 3 & 31, place & 7);
      text += address + bytes.substr(0, bytes.find("40:")) + "\n";
    }
  }
  EXPECT_EQ(ReadDump(folder_.Write("dump", text)).functions().size(), count);
  EXPECT_EQ(ReadDump(folder_.Write("dump", Replaced(text, "\n", "\r"))).functions().size(), count);
  EXPECT_THAT(Read(good_ + std::string(1'000'000, '\n')).functions(), SizeIs(1));
}

TEST_F(Dump, FailuresLeaveNoFileOpen) {
  const std::string bad = folder_.Write("bad", "00:1f.9 x\n");
  const std::size_t open_before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) {
    EXPECT_NE(ErrorOf(bad), "");
    EXPECT_NE(ErrorOf(folder_.Path("none")), "");
  }
  EXPECT_EQ(OpenDescriptors(), open_before);
}

}  // namespace
}  // namespace pci_test
