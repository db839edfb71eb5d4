#include "platform/hostctl/dump_reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>

#include "cache/hostctl.h"
#include "platform/hostctl/config_space.h"

namespace HostCtl::Linux {
namespace {

constexpr std::size_t kLongestLine = 4096;           // many times what lspci prints
constexpr std::uint32_t kExtendedConfigSize = 4096;  // PCI Express Base, 7.2.2

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";  // of UTF-8

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

bool IsHex(std::string_view text) {
  return !text.empty() && text.find_first_not_of(kHexDigits) == std::string_view::npos;
}

// The value of a hexadecimal digit, or 16.
unsigned DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
  const char lower = static_cast<char>(digit | 0x20);
  return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : 16;
}

// The byte at the start of the text, as two digits with a space or nothing behind them.
std::optional<std::uint8_t> LeadingByte(std::string_view text) {
  if (text.size() < 2 || (text.size() > 2 && text[2] != ' ')) return std::nullopt;
  const unsigned high = DigitValue(text[0]);
  const unsigned low = DigitValue(text[1]);
  if (high > 15 || low > 15) return std::nullopt;
  return static_cast<std::uint8_t>(high << 4 | low);
}

// The text of an address at the start of a function's first line ("00:1f.0 ISA bridge: ..."), or
// nothing where the line is another one.
std::optional<std::string_view> AddressText(std::string_view line) {
  const std::string_view text = line.substr(0, line.find(' '));
  if (text.size() == line.size() || text.size() < 7) return std::nullopt;
  const std::string_view short_form = text.substr(text.size() - 7);  // bb:dd.f
  const bool shaped = IsHex(short_form.substr(0, 2)) && short_form[2] == ':' &&
                      IsHex(short_form.substr(3, 2)) && short_form[5] == '.' &&
                      IsHex(short_form.substr(6));
  if (!shaped) return std::nullopt;
  const std::string_view domain = text.substr(0, text.size() - 7);
  if (domain.empty()) return text;
  if (domain.back() != ':' || !IsHex(domain.substr(0, domain.size() - 1))) return std::nullopt;
  return text;
}

class Parser {
 public:
  Parser(const std::string& path, const DumpedFunctionHandler& handle)
      : path_(path), handle_(handle) {}

  void TakeLine(std::string_view line) {
    if (++line_number_ == 1 && line.starts_with(kByteOrderMark)) {
      line.remove_prefix(kByteOrderMark.size());
    }
    if (line.empty()) return EndFunction();
    has_text_ = true;
    if (const auto address = AddressText(line)) return BeginFunction(*address);
    TakeBytes(line);
  }

  [[noreturn]] void RefuseLongLine() {
    ++line_number_;
    Fail("the line is too long");
  }

  void EndOfFile() {
    EndFunction();
    if (has_text_ && !has_function_) Fail("no PCI function up to here: lspci -x prints dumps");
  }

  [[noreturn]] void Fail(const std::string& what) const {
    throw Lib::HostCtlException(path_ + ", line " + std::to_string(line_number_) + ": " + what);
  }

 private:
  void BeginFunction(std::string_view text) {
    EndFunction();
    address_ = ParseAddress(text.size() == 7 ? "0000:" + std::string(text) : std::string(text));
    if (!address_) Fail("no such PCI address: " + std::string(text));
    has_function_ = true;
    bytes_.fill(0xff);  // what a read of a missing register gives
    given_.reset();
    length_ = 0;
  }

  void EndFunction() {
    if (!address_) return;
    if (length_ < kStandardHeaderSize) {
      Fail("only " + std::to_string(length_) + " bytes of configuration space of " +
           FormatAddress(*address_) + " up to here: lspci -x prints at least 64");
    }
    handle_(*address_, std::span(bytes_).first(length_));
    address_.reset();
  }

  // "1f0: 86 80 00 ff ...": registers from an offset on. Any other line is lspci's text for people.
  void TakeBytes(std::string_view line) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string_view::npos || colon < 2 || colon > 8 || !IsHex(line.substr(0, colon)))
      return;
    if (!address_) return RefuseBytes(line.substr(colon + 2));
    std::uint32_t offset = *ParseHex(line.substr(0, colon), colon);
    for (std::size_t i = colon + 2; i < line.size(); i += 3) {
      const std::optional<std::uint8_t> byte = LeadingByte(line.substr(i));
      if (!byte) Fail("malformed bytes");
      StoreByte(offset++, *byte);
    }
  }

  // Outside of functions stands text for people, which may well begin like registers.
  void RefuseBytes(std::string_view text) const {
    if (LeadingByte(text)) Fail("bytes without the line that begins a function before them");
  }

  // The extended configuration space is checked and not kept: nothing in it is asked for.
  void StoreByte(std::uint32_t offset, std::uint8_t byte) {
    if (offset >= kExtendedConfigSize) Fail("a configuration space has at most 4096 bytes");
    if (given_[offset]) Fail("bytes of " + FormatAddress(*address_) + " that it already has");
    given_.set(offset);
    if (offset >= bytes_.size()) return;
    bytes_[offset] = byte;
    length_ = std::max(length_, std::size_t{offset} + 1);
  }

  const std::string& path_;
  const DumpedFunctionHandler& handle_;
  std::size_t line_number_ = 0;
  bool has_text_ = false;
  bool has_function_ = false;
  std::optional<PciAddress> address_;  // of the function whose lines are being read
  std::array<std::uint8_t, kConfigSize> bytes_;
  std::bitset<kExtendedConfigSize> given_;
  std::size_t length_ = 0;
};

// A pipe, device or folder in place of the file could make the reader wait for ever.
void RequireRegularFile(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    throw Lib::HostCtlException("Cannot open " + path + ": " + std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    throw Lib::HostCtlException("Cannot read " + path + ": not a regular file");
  }
}

}  // namespace

void ReadDump(const std::string& path, const DumpedFunctionHandler& handle) {
  RequireRegularFile(path);
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Lib::HostCtlException("Cannot open " + path + ": " + std::strerror(errno));

  Parser parser(path, handle);
  std::array<char, kLongestLine> buffer;
  while (file.getline(buffer.data(), buffer.size())) {
    const auto count = static_cast<std::size_t>(file.gcount());
    std::string_view line(buffer.data(), file.eof() ? count : count - 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    parser.TakeLine(line);
  }
  if (file.bad()) throw Lib::HostCtlException("Cannot read " + path);
  if (!file.eof()) parser.RefuseLongLine();
  parser.EndOfFile();
}

}  // namespace HostCtl::Linux
