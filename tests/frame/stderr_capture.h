// Reads what the process writes to the standard error stream while it lives.
//
// Thread rule: one at a time, made and read on the test's own thread; any thread may write.

#ifndef FRAME_STDERR_CAPTURE_H_
#define FRAME_STDERR_CAPTURE_H_

#include <unistd.h>

#include <cstdio>
#include <string>

// What every instance factory call writes.
inline constexpr const char* kTraceLine = "--- _Create_InstanceMI() PN6ostInt10CmpiBaseMIE\n";

class StderrCapture {
 public:
  StderrCapture() : file_(std::tmpfile()), saved_(dup(STDERR_FILENO)) {
    std::fflush(stderr);
    dup2(fileno(file_), STDERR_FILENO);
  }
  ~StderrCapture() {
    std::fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    std::fclose(file_);
  }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  // Everything so far.
  std::string Text() const {
    std::fflush(stderr);
    std::string text;
    char buffer[512];
    off_t offset = 0;
    for (ssize_t length = 0; (length = pread(fileno(file_), buffer, sizeof buffer, offset)) > 0;
         offset += length) {
      text.append(buffer, static_cast<std::size_t>(length));
    }
    return text;
  }

 private:
  std::FILE* file_;
  int saved_;
};

#endif  // FRAME_STDERR_CAPTURE_H_
