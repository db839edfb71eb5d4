// bare_read FOLDER: makes the system calls that reading the functions of a copied sysfs tree takes,
// and does nothing with what it reads: the floor of reading. FOLDER stands for /sys/bus/pci.
//
// Of each function: where its link leads, then "modalias" and "config", each looked at, opened,
// read and closed.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>

namespace {

std::array<char, 4096> buffer;

// How many bytes there were.
ssize_t Read(int folder, const char* function, const char* name) {
  std::array<char, 300> path;
  (void)std::snprintf(path.data(), path.size(), "%s/%s", function, name);
  struct stat status;
  if (fstatat(folder, path.data(), &status, AT_SYMLINK_NOFOLLOW) != 0) return 0;
  const int file = openat(folder, path.data(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  const ssize_t size = pread(file, buffer.data(), 256, 0);
  close(file);
  return size;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || chdir(argv[1]) != 0) {
    (void)std::fprintf(stderr, "usage: bare_read FOLDER\n");
    return 2;
  }
  DIR* const folder = opendir("devices");
  if (folder == nullptr) {
    std::perror("bare_read: devices");
    return 1;
  }
  const int descriptor = dirfd(folder);
  unsigned functions = 0;
  ssize_t bytes = 0;
  while (const dirent* entry = readdir(folder)) {
    if (entry->d_name[0] == '.') continue;
    ++functions;
    bytes += readlinkat(descriptor, entry->d_name, buffer.data(), buffer.size());
    bytes += Read(descriptor, entry->d_name, "modalias");
    bytes += Read(descriptor, entry->d_name, "config");
  }
  closedir(folder);
  std::printf("%u functions, %zd bytes\n", functions, bytes);
  return 0;
}
