// What the kernel tells of the PCI bus by the names of files: which functions there are, what each
// one sits behind, and which slots there are.
// Thread rule: safe for concurrent use; nothing is kept between calls.

#ifndef PLATFORM_HOSTCTL_SYSFS_TREE_H_
#define PLATFORM_HOSTCTL_SYSFS_TREE_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/hostctl/pci_address.h"

namespace HostCtl::Linux {

// What a function sits directly behind.
struct Upstream {
  enum class Kind { kUnknown, kRootBus, kFunction };

  Kind kind = Kind::kUnknown;
  PciAddress function;  // of kFunction
};

// Physical slots by what they hold.
class SlotTable {
 public:
  // `device` is the address of any function of the slot's device. The first slot that claims a
  // device keeps it.
  void Add(const PciAddress& device, std::int32_t slot);

  // The slot of the function's device; -1 where it is in none.
  std::int32_t SlotOf(const PciAddress& function) const;

 private:
  std::unordered_map<std::uint64_t, std::int32_t> slots_;
};

class SysfsTree {
 public:
  // The folder that holds devices/ and slots/.
  explicit SysfsTree(std::string path) : path_(std::move(path)) {}

  // Addresses of all functions, ascending. Throws HostCtlException where the folder cannot be read
  // or holds anything but functions.
  std::vector<PciAddress> Functions() const;

  // Whether the function is still listed: it may be pulled out while the tree is read.
  bool Lists(const PciAddress& function) const;

  // Throws HostCtlException where a pipe, device or folder stands in place of a file that libpci
  // reads of the function: opening or reading it could take for ever. A missing file is libpci's to
  // judge.
  void RequireRegularFiles(const PciAddress& function) const;

  // Where the kernel keeps the function's folder. Unknown in a copy that has folders in place of
  // the kernel's links.
  Upstream UpstreamOf(const PciAddress& function) const;

  // Slots by the decimal number that their label begins with; -1 for a label without one. A tree
  // without slots/ has none.
  SlotTable Slots() const;

 private:
  std::string FunctionPath(const PciAddress& function) const;

  std::string path_;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_SYSFS_TREE_H_
