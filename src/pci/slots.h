// Physical slots: which function sits in which, and which port leads to which.
// Thread rule: plain functions; the caller owns functions and slots.

#ifndef PCI_SLOTS_H_
#define PCI_SLOTS_H_

#include <span>
#include <string_view>
#include <vector>

#include "pci/function.h"

namespace pci {

// The number of a label that is a decimal number as the kernel makes them: "7", and "7-2" where it
// had to tell a second slot 7 from the first. -1 for any other, hexadecimal ones such as "0000010a"
// among them.
std::int32_t SlotNumber(std::string_view label);

// The slots that ports say they lead to (PCI Express Base, 7.5.3.9).
std::vector<Slot> SlotsOfPorts(std::span<const Function> functions);

// Sorts the slots and sets the functions' places in them. Of several slots for one device the first
// one by name stands. A bridge leads to the slot on its secondary bus, where there is exactly one.
void LinkSlots(std::span<Function> functions, std::vector<Slot>& slots);

}  // namespace pci

#endif  // PCI_SLOTS_H_
