#include "pci/slots.h"

#include <linux/pci_regs.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <system_error>
#include <tuple>

namespace pci {
namespace {

using BusKey = std::tuple<std::uint32_t, std::uint8_t>;
using DeviceKey = std::tuple<std::uint32_t, std::uint8_t, std::uint8_t>;

BusKey BusOf(const Slot& slot) { return {slot.domain, slot.bus}; }
DeviceKey DeviceOf(const Slot& slot) { return {slot.domain, slot.bus, slot.device}; }

// The slots whose key is this one: first and end. `slots` ascend by the key.
template <typename Key>
auto SlotsWith(const Key& key, Key (*key_of)(const Slot&), const std::vector<Slot>& slots) {
  const auto first = std::partition_point(slots.begin(), slots.end(),
                                          [&](const Slot& slot) { return key_of(slot) < key; });
  const auto end = std::partition_point(first, slots.end(),
                                        [&](const Slot& slot) { return key_of(slot) == key; });
  return std::pair(first, end);
}

}  // namespace

std::int32_t SlotNumber(std::string_view label) {
  const std::string_view digits = label.substr(0, label.find('-'));
  const bool padded = digits.size() > 1 && digits.starts_with('0');
  if (digits.empty() || padded) return -1;
  std::int32_t number = -1;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  return error == std::errc() && stop == end ? number : -1;
}

std::vector<Slot> SlotsOfPorts(std::span<const Function> functions) {
  std::vector<Slot> slots;
  for (const Function& port : functions) {
    if (!port.has_slot || port.buses.secondary == 0) continue;
    const std::uint32_t number = (port.slot_capabilities & PCI_EXP_SLTCAP_PSN) >> 19;
    slots.push_back({.name = std::to_string(number),
                     .domain = port.address.domain,
                     .bus = port.buses.secondary,
                     .device = 0,  // no other device is behind a link
                     .number = static_cast<std::int32_t>(number)});
  }
  return slots;
}

void LinkSlots(std::span<Function> functions, std::vector<Slot>& slots) {
  std::sort(slots.begin(), slots.end(), [](const Slot& left, const Slot& right) {
    if (DeviceOf(left) != DeviceOf(right)) return DeviceOf(left) < DeviceOf(right);
    return left.name < right.name;
  });
  const auto place = [&](auto slot) { return static_cast<std::uint32_t>(slot - slots.begin()); };
  for (Function& function : functions) {
    const Address& address = function.address;
    const auto [here, here_end] =
        SlotsWith(DeviceKey(address.domain, address.bus, address.device), DeviceOf, slots);
    if (here != here_end) function.slot = place(here);
    if (function.buses.secondary == 0) continue;
    const auto [below, below_end] =
        SlotsWith(BusKey(address.domain, function.buses.secondary), BusOf, slots);
    if (below_end - below == 1) function.slot_below = place(below);
  }
}

}  // namespace pci
