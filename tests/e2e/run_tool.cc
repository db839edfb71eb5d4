#include "e2e/run_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace e2e {
namespace {

constexpr unsigned kNobody = 65534;

std::string ReadAll(int descriptor) {
  std::string text;
  std::array<char, 4096> block;
  // A terminal whose other end was closed answers an error where a file ends.
  for (ssize_t got; (got = read(descriptor, block.data(), block.size())) > 0;) {
    text.append(block.data(), static_cast<std::size_t>(got));
  }
  return text;
}

std::string ReadFromStart(int descriptor) {
  lseek(descriptor, 0, SEEK_SET);
  return ReadAll(descriptor);
}

int OpenToWrite(const std::string& file) { return open(file.c_str(), O_WRONLY | O_CLOEXEC); }

// Where standard output goes, and where to read it afterwards.
struct OutputEnds {
  int write = -1;
  int read = -1;
};

OutputEnds OpenOutput(const Setting& setting) {
  OutputEnds ends;
  if (setting.reader_gone) {
    int pipe_ends[2];
    EXPECT_EQ(pipe(pipe_ends), 0);
    close(pipe_ends[0]);
    ends.write = pipe_ends[1];
  } else if (setting.terminal != 0) {
    winsize size{};
    size.ws_col = static_cast<unsigned short>(setting.terminal);
    EXPECT_EQ(openpty(&ends.read, &ends.write, nullptr, nullptr, &size), 0);
  } else if (!setting.out_file.empty()) {
    ends.write = OpenToWrite(setting.out_file);
  } else {
    ends.read = memfd_create("out", 0);
    ends.write = dup(ends.read);
  }
  EXPECT_GE(ends.write, 0);
  return ends;
}

void SetEnvironment(const Setting& setting) {
  for (const char* name : {"HOSTCTL_PCI_SYSFS", "HOSTCTL_PCI_DUMP", "HOSTCTL_SYSTEM_NAME",
                           "OSTREL_PCI_LIBRARY", "COLUMNS"}) {
    unsetenv(name);
  }
  setenv("LC_ALL", "C.UTF-8", 1);
  for (const auto& [name, value] : setting.environment) setenv(name.c_str(), value.c_str(), 1);
}

[[noreturn]] void Become(const Words& arguments, const Setting& setting, int out, int err) {
  if (!setting.in_file.empty()) dup2(open(setting.in_file.c_str(), O_RDONLY), STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  for (const int descriptor : setting.closed) close(descriptor);
  SetEnvironment(setting);
  if (setting.unprivileged && setuid(kNobody) != 0) _exit(126);
  std::vector<char*> argv;
  std::string program = OSTREL_PCI;
  argv.push_back(program.data());
  Words words = arguments;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(126);
}

}  // namespace

Outcome RunTool(const Words& arguments, const Setting& setting) {
  const OutputEnds out = OpenOutput(setting);
  const int err = memfd_create("err", 0);
  const int err_write = setting.err_file.empty() ? dup(err) : OpenToWrite(setting.err_file);
  const pid_t child = fork();
  if (child == 0) Become(arguments, setting, out.write, err_write);
  close(out.write);
  close(err_write);
  Outcome run;
  // A terminal holds little: read while the tool writes.
  if (setting.terminal != 0) run.out = ReadAll(out.read);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  if (setting.terminal == 0 && out.read >= 0) run.out = ReadFromStart(out.read);
  if (out.read >= 0) close(out.read);
  run.err = ReadFromStart(err);
  close(err);
  return run;
}

Outcome RunOnRecord(Words arguments, const Setting& setting) {
  arguments.insert(arguments.end(), {"--dump", RECORDED_DUMP, "--system-name", "recorded"});
  return RunTool(arguments, setting);
}

std::string OutputOf(const std::string& command) {
  std::FILE* pipe = popen(("LC_ALL=C.UTF-8 " + command + " 2>/dev/null").c_str(), "r");
  std::string output = ReadAll(fileno(pipe));
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string ReadFile(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

}  // namespace e2e
