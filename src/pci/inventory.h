// What the back end of a source fills and a Host is made of.
// Thread rule: a plain value; one thread fills it.

#ifndef PCI_INVENTORY_H_
#define PCI_INVENTORY_H_

#include <span>
#include <string>
#include <vector>

#include "pci/function.h"

namespace pci {

// What is read beyond what the start of configuration space and the kernel's folders tell.
struct Wanted {
  bool names = true;           // of vendors and devices, from pci.ids
  WantedDetails details = {};  // a dump has those that lspci's text tells, but no system devices
  bool registers = false;      // all of configuration space that the source shows
};

struct Inventory {
  std::vector<Function> functions;       // ascending by address, each once
  std::vector<Capability> capabilities;  // one chain after the other
  std::vector<Slot> slots;
  std::vector<Detail> details;         // one for each function, or none at all
  std::vector<std::string> registers;  // likewise
  std::vector<Trouble> troubles;
  std::string slots_notice;  // why slots are missing; else empty
  bool from_running_kernel = false;

  std::span<const Capability> ChainOf(const Function& function) const {
    return std::span(capabilities).subspan(function.first_capability, function.capability_count);
  }

  // Tells of a function that cannot be read. Of very many no more than the first are told.
  void LeaveOut(std::string where, std::string reason);
};

// Throws Error where the inventory has no function: why the first one is left out, or `nothing`
// where none is.
void RequireFunctions(const Inventory& inventory, const std::string& nothing);

}  // namespace pci

#endif  // PCI_INVENTORY_H_
