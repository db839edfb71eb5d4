// Dumps of all kinds: what is accepted, and that what is not ends in a clear exception.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "hostctl/expectations.h"
#include "hostctl/sources.h"

namespace hostctl_test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string ErrorOf(const std::string& path) {
  try {
    ReadDump(path);
  } catch (const HostCtl::Lib::HostCtlException& error) {
    return error.message;
  }
  ADD_FAILURE() << path << " was accepted";
  return "";
}

class Dump : public ::testing::Test {
 protected:
  Devices Read(const std::string& text) { return ReadDump(folder_.Write("dump", text)); }
  std::string Error(const std::string& text) { return ErrorOf(folder_.Write("dump", text)); }

  // Reads the text, whatever it is: a sensible answer or an exception.
  void Try(const std::string& text) {
    try {
      ExpectSensible(Read(text));
    } catch (const HostCtl::Lib::HostCtlException& error) {
      EXPECT_THAT(error.message, HasSubstr(folder_.Path("dump")));
    }
  }

  const TempFolder folder_;
  const std::string good_ = Function("0000:00:01.0").Ids(0x8086, 0x1234).DumpText();
};

TEST_F(Dump, AnEmptyFileIsAHostWithoutFunctions) {
  EXPECT_THAT(Read(""), IsEmpty());
  EXPECT_THAT(Read("\n\n"), IsEmpty());
}

TEST_F(Dump, ReadsShortAndLongAddresses) {
  const Devices devices =
      Read(Function("00:01.0").DumpText() + Function("0001:02:1f.7").DumpText() +
           Function("10000:e0:06.0").DumpText() + Function("7fffffff:ff:00.0").DumpText());
  ASSERT_EQ(devices.size(), 4u);
  EXPECT_EQ(devices[0]->GetName(), "0000:00:01.0");
  EXPECT_EQ(devices[1]->GetName(), "0001:02:1f.7");
  EXPECT_EQ(devices[2]->GetName(), "10000:e0:06.0");
  EXPECT_EQ(devices[3]->GetName(), "7fffffff:ff:00.0");
  EXPECT_EQ(devices[3]->GetSegment(), 0xffff);
}

TEST_F(Dump, ReadsEveryLengthThatLspciPrints) {
  for (const std::size_t size : {64u, 128u, 256u, 4096u}) {
    const Devices devices = Read(Function("00:01.0").Ids(0x8086, 0x1234).Resize(size).DumpText());
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0]->GetDeviceId(), 0x1234);
  }
}

TEST_F(Dump, ReadsUpperCaseWindowsLinesAndAMissingLastNewline) {
  std::string text = Function("00:1A.0").Ids(0x8086, 0xABCD).Resize(64).DumpText();
  text.resize(text.find_last_not_of('\n') + 1);
  for (std::size_t i = 0; (i = text.find('\n', i)) != text.npos; i += 2) text.insert(i, "\r");
  const Devices devices = Read(text);
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0]->GetName(), "0000:00:1a.0");
  EXPECT_EQ(devices[0]->GetDeviceId(), 0xabcd);
}

TEST_F(Dump, SkipsTheTextForPeople) {
  const std::string bytes = good_.substr(good_.find('\n') + 1);
  EXPECT_EQ(Read("A dump of our host\n\n00:01.0 Host bridge: x (rev 02)\n\tFlags: fast devsel\n"
                 "\tKernel driver in use: pcieport\n" +
                 bytes)
                .size(),
            1u);
}

TEST_F(Dump, SkipsWhatLspciSaysBetweenTheFunctionAndItsBytes) {
  const std::string bytes = good_.substr(good_.find('\n') + 1);
  EXPECT_EQ(
      Read("lspci: Unable to load libkmod resources: error -2\n"
           "00:01.0 Host bridge: x (rev 02)\n"
           "\tControl: I/O+ Mem+ BusMaster+\n"
           "\tRegion 0: Memory at 10: 00 (32-bit)\n"
           "\tCapabilities: [40] Power Management version 2\n"
           "\t\t00: 00 00\n"
           "\t!!! Unknown header type 7f\n"
           "pcilib: sysfs_read_vpd: read failed: No such device\n" +
           bytes + "add: what is below is of another host\n\n" + Function("00:02.0").DumpText())
          .size(),
      2u);
}

TEST_F(Dump, SkipsAByteOrderMark) {
  EXPECT_EQ(Read("\xef\xbb\xbf" + good_ + Function("00:02.0").DumpText()).size(), 2u);
  EXPECT_THAT(Read("\xef\xbb\xbf"), IsEmpty());
}

