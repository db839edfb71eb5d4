#include "bench/system_calls.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

namespace bench {
namespace {

[[noreturn]] void BecomeTraced(std::vector<std::string>& words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const bool ready = null >= 0 && dup2(null, STDOUT_FILENO) >= 0;
  if (ready && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
    execvp(arguments[0], arguments.data());
  }
  _exit(127);
}

void Check(long result) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), "ptrace");
}

// Adds the call that the process is stopped at the end of.
void Count(pid_t process, std::uint64_t& number, SystemCalls& calls) {
  __ptrace_syscall_info info;
  Check(ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info));
  if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
    number = info.entry.nr;
    ++calls.all;
  } else if (info.op == PTRACE_SYSCALL_INFO_EXIT && number == SYS_pread64 && info.exit.rval > 0) {
    calls.positioned_bytes += static_cast<std::size_t>(info.exit.rval);
  }
}

}  // namespace

SystemCalls CountSystemCalls(std::vector<std::string> words) {
  const std::string name = words.at(0);
  const pid_t process = fork();
  if (process == 0) BecomeTraced(words);
  if (process < 0) throw std::system_error(errno, std::generic_category(), "fork");
  SystemCalls calls;
  std::uint64_t number = 0;
  for (bool first = true;; first = false) {
    int status = 0;
    Check(waitpid(process, &status, 0));
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return calls;
    if (!WIFSTOPPED(status)) throw std::runtime_error(name + ": did not end well");
    if (first) {
      Check(ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL));
    }
    const bool at_call = WSTOPSIG(status) == (SIGTRAP | 0x80);
    if (at_call) Count(process, number, calls);
    const int signal = at_call || WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
    Check(ptrace(PTRACE_SYSCALL, process, nullptr, signal));
  }
}

}  // namespace bench
