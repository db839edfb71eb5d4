// A folder of a sysfs tree, the running kernel's or a copy's, and what is in it and below.
//
// A copy is anybody's: nothing in it may make the reader wait, or do more than be read. Attributes
// of the kernel are regular files with something in them, and never links. What stands in a copy in
// place of one is not even opened: opening a device may start it, and reading the kernel's log
// empties it. Thread rule: safe for concurrent use but for Names; nothing is kept between calls.

#ifndef PCI_SYSFS_FOLDER_H_
#define PCI_SYSFS_FOLDER_H_

#include <dirent.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pci/file.h"

namespace pci {

class SysfsFolder {
 public:
  // The folder at `path`. Where it cannot be opened is_open() is false and errno says why. Throws
  // std::bad_alloc.
  explicit SysfsFolder(std::string path);
  // The folder `name` below another one, not through a link.
  SysfsFolder(const SysfsFolder& above, const char* name);

  bool is_open() const { return folder_ != nullptr; }

  // Whether it is in the running kernel's sysfs.
  bool is_kernels() const { return is_kernels_; }

  // The path of what it holds under that name, for messages.
  std::string PathOf(std::string_view name) const;

  // What it holds but "." and "..", in no order. Throws Error where it cannot be listed.
  std::vector<std::string> Names() const;
  // Of that, folders alone.
  std::vector<std::string> FolderNames() const;

  // Opens the attribute `name`, a path from here. Where that cannot be done the file is not open
  // and errno says why. Throws Error where something else than an attribute stands there.
  File Open(const char* name) const;

  // The start of the attribute, as much as fits into `buffer`; nothing where it cannot be read, and
  // errno says why. Throws as Open does.
  std::optional<std::string_view> Read(const char* name, std::span<char> buffer) const;

  // Its first line.
  std::optional<std::string_view> ReadLine(const char* name, std::span<char> buffer) const;

  // Where the link `name` leads; nothing where there is none, and errno says why.
  std::optional<std::string_view> ReadLink(const char* name, std::span<char> buffer) const;

  // Whether it holds something of this name, be it a link that leads nowhere; and whether what a
  // link leads to is there, else errno says why.
  bool Holds(const char* name) const;
  bool Reaches(const char* name) const;

 private:
  struct Close {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
  };

  void Take(File opened);
  template <typename Wanted>
  std::vector<std::string> NamesOf(Wanted wanted) const;
  int descriptor() const { return dirfd(folder_.get()); }

  std::string path_;
  std::unique_ptr<DIR, Close> folder_;
  bool is_kernels_ = false;
};

}  // namespace pci

#endif  // PCI_SYSFS_FOLDER_H_
