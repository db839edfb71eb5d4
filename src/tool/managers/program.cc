#include "tool/managers/program.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <system_error>

namespace tool {
namespace {

std::string ErrorText(int error) { return std::generic_category().message(error); }

// What posix_spawn is told; freed with the object.
class SpawnSettings {
 public:
  // `output` is the program's standard output, or -1 where it is that of this process.
  explicit SpawnSettings(int output) {
    // This process ignores SIGPIPE; the program should not.
    sigset_t handled_as_usual;
    sigemptyset(&handled_as_usual);
    sigaddset(&handled_as_usual, SIGPIPE);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigdefault(&attributes_, &handled_as_usual);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_init(&files_);
    if (output != -1) posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  const posix_spawnattr_t* attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* files() const { return &files_; }

 private:
  posix_spawnattr_t attributes_;
  posix_spawn_file_actions_t files_;
};

Failure Start(const Invocation& command, int output, pid_t& child) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const SpawnSettings settings(output);
  const int error = posix_spawnp(&child, arguments[0], settings.files(), settings.attributes(),
                                 arguments.data(), environ);
  return error == 0 ? "" : fmt::format("could not be started: {}", ErrorText(error));
}

Failure WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return fmt::format("was lost: {}", ErrorText(errno));
  }
  if (WIFSIGNALED(status)) return fmt::format("was ended by signal {}", WTERMSIG(status));
  return WEXITSTATUS(status) == 0 ? "" : fmt::format("ended with status {}", WEXITSTATUS(status));
}

std::string ReadToEnd(int descriptor) {
  std::string text;
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t count = read(descriptor, part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(part.data(), static_cast<std::size_t>(count));
  }
}

std::string Trimmed(const std::string& text) {
  constexpr const char* kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

}  // namespace

std::string FindOnPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::string_view rest = path == nullptr ? "" : path;
  while (!rest.empty()) {
    std::string file(rest.substr(0, rest.find(':')));
    rest.remove_prefix(std::min(rest.size(), file.size() + 1));
    if (file.empty()) continue;
    file.append("/").append(program);
    if (access(file.c_str(), X_OK) == 0) return file;
  }
  return "";
}

std::string ShellWord(const std::string& word) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:=@%+,";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char c : word) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  quoted += '\'';
  return quoted;
}

std::string ShellLine(const Invocation& command) {
  std::vector<std::string> words;
  std::transform(command.begin(), command.end(), std::back_inserter(words), ShellWord);
  return fmt::format("{}", fmt::join(words, " "));
}

Failure RunProgram(const Invocation& command) {
  pid_t child = 0;
  Failure failure = Start(command, -1, child);
  return failure.empty() ? WaitFor(child) : failure;
}

Answer AskProgram(const Invocation& command) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return {fmt::format("could not be started: {}", ErrorText(errno)), ""};
  }
  pid_t child = 0;
  Answer answer;
  answer.failure = Start(command, ends[1], child);
  close(ends[1]);
  if (answer.failure.empty()) {
    answer.text = Trimmed(ReadToEnd(ends[0]));
    answer.failure = WaitFor(child);
  }
  close(ends[0]);
  return answer;
}

}  // namespace tool
