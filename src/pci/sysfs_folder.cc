#include "pci/sysfs_folder.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cerrno>
#include <new>
#include <utility>

#include "pci/error.h"

namespace pci {
namespace {

// Waits neither for the other end of a pipe nor for a terminal.
constexpr int kReading = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

}  // namespace

SysfsFolder::SysfsFolder(std::string path) : path_(std::move(path)) {
  File opened(open(path_.c_str(), kReading | O_DIRECTORY));
  struct statfs file_system;
  is_kernels_ = opened.is_open() && fstatfs(opened.descriptor(), &file_system) == 0 &&
                file_system.f_type == SYSFS_MAGIC;
  Take(std::move(opened));
}

SysfsFolder::SysfsFolder(const SysfsFolder& above, const char* name)
    : path_(above.PathOf(name)), is_kernels_(above.is_kernels_) {
  Take(File(openat(above.descriptor(), name, kReading | O_DIRECTORY | O_NOFOLLOW)));
}

void SysfsFolder::Take(File opened) {
  if (!opened.is_open()) return;
  folder_.reset(fdopendir(opened.descriptor()));
  if (folder_ == nullptr) throw std::bad_alloc();
  opened.Release();
}

std::string SysfsFolder::PathOf(std::string_view name) const {
  return path_ + '/' + std::string(name);
}

template <typename Wanted>
std::vector<std::string> SysfsFolder::NamesOf(Wanted wanted) const {
  std::vector<std::string> names;
  rewinddir(folder_.get());
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(folder_.get());
    if (entry == nullptr && errno != 0) {
      throw Error("Cannot list " + path_ + ": " + SystemReason(errno));
    }
    if (entry == nullptr) return names;
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && wanted(*entry)) names.emplace_back(name);
  }
}

std::vector<std::string> SysfsFolder::Names() const {
  return NamesOf([](const dirent&) { return true; });
}

std::vector<std::string> SysfsFolder::FolderNames() const {
  return NamesOf(
      [](const dirent& entry) { return entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN; });
}

File SysfsFolder::Open(const char* name) const {
  // In the kernel's own folders stands what should.
  if (!is_kernels_) {
    struct stat status;
    if (fstatat(descriptor(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) return File();
    if (!S_ISREG(status.st_mode)) {
      throw Error("Cannot read " + PathOf(name) + ": not a regular file");
    }
    if (status.st_size == 0) {
      errno = ENODATA;
      return File();
    }
  }
  return File(openat(descriptor(), name, kReading | O_NOFOLLOW));
}

std::optional<std::string_view> SysfsFolder::Read(const char* name, std::span<char> buffer) const {
  const File file = Open(name);
  if (!file.is_open()) return std::nullopt;
  const ssize_t length = read(file.descriptor(), buffer.data(), buffer.size());
  if (length < 0) return std::nullopt;
  // A copy that was made with tar is padded with zeros.
  const std::string_view text(buffer.data(), static_cast<std::size_t>(length));
  return text.substr(0, text.find('\0'));
}

std::optional<std::string_view> SysfsFolder::ReadLine(const char* name,
                                                      std::span<char> buffer) const {
  const auto text = Read(name, buffer);
  return text ? std::optional(text->substr(0, text->find('\n'))) : std::nullopt;
}

std::optional<std::string_view> SysfsFolder::ReadLink(const char* name,
                                                      std::span<char> buffer) const {
  const ssize_t length = readlinkat(descriptor(), name, buffer.data(), buffer.size());
  if (length < 0) return std::nullopt;
  return std::string_view(buffer.data(), static_cast<std::size_t>(length));
}

bool SysfsFolder::Holds(const char* name) const {
  struct stat status;
  return fstatat(descriptor(), name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool SysfsFolder::Reaches(const char* name) const {
  struct stat status;
  return fstatat(descriptor(), name, &status, 0) == 0;
}

}  // namespace pci
