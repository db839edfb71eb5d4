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

std::string WithoutTrace(std::string_view text) {
  std::string rest;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    const std::string_view whole = text.substr(0, line.size() + 1);
    if (!line.starts_with(kTrace)) rest += whole;
    text.remove_prefix(whole.size());
  }
  return rest;
}

}  // namespace

void OpenLog(bool verbose) { openlog("ostrel-pci", verbose ? LOG_PERROR : 0, LOG_USER); }

std::string RunFactory(const std::function<void()>& call, bool verbose) {
  CaughtStderr caught;
  const auto finish = [&] {
    caught.Restore();
    return verbose ? caught.Text() : WithoutTrace(caught.Text());
  };
  try {
    const LoggedComplaints complaints(verbose);
    call();
  } catch (...) {
    WriteDiagnostic(finish());
    throw;
  }
  return finish();
}

}  // namespace tool
