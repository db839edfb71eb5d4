#include "bench/child_process.h"

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

namespace bench {
namespace {

constexpr int kCannotRun = 127;

[[noreturn]] void Become(std::vector<std::string>& words, int output) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (dup2(output, STDOUT_FILENO) >= 0) execvp(arguments[0], arguments.data());
  _exit(kCannotRun);
}

std::chrono::microseconds TimeOf(const timeval& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> words, int output)
    : name_(words.at(0)), process_(fork()) {
  if (process_ == 0) Become(words, output);
  if (process_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
}

ChildProcess::~ChildProcess() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void ChildProcess::Terminate() const { kill(process_, SIGTERM); }

std::chrono::microseconds ChildProcess::Wait() {
  int status = 0;
  rusage usage;
  while (wait4(process_, &status, 0, &usage) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), name_);
  }
  process_ = -1;
  if (WIFSIGNALED(status)) {
    throw std::runtime_error(fmt::format("{}: ended by signal {}", name_, WTERMSIG(status)));
  }
  if (WEXITSTATUS(status) == kCannotRun) {
    throw std::runtime_error(fmt::format("{}: cannot be run", name_));
  }
  if (WEXITSTATUS(status) != 0) {
    throw std::runtime_error(fmt::format("{}: exit status {}", name_, WEXITSTATUS(status)));
  }
  return TimeOf(usage.ru_utime) + TimeOf(usage.ru_stime);
}

}  // namespace bench
