#include "tool/output.h"

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace tool {

void HoldStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free descriptor is this one. It is open the wrong way round, but for standard
    // error: to use it fails, as before.
    (void)open("/dev/null", descriptor == STDOUT_FILENO ? O_RDONLY : O_WRONLY);
  }
}

void WriteDiagnostic(std::string_view text) {
  (void)std::fwrite(text.data(), 1, text.size(), stderr);
}

FileBuffer::FileBuffer(int descriptor) : descriptor_(descriptor) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

void FileBuffer::WriteOut() {
  const char* next = pbase();
  const char* const end = pptr();
  // What could not be written is not tried again.
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  while (next != end) {
    const ssize_t written = write(descriptor_, next, static_cast<std::size_t>(end - next));
    if (written >= 0) {
      next += written;
    } else if (errno != EINTR) {
      throw OutputError(errno);
    }
  }
}

FileBuffer::int_type FileBuffer::overflow(int_type c) {
  WriteOut();
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  return sputc(traits_type::to_char_type(c));
}

int FileBuffer::sync() {
  WriteOut();
  return 0;
}

FileOutput::FileOutput(int descriptor) : std::ostream(nullptr), buffer_(descriptor) {
  rdbuf(&buffer_);
  exceptions(std::ios::badbit);
}

std::size_t TerminalWidth(int descriptor) {
  if (isatty(descriptor) == 0) return 0;
  if (const char* columns = std::getenv("COLUMNS")) {
    const long width = std::strtol(columns, nullptr, 10);
    if (width > 0) return static_cast<std::size_t>(width);
  }
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

bool Utf8Locale() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return false;
  const bool utf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  freelocale(locale);
  return utf8;
}

std::string_view Ellipsis() { return Utf8Locale() ? "\u2026" : "..."; }

}  // namespace tool
