// Standard output as a stream that tells when writing fails, and standard error, which does not.
//
// Thread rule: one thread at a time.

#ifndef TOOL_OUTPUT_H_
#define TOOL_OUTPUT_H_

#include <array>
#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <system_error>

namespace tool {

// Opens what the process was started without of descriptors 0 to 2, before anything else gets their
// numbers. Reading such an input and writing such an output still fail with EBADF; what goes to
// such a standard error is lost.
void HoldStandardDescriptors();

// Writes to standard error. Where that fails nobody is left to be told.
void WriteDiagnostic(std::string_view text);

// The output could not be written.
class OutputError : public std::system_error {
 public:
  explicit OutputError(int error) : std::system_error(error, std::generic_category()) {}
};

// A buffer in front of a file descriptor, which stays the caller's. A failed write throws
// OutputError.
class FileBuffer : public std::streambuf {
 public:
  explicit FileBuffer(int descriptor);

 protected:
  int_type overflow(int_type c) override;
  int sync() override;

 private:
  void WriteOut();

  int descriptor_;
  std::array<char, std::size_t{1} << 16> buffer_;
};

// Writes, and the explicit flush that must end them, throw what the buffer throws.
class FileOutput : public std::ostream {
 public:
  explicit FileOutput(int descriptor);

 private:
  FileBuffer buffer_;
};

// The columns of the terminal at the descriptor: the environment's COLUMNS, else what the terminal
// says, else 80. Zero where it is no terminal: nothing needs to fit.
std::size_t TerminalWidth(int descriptor);

// Whether the environment's locale takes UTF-8. It is asked without being set: the provider
// library's lower case would follow it.
bool Utf8Locale();

// What stands for what was cut off, in the environment's locale.
std::string_view Ellipsis();

}  // namespace tool

#endif  // TOOL_OUTPUT_H_
