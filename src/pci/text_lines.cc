#include "pci/text_lines.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "pci/error.h"

namespace pci {
namespace {

constexpr std::size_t kLongestLine = 4096;  // many times what lspci prints
constexpr std::size_t kBlock = std::size_t{64} << 10;

struct Compression {
  std::string_view start;
  const char* program;
};

constexpr std::array kCompressions = {Compression{"\x1f\x8b", "gzip"}, Compression{"BZh", "bzip2"},
                                      Compression{"\xfd\x37zXZ", "xz"},
                                      Compression{"\x28\xb5\x2f\xfd", "zstd"}};

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";  // of UTF-8

// Begins with its byte order mark, or with characters of which every other byte is 0.
bool IsUtf16(std::string_view text) {
  if (text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff")) return true;
  if (text.size() < 4) return false;
  const auto zero_at = [&](std::size_t i) { return text[i] == '\0'; };
  return zero_at(0) == zero_at(2) && zero_at(1) == zero_at(3) && zero_at(0) != zero_at(1);
}

File Open(const std::string& path) {
  struct stat status;
  // A pipe or a device could make the reader wait for ever. So could what the kernel shows as
  // empty files, its log for one, which also loses what is read: nothing of them is opened.
  if (stat(path.c_str(), &status) != 0) {
    throw Error("Cannot open " + path + ": " + SystemReason(errno));
  }
  if (!S_ISREG(status.st_mode)) throw Error("Cannot read " + path + ": not a regular file");
  if (status.st_size == 0) return File();
  File file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.is_open()) throw Error("Cannot open " + path + ": " + SystemReason(errno));
  return file;
}

std::string_view WithoutQuoteMarks(std::string_view line) {
  while (line.starts_with('>')) {
    line.remove_prefix(1);
    if (line.starts_with(' ')) line.remove_prefix(1);
  }
  return line;
}

std::string_view WithoutTrailingBlanks(std::string_view line) {
  return line.substr(0, line.find_last_not_of(" \t") + 1);
}

}  // namespace

TextLines::TextLines(const std::string& path) : path_(path), file_(Open(path)) {
  if (!file_.is_open()) {
    at_end_ = true;
    return;
  }
  buffer_.resize(kBlock);
  Fill();
  RefuseOtherFormats();
  const std::string_view start(buffer_.data(), end_);
  if (start.starts_with(kByteOrderMark)) begin_ = kByteOrderMark.size();
}

void TextLines::RefuseOtherFormats() const {
  const std::string_view start(buffer_.data(), end_);
  for (const auto& [magic, program] : kCompressions) {
    if (!start.starts_with(magic)) continue;
    throw Error("Cannot read " + path_ + ": it is compressed; \"" + program + " -dc\" unpacks it");
  }
  if (IsUtf16(start)) {
    throw Error("Cannot read " + path_ +
                ": it is UTF-16; \"iconv -f UTF-16 -t UTF-8\" makes it readable");
  }
  // Programs and archives have a zero soon.
  if (start.substr(0, 512).find('\0') != std::string_view::npos) {
    throw Error("Cannot read " + path_ + ": it is no text");
  }
}

// Moves what is left to the front and reads more behind it.
void TextLines::Fill() {
  if (at_end_ || end_ - begin_ > kLongestLine + 1) return;
  std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  while (!at_end_ && end_ < buffer_.size()) {
    const ssize_t got = read(file_.descriptor(), buffer_.data() + end_, buffer_.size() - end_);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Error("Cannot read " + path_ + ": " + SystemReason(errno));
    at_end_ = got == 0;
    end_ += static_cast<std::size_t>(got);
  }
}

std::optional<std::string_view> TextLines::Next() {
  Fill();
  if (begin_ == end_) return std::nullopt;
  ++number_;
  const std::string_view rest(buffer_.data() + begin_, std::min(end_ - begin_, kLongestLine + 1));
  const std::size_t newline = rest.find('\n');
  const std::size_t length =
      std::min(rest.substr(0, newline).find('\r'), std::min(newline, rest.size()));
  if (length > kLongestLine) throw Error(Where() + ": the line is too long");
  // CR LF is one end, also where a CR was put in twice; a CR alone is one by itself.
  const std::size_t behind_returns = rest.find_first_not_of('\r', length);
  const bool with_newline = newline != std::string_view::npos && behind_returns == newline;
  begin_ += std::min(with_newline ? newline + 1 : length + 1, rest.size());
  return WithoutQuoteMarks(WithoutTrailingBlanks(rest.substr(0, length)));
}

}  // namespace pci
