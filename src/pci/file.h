// A file descriptor that closes itself.
// Thread rule: a plain owner; one thread at a time.

#ifndef PCI_FILE_H_
#define PCI_FILE_H_

#include <unistd.h>

#include <utility>

namespace pci {

class File {
 public:
  explicit File(int descriptor = -1) : descriptor_(descriptor) {}
  File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  File& operator=(File&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool is_open() const { return descriptor_ >= 0; }

  int descriptor() const { return descriptor_; }

  // Gives the descriptor away: whoever has it now closes it.
  int Release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_;
};

}  // namespace pci

#endif  // PCI_FILE_H_