// With the line damaged that begins a function, its bytes are nobody's, or look like the bytes of
// the function before.
TEST_F(Dump, BytesOfADamagedFunctionAreRefused) {
  const std::string file = folder_.Path("dump");
  std::string damaged = Function("00:02.0").DumpText();
  damaged.insert(1, " ");
  EXPECT_EQ(Error(good_ + damaged),
            file + ", line 20: bytes without the line that begins a function before them");
  EXPECT_EQ(Error(damaged),
            file + ", line 2: bytes without the line that begins a function before them");
  EXPECT_EQ(Error(good_.substr(0, good_.size() - 1) + damaged),
            file + ", line 19: bytes of 0000:00:01.0 that it already has");
  const std::string extended = good_.substr(0, good_.size() - 1) + "100: 00\n";
  EXPECT_EQ(Read(extended).size(), 1u);
  EXPECT_EQ(Error(extended + "100: 00\n"),
            file + ", line 19: bytes of 0000:00:01.0 that it already has");
}

TEST_F(Dump, TheFirstOfARepeatedFunctionStands) {
  const Devices devices = Read(Function("00:01.0").Ids(1, 1).DumpText() +
                               Function("0000:00:01.0").Ids(1, 2).DumpText());
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0]->GetDeviceId(), 1);
}

TEST_F(Dump, MissingLinesReadAsAllOnes) {
  std::string text = good_;
  const std::size_t line = text.find("20:");
  text.erase(line, text.find('\n', line) + 1 - line);
  EXPECT_EQ(Read(text)[0]->GetDeviceId(), 0x1234);
  EXPECT_EQ(Read(text)[0]->GetSubsystemVendorId(), 0) << "unknown";
}

TEST_F(Dump, NamesFileAndLineOfWhatIsWrong) {
  const std::string file = folder_.Path("dump");
  EXPECT_EQ(Error(good_ + "00:1f.9 x\n"), file + ", line 19: no such PCI address: 00:1f.9");
  EXPECT_EQ(Error("00:20.0 x\n"), file + ", line 1: no such PCI address: 00:20.0");
  EXPECT_EQ(Error("80000000:00:01.0 x\n"),
            file + ", line 1: no such PCI address: 80000000:00:01.0");
  EXPECT_EQ(Error("00:01.0 x\n00: 86 8\n"), file + ", line 2: malformed bytes");
  EXPECT_EQ(Error("00:01.0 x\n00: 86 80x\n"), file + ", line 2: malformed bytes");
  EXPECT_EQ(Error("00:01.0 x\n00: 86  80\n"), file + ", line 2: malformed bytes");
  EXPECT_THAT(Error("00:01.0 Host bridge: x\n00:02.0 VGA: y\n"), HasSubstr("only 0 bytes"));
  EXPECT_THAT(Error(good_.substr(0, 150)), HasSubstr(file));
  EXPECT_THAT(Error("Slot:\t00:01.0\nClass:\tHost bridge\n"), HasSubstr("no PCI function"));
}

// libpci's own reader writes in front of its buffer here, and the process dies.
TEST_F(Dump, OffsetsOutsideTheConfigurationSpaceAreRefused) {
  for (const char* offset : {"1000", "ffff", "7fffffff", "80000000", "ffffffff"}) {
    EXPECT_THAT(Error(good_.substr(0, good_.size() - 1) + offset + ": 00\n"),
                HasSubstr("at most 4096 bytes"));
  }
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

TEST_F(Dump, BinaryAndEndlessLinesAreRefused) {
  const std::string file = folder_.Path("dump");
  EXPECT_EQ(Error(std::string(1 << 20, '\0')), file + ", line 1: the line is too long");
  EXPECT_EQ(Error("\n" + std::string(1 << 20, '0')), file + ", line 2: the line is too long");
}

TEST_F(Dump, CutOffAnywhereIsAnAnswerOrAnException) {
  std::string text;
  for (const char* address : {"00:01.0", "00:02.0", "01:00.0"}) {
    text += Function(address).Ids(0x8086, 0x1234).Bridge(1, 2).Resize(64).DumpText();
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
    const Devices devices = ReadDumpOf(functions);
    EXPECT_EQ(devices.size(), 64u);
    ExpectSensible(devices);
  }
}

TEST_F(Dump, DamagedRecordingsAreAnsweredOrRefused) {
  std::ifstream file(RecordedDump());
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
  EXPECT_EQ(Read(text).size(), count);
  EXPECT_EQ(Read(good_ + std::string(1'000'000, '\n')).size(), 1u);
}

TEST_F(Dump, FailuresLeaveNoFileOpen) {
  const std::string bad = folder_.Write("bad", good_ + "00:1f.9 x\n");
  EXPECT_NE(ErrorOf(bad), "");
  const std::size_t open_before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) {
    EXPECT_NE(ErrorOf(bad), "");
    EXPECT_NE(ErrorOf(folder_.Path("none")), "");
  }
  EXPECT_EQ(OpenDescriptors(), open_before);
}

}  // namespace
}  // namespace hostctl_test
