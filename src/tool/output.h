// Standard output as a stream that tells when writing fails.
//
// Thread rule: one thread at a time.

#ifndef TOOL_OUTPUT_H_
#define TOOL_OUTPUT_H_

#include <array>
#include <cstddef>
#include <ostream>
#include <streambuf>

namespace tool {

// A buffer in front of a file descriptor, which stays the caller's. A failed write throws
// std::system_error with the system's error number.
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

}  // namespace tool

#endif  // TOOL_OUTPUT_H_
