// The folder of one PCI function in a sysfs tree.
// Thread rule: one thread at a time.

#ifndef PCI_SYSFS_FUNCTION_H_
#define PCI_SYSFS_FUNCTION_H_

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "pci/address.h"
#include "pci/file.h"
#include "pci/sysfs_folder.h"

namespace pci {

// What a function sits directly behind.
struct Upstream {
  enum class Kind { kUnknown, kRootBus, kFunction };

  Kind kind = Kind::kUnknown;
  Address function = {};  // of kFunction
};

class SysfsFunction {
 public:
  // `devices` holds the folder, or the kernel's link to it, and outlives this.
  SysfsFunction(const SysfsFolder& devices, const Address& address)
      : devices_(devices),
        address_(address),
        path_(FormatAddress(address)),
        length_(path_.size()) {}

  const Address& address() const { return address_; }

  // Open, Read, ReadLine and ReadLink are the folder's; a text is good until the next one is read.
  File Open(const char* name) { return devices_.Open(PathOf(name)); }
  std::optional<std::string_view> Read(const char* name) {
    return devices_.Read(PathOf(name), buffer_);
  }
  std::optional<std::string_view> ReadLine(const char* name) {
    return devices_.ReadLine(PathOf(name), buffer_);
  }
  std::optional<std::string_view> ReadLink(const char* name) {
    return devices_.ReadLink(PathOf(name), buffer_);
  }
  // Where the kernel keeps the folder. Unknown in a copy that has folders in place of its links.
  Upstream FindUpstream();

  // Of a virtual function (SR-IOV), the function that it is a part of.
  std::optional<Address> FindPhysicalFunction();

  // The folder itself, for what is below it; not open where it cannot be.
  SysfsFolder OpenFolder() { return {devices_, PathOf(".")}; }

  // Whether the function is still listed; and why its files are out of reach, where they are.
  bool IsListed() { return devices_.Holds(PathOf()); }
  std::optional<std::string> ReasonWithoutFiles();

  // The folder itself, below `devices`, and a file of it.
  const char* PathOf();
  const char* PathOf(const char* name);
  std::string FullPathOf(const char* name) { return devices_.PathOf(PathOf(name)); }

 private:
  const SysfsFolder& devices_;
  Address address_;
  std::string path_;  // begins with the address
  std::size_t length_;
  std::array<char, 4096> buffer_;  // the kernel shows no more at once
};

}  // namespace pci

#endif  // PCI_SYSFS_FUNCTION_H_
