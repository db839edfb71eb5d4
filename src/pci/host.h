// The PCI functions of a host as they were at one moment.
//
// Reading one reads everything that is ever asked of it and closes the source; afterwards there is
// no I/O. Its cost is linear in the number of functions. Thread rule: immutable; safe on any number
// of threads.

#ifndef PCI_HOST_H_
#define PCI_HOST_H_

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pci/function.h"
#include "pci/inventory.h"
#include "pci/names.h"
#include "pci/source.h"

namespace pci {

class Host {
 public:
  using Wanted = pci::Wanted;
  using Trouble = pci::Trouble;

  // Reads the source now. Throws Error where it cannot be read at all, and where a record has no
  // function.
  static Host Read(const Source& source, const Wanted& wanted);

  // Ascending by address, every address once.
  const std::vector<Function>& functions() const { return inventory_.functions; }

  // Of this host's function, in the order of the chain, each position once.
  std::span<const Capability> CapabilitiesOf(const Function& function) const {
    return inventory_.ChainOf(function);
  }

  const std::vector<Slot>& slots() const { return inventory_.slots; }

  // Texts as lspci has them; of ids that pci.ids does not know "Vendor 1234", "Device 5678". Empty
  // where names were not wanted.
  const std::string& VendorName(const Function& function) const {
    return NameAt(function.vendor_name);
  }
  const std::string& DeviceName(const Function& function) const {
    return NameAt(function.device_name);
  }

  // Why slots are missing that there may be, in one line for the user; else empty.
  const std::string& slots_notice() const { return inventory_.slots_notice; }

  // Why names are missing that could be had, in one line for the user; else empty.
  const std::string& names_notice() const { return names_.notice(); }

  // Of this host's function, where details were wanted; else one that tells nothing.
  const Detail& DetailOf(const Function& function) const;

  // Bytes of this host's function's configuration space, as many as its source shows, where they
  // were wanted; else none.
  std::string_view RegistersOf(const Function& function) const;

  // Functions that are left out, each with its reason.
  const std::vector<Trouble>& troubles() const { return inventory_.troubles; }

  // How many functions may have capabilities that the source does not show.
  std::size_t cut_off_functions() const { return cut_off_functions_; }

  // Whether this is the running kernel's view, not a copy or a dump.
  bool from_running_kernel() const { return inventory_.from_running_kernel; }

 private:
  void FindNames();
  const std::string& NameAt(std::uint32_t place) const;
  std::size_t PlaceOf(const Function& function) const {
    return static_cast<std::size_t>(&function - inventory_.functions.data());
  }

  Inventory inventory_;
  Names names_;
  std::size_t cut_off_functions_ = 0;
};

}  // namespace pci

#endif  // PCI_HOST_H_
