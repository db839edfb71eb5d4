// libpci, held safely: objects that clean up after themselves, and errors as exceptions.
//
// libpci reports an error through a hook that must not return (its own one ends the process). Ours
// jumps back to where the library was entered and throws there. An exception thrown from the hook
// itself would have to unwind through libpci's C frames, which is only defined where libpci was
// compiled with unwind tables: true of some Debian architectures, not of all. A jump is defined on
// all, as long as no object with a destructor lives in the frames that it leaves: those are
// libpci's, the hook's and the one-line lambdas in access.cc, which hold none.
//
// A jump frees nothing, so libpci may only be asked for what leaves nothing open when it fails:
//  - pci_scan_bus fails with its directory open; SysfsTree lists the functions instead, and each
//  one
//    is opened by its address. (It also spares the walks over the whole device list that libpci
//    makes for every parent and every slot.)
//  - the reader of dumps stores bytes in front of its buffer where a line's offset is 80000000 or
//    more (libpci 3.9); DumpReader reads dumps instead, and libpci decodes what it read.
//  - attribute files and the name list are closed before their errors are reported, configuration
//    space is closed by pci_cleanup.
// Only pci_alloc is out of our hands: it ends the process where its first few hundred bytes cannot
// be allocated. Freeing and cleaning up report no errors and run outside the trap.
//
// Thread rule: an Access and its functions belong to one thread at a time; any number of them may
// be in use at once.

#ifndef PLATFORM_HOSTCTL_ACCESS_H_
#define PLATFORM_HOSTCTL_ACCESS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/hostctl/pci_address.h"

struct pci_access;
struct pci_dev;

namespace HostCtl::Linux {

// What libpci tells of one function without its capabilities; zero where it does not know.
struct Identity {
  std::uint16_t vendor = 0;
  std::uint16_t device = 0;
  std::uint16_t subsystem_vendor = 0;
  std::uint16_t subsystem = 0;
  std::uint16_t class_code = 0;
  std::uint8_t revision = 0;
};

class Access {
 public:
  // Functions described by the attribute files below `sysfs_path`. Throws HostCtlException.
  static Access OfSysfs(const std::string& sysfs_path);

  // Functions known by their configuration space alone. Throws HostCtlException.
  static Access OfConfigSpaces();

  // What attribute files and configuration space tell of the function at `address`. `config` has
  // room for the standard header and the capabilities and receives what can be read; `length`
  // receives its length in bytes. Throws HostCtlException.
  Identity ReadFunction(const PciAddress& address, std::span<std::uint8_t> config,
                        std::size_t& length) const;

  // The same, decoded from the configuration space in `config`. Throws HostCtlException.
  Identity DecodeFunction(const PciAddress& address, std::span<std::uint8_t> config) const;

  // Names from pci.ids; where it has none, what lspci prints: "Vendor 1234", "Device 5678". Never
  // looked up in the network. Throws HostCtlException.
  std::string VendorName(std::uint16_t vendor) const;
  std::string DeviceName(std::uint16_t vendor, std::uint16_t device) const;

 private:
  struct Cleanup {
    void operator()(pci_access* access) const noexcept;
  };
  struct FreeFunction {
    void operator()(pci_dev* device) const noexcept;
  };
  using FunctionPointer = std::unique_ptr<pci_dev, FreeFunction>;

  Access(unsigned method, const char* parameter, const std::string& value);

  FunctionPointer Open(const PciAddress& address) const;

  std::unique_ptr<pci_access, Cleanup> access_;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_ACCESS_H_
