#include "tool/quiet_factory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace tool {
namespace {

constexpr std::string_view kTrace = "--- _Create_InstanceMI() ";

// Standard error goes into memory while this lives.
class CaughtStderr {
 public:
  CaughtStderr()
      : memory_(memfd_create("stderr", MFD_CLOEXEC)), stderr_(memory_ < 0 ? -1 : dup(2)) {
    std::fflush(stderr);
    if (stderr_ >= 0) dup2(memory_, 2);
  }
  CaughtStderr(const CaughtStderr&) = delete;
  CaughtStderr& operator=(const CaughtStderr&) = delete;

  ~CaughtStderr() {
    std::fflush(stderr);
    if (stderr_ >= 0) {
      dup2(stderr_, 2);
      close(stderr_);
      WriteOutRest();
    }
    if (memory_ >= 0) close(memory_);
  }

 private:
  std::string Caught() const {
    std::string text;
    std::array<char, 4096> block;
    lseek(memory_, 0, SEEK_SET);
    for (ssize_t got; (got = read(memory_, block.data(), block.size())) > 0;) {
      text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text;
  }

  void WriteOutRest() const {
    const std::string caught = Caught();
    for (std::string_view rest = caught; !rest.empty();) {
      const std::string_view line = rest.substr(0, rest.find('\n') + 1);  // all where there is none
      const std::string_view taken = line.empty() ? rest : line;
      if (!taken.starts_with(kTrace)) std::fwrite(taken.data(), 1, taken.size(), stderr);
      rest.remove_prefix(taken.size());
    }
  }

  int memory_;
  int stderr_;
};

}  // namespace

void WithoutTraceLines(const std::function<void()>& call) {
  const CaughtStderr caught;
  call();
}

}  // namespace tool
