#include "tool/host_source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "pci/source.h"
#include "tool/errors.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

void Check(bool there, const char* kind, const std::string& path) {
  if (!there) throw CommandError(fmt::format("there is no {} \"{}\"", kind, path));
}

[[noreturn]] void FailToRead(const std::string& what) {
  throw CommandError(
      fmt::format("cannot read {}: {}", what, std::generic_category().message(errno)));
}

// The library reads regular files alone: a copy in memory takes the place of standard input.
void KeepStandardInput() {
  constexpr std::size_t kMost = std::size_t{256} << 20;
  const int copy = memfd_create("dump", MFD_CLOEXEC);
  if (copy < 0) FailToRead("standard input");
  std::array<char, std::size_t{1} << 16> block;
  std::size_t size = 0;
  for (ssize_t got; (got = read(STDIN_FILENO, block.data(), block.size())) != 0;) {
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || write(copy, block.data(), static_cast<std::size_t>(got)) != got) {
      FailToRead("standard input");
    }
    size += static_cast<std::size_t>(got);
    if (size > kMost) throw CommandError("standard input is no dump: it has more than 256 MiB");
  }
  dup2(copy, STDIN_FILENO);
  close(copy);
}

}  // namespace

std::string DumpFile(const std::string& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  if (path != "-") {
    Check(fs::exists(status), "dump file", path);
    if (fs::is_directory(status)) {
      throw CommandError(fmt::format("\"{}\" is a folder, not a dump file", path));
    }
    if (!fs::is_fifo(status)) return path;
    const int pipe = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (pipe < 0) FailToRead(fmt::format("\"{}\"", path));
    dup2(pipe, STDIN_FILENO);
    close(pipe);
  }
  KeepStandardInput();
  return "/dev/stdin";
}

void SelectHost(const HostSource& source) {
  std::error_code ignored;
  if (source.sysfs && source.dump) throw UsageError("--sysfs and --dump exclude each other");
  if (source.sysfs) {
    Check(fs::is_directory(*source.sysfs, ignored), "sysfs folder", *source.sysfs);
    setenv(pci::kSysfsVariable, source.sysfs->c_str(), 1);
    unsetenv(pci::kDumpVariable);
  }
  if (source.dump) {
    setenv(pci::kDumpVariable, DumpFile(*source.dump).c_str(), 1);
    unsetenv(pci::kSysfsVariable);
  }
  if (source.system_name) setenv(pci::kSystemNameVariable, source.system_name->c_str(), 1);
}

std::string SystemName() { return pci::SystemName(); }

}  // namespace tool
