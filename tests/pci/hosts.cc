#include "pci/hosts.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace pci_test {
namespace {

std::string AddressAt(const pci::Host& host, std::uint32_t place) {
  return place == pci::kNone ? "none" : FormatAddress(host.functions().at(place).address);
}

std::string SlotAt(const pci::Host& host, std::uint32_t place) {
  if (place == pci::kNone) return "none";
  const pci::Slot& slot = host.slots().at(place);
  return slot.name + " (" + std::to_string(slot.number) + ")";
}

std::string RateOf(const pci::LinkRate& rate) {
  return std::to_string(rate.speed) + "x" + std::to_string(rate.width);
}

std::string ParentComplaint(const pci::Host& host, const pci::Function& function) {
  if (function.parent == pci::kNone) return "";
  if (function.parent >= host.functions().size()) return "the parent is not listed";
  const pci::Address& parent = host.functions()[function.parent].address;
  if (parent.domain != function.address.domain) return "a parent elsewhere";
  return parent.bus < function.address.bus ? "" : "the parent is on no lower bus";
}

std::string PlaceComplaint(const pci::Host& host, const pci::Function& function) {
  const auto is_place = [](std::uint32_t place, std::size_t count) {
    return place == pci::kNone || place < count;
  };
  const std::size_t slots = host.slots().size();
  if (!is_place(function.physical_function, host.functions().size())) return "no such function";
  if (!is_place(function.slot, slots) || !is_place(function.slot_below, slots)) {
    return "no such slot";
  }
  return "";
}

std::string CapabilityComplaint(const pci::Host& host, const pci::Function& function) {
  const std::vector<unsigned> ids = CapabilitiesOf(host, function);
  const bool express = std::find(ids.begin(), ids.end(), 0x10u) != ids.end();
  if (express != (function.pcie_port_type >= 0)) return "a port type without PCI Express";
  return function.has_slot && !express ? "a slot without PCI Express" : "";
}

}  // namespace

std::string RecordedDump(const std::string& host) { return RECORDED_HOSTS "/" + host + ".lspci"; }

std::string RecordedSysfs(const std::string& host) {
  return UNPACKED_HOSTS "/" + host + "/bus/pci";
}

pci::Host ReadSysfs(const std::string& path, bool with_details) {
  return pci::Host::Read(
      {pci::Source::Kind::kSysfs, path},
      {.names = true, .details = with_details ? pci::WantedDetails::All() : pci::WantedDetails()});
}

pci::Host ReadDump(const std::string& path) {
  return pci::Host::Read({pci::Source::Kind::kDump, path}, {});
}

pci::Host ReadDumpOf(const std::vector<Function>& functions) {
  const TempFolder folder;
  return ReadDump(folder.Write("dump", DumpOf(functions)));
}

const pci::Function& At(const pci::Host& host, const std::string& address) {
  for (const pci::Function& function : host.functions()) {
    if (FormatAddress(function.address) == address) return function;
  }
  throw std::runtime_error("no function " + address);
}

std::string ParentOf(const pci::Host& host, const std::string& address) {
  return AddressAt(host, At(host, address).parent);
}

std::vector<unsigned> CapabilitiesOf(const pci::Host& host, const pci::Function& function) {
  std::vector<unsigned> ids;
  for (const pci::Capability& capability : host.CapabilitiesOf(function)) {
    ids.push_back(capability.id);
  }
  return ids;
}

std::string Describe(const pci::Host& host, const pci::Function& function) {
  std::ostringstream text;
  const auto hex = [&](unsigned value, int digits) {
    std::ostringstream number;
    number << std::hex << std::setfill('0') << std::setw(digits) << value;
    return number.str();
  };
  const pci::Ids& ids = function.ids;
  const pci::Link& link = function.link;
  text << FormatAddress(function.address) << " id " << hex(ids.vendor, 4) << ':'
       << hex(ids.device, 4) << " subsystem " << hex(ids.subsystem_vendor, 4) << ':'
       << hex(ids.subsystem, 4) << " class " << hex(function.class_code, 4)
       << hex(function.programming_interface, 2) << " rev " << hex(function.revision, 2)
       << " header " << +function.header_type << " status " << hex(function.status, 4) << " buses "
       << hex(function.buses.secondary, 2) << '-' << hex(function.buses.subordinate, 2)
       << " parent " << AddressAt(host, function.parent) << " physical "
       << AddressAt(host, function.physical_function) << " port " << +function.pcie_port_type
       << " link " << RateOf(link.now) << '/' << RateOf(link.possible) << " speeds "
       << hex(link.speeds, 2) << (link.reports_active ? " reports" : "")
       << (link.active ? " active" : "") << " slot " << SlotAt(host, function.slot) << " below "
       << SlotAt(host, function.slot_below) << " capabilities";
  for (const pci::Capability& capability : host.CapabilitiesOf(function)) {
    text << ' ' << hex(capability.id, 2) << '@' << hex(capability.position, 2);
  }
  if (function.has_slot) text << " slot capabilities " << hex(function.slot_capabilities, 8);
  if (function.cut_off) text << " cut off";
  return text.str();
}

std::vector<std::string> DescribeAll(const pci::Host& host) {
  std::vector<std::string> lines;
  for (const pci::Function& function : host.functions()) lines.push_back(Describe(host, function));
  return lines;
}

std::vector<std::string> TroublesOf(const pci::Host& host) {
  std::vector<std::string> lines;
  for (const auto& [where, reason] : host.troubles()) lines.push_back(where + ": " + reason);
  return lines;
}

std::string Complaints(const pci::Host& host) {
  std::string text;
  // In the order of <=: none twice.
  const bool ascending = std::is_sorted(
      host.functions().begin(), host.functions().end(),
      [](const auto& left, const auto& right) { return left.address <= right.address; });
  if (!ascending) text += "addresses do not ascend\n";
  for (const pci::Function& function : host.functions()) {
    for (const auto& complaint : {ParentComplaint(host, function), PlaceComplaint(host, function),
                                  CapabilityComplaint(host, function)}) {
      if (!complaint.empty()) text += complaint + ": " + FormatAddress(function.address) + '\n';
    }
    (void)Describe(host, function);  // asks for everything else
  }
  return text;
}

}  // namespace pci_test
