// Stands in front of the C library's access() for one path, so that no test depends on, or
// touches, a file that an administrator of the machine may have created.

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "support/fake_host.h"

namespace {
std::atomic<bool> readable{false};
std::atomic<std::size_t> checks{0};
}  // namespace

namespace fake {
void DumpFileReadable(bool value) { readable = value; }
std::size_t DumpFileChecks() { return checks; }
}  // namespace fake

extern "C" FAKE_HOST_API int access(const char* path, int mode) noexcept {
  if (std::strcmp(path, "/tmp/dump_pci") != 0) return faccessat(AT_FDCWD, path, mode, 0);
  ++checks;
  if (mode == F_OK || (mode == R_OK && readable)) return 0;
  errno = EACCES;
  return -1;
}
