// A folder of a test's own, removed at the end: in memory where there is room for it, because
// thousands of small files take a disk its time.
//
// Thread rule: a value of one thread.

#ifndef SUPPORT_TEMP_FOLDER_H_
#define SUPPORT_TEMP_FOLDER_H_

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

class TempFolder {
 public:
  TempFolder() {
    namespace fs = std::filesystem;
    const bool in_memory = access("/dev/shm", W_OK) == 0;
    std::string pattern =
        (in_memory ? fs::path("/dev/shm") : fs::temp_directory_path()) / "test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
    }
    path_ = pattern;
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  std::string Path(const std::string& name) const { return path_ / name; }

  // Writes a file and gives its path.
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }

 private:
  std::filesystem::path path_;
};

#endif  // SUPPORT_TEMP_FOLDER_H_
