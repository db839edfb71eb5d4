#include "tool/quiet_factory.h"

#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "tool/output.h"

namespace tool {
namespace {

constexpr std::string_view kTrace = "--- _Create_InstanceMI() ";
constexpr std::string_view kIncomplete = "reporting may be incomplete";

// Standard error goes into memory while this lives.
class CaughtStderr {
 public:
  CaughtStderr()
      : memory_(memfd_create("stderr", MFD_CLOEXEC)), stderr_(memory_ < 0 ? -1 : dup(2)) {
    (void)std::fflush(stderr);
    if (stderr_ >= 0) dup2(memory_, 2);
  }
  CaughtStderr(const CaughtStderr&) = delete;
  CaughtStderr& operator=(const CaughtStderr&) = delete;

  ~CaughtStderr() {
    Restore();
    if (memory_ >= 0) close(memory_);
  }

  // Ends the catching.
  void Restore() {
    if (stderr_ < 0) return;
    (void)std::fflush(stderr);
    dup2(stderr_, 2);
    close(stderr_);
    stderr_ = -1;
  }

  std::string Text() const {
    std::string text;
    std::array<char, 4096> block;
    if (memory_ < 0 || lseek(memory_, 0, SEEK_SET) != 0) return text;
    for (ssize_t got; (got = read(memory_, block.data(), block.size())) > 0;) {
      text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text;
  }

 private:
  int memory_;
  int stderr_;
};

// The log goes to standard error while this lives; outside of a verbose process, errors and
// warnings alone.
class LoggedComplaints {
 public:
  explicit LoggedComplaints(bool verbose) : verbose_(verbose) {
    if (verbose_) return;
    OpenLog(true);
    mask_ = setlogmask(LOG_MASK(LOG_ERR) | LOG_MASK(LOG_WARNING));
  }
  LoggedComplaints(const LoggedComplaints&) = delete;
  LoggedComplaints& operator=(const LoggedComplaints&) = delete;

  ~LoggedComplaints() {
    if (verbose_) return;
    setlogmask(mask_);
    OpenLog(false);
  }

 private:
  bool verbose_;
  int mask_ = 0;
};

void WriteOut(std::string_view caught, bool with_trace) {
  while (!caught.empty()) {
    const std::size_t end = caught.find('\n');
    const std::string_view line = caught.substr(0, end == std::string_view::npos ? end : end + 1);
    if (with_trace || !line.starts_with(kTrace)) WriteDiagnostic(line);
    caught.remove_prefix(line.size());
  }
}

}  // namespace

void OpenLog(bool verbose) { openlog("ostrel-pci", verbose ? LOG_PERROR : 0, LOG_USER); }

bool RunFactory(const std::function<void()>& call, bool verbose) {
  CaughtStderr caught;
  const auto finish = [&] {
    caught.Restore();
    const std::string text = caught.Text();
    WriteOut(text, verbose);
    return text.find(kIncomplete) != std::string::npos;
  };
  try {
    const LoggedComplaints complaints(verbose);
    call();
  } catch (...) {
    finish();
    throw;
  }
  return finish();
}

}  // namespace tool
