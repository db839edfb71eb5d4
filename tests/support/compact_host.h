// A PCI host as facts, one line a function, from which a dump as lspci takes it and a copy of its
// sysfs are made: one description serves every source that a host can be read from.
//
//   # A root port with an empty slot, and one with a network card of two functions.
//   0000:00:01.0 0604: 8086:3408 rev=13 buses=01 pcie=root caps=0d,05,01 slot=7
//   0000:00:03.0 0604: 8086:340a rev=13 buses=02-03 pcie=root slot=300 label=300
//     0000:02:00.0 0200: 8086:1521 sub=8086:0001 pcie=endpoint link=2x4/1x4 caps=01,05,11
//     0000:02:00.1 0200: 8086:1521 sub=8086:0001 pcie=endpoint vfs=2@0000:02:10.0 vf=1520
//
// A line begins as one of `lspci -D -n`: address, class, ids. A function whose line is indented is
// in the kernel's folder of the one above; where its domain is another one, behind a root bus
// there. All others are on root buses. Facts, as far as there are any, in any order:
//
//   rev=RR            revision
//   sub=VVVV:DDDD     subsystem
//   buses=SS[-EE]     header type 1 (2 where the class is 0607), secondary and subordinate bus
//   header=H          header type, where it is another one
//   status=SSSS       status register, beside the bit for capabilities
//   caps=II,...       capabilities in the order of their chain
//   pcie=TYPE         PCI Express, after these: endpoint, legacy, root, up, down, to-pci, to-pcie,
//                     integrated, collector
//   link=SxW[/SxW]    speed (1: 2.5 GT/s, 2: 5, ...) and lanes that the link can have, and has
//   slot=N            the port has a slot with this number in its slot capabilities
//   label=TEXT        name of the kernel's for the slot below a bridge, or that the device sits in
//   vfs=N@ADDRESS     has so many virtual functions, from this address on
//   vf=DDDD           device id of the virtual functions
//
// Thread rule: plain values.

#ifndef SUPPORT_COMPACT_HOST_H_
#define SUPPORT_COMPACT_HOST_H_

#include <compare>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace compact_host {

inline constexpr std::size_t kNone = static_cast<std::size_t>(-1);

struct Address {
  unsigned domain = 0, bus = 0, device = 0, function = 0;

  auto operator<=>(const Address&) const = default;
};

// "dddd:bb:dd.f".
std::string Text(const Address& address);

struct Rate {
  unsigned speed = 0, lanes = 0;
};

struct Function {
  Address address;
  std::size_t above = kNone;  // place in the host's list of the function with its folder
  unsigned class_code = 0;    // base class, subclass, programming interface
  unsigned vendor = 0, device = 0;
  unsigned revision = 0;
  unsigned subsystem_vendor = 0, subsystem = 0;
  unsigned header_type = 0;
  unsigned secondary = 0, subordinate = 0;
  unsigned status = 0;
  std::vector<unsigned> capabilities;  // without PCI Express
  int pcie_type = -1;                  // -1: no PCI Express
  Rate possible, now;
  std::optional<unsigned> slot;
  std::string label;
  std::size_t physical_function = kNone;  // of a virtual one: place in the host's list
};

class Host {
 public:
  Host() = default;

  // Throws std::invalid_argument with the line's number.
  static Host Parse(const std::string& text);
  static Host ReadFile(const std::filesystem::path& file);

  // Gives the function's place. Those that it refers to are there already.
  std::size_t Add(Function function);

  // Virtual functions of the one at `physical`, at `first` and the addresses that follow. They have
  // what it has, but for the device id and most capabilities.
  void AddVirtualFunctions(std::size_t physical, unsigned count, Address first, unsigned device);

  // The function keeps its address.
  void Replace(std::size_t place, Function function) { functions_[place] = std::move(function); }

  const std::vector<Function>& functions() const { return functions_; }

  // The function's configuration space, 256 bytes of it. Throws std::length_error where there is
  // no room for its capabilities.
  std::string Config(const Function& function) const;

  // The host as `lspci -D -n -xxx` prints it: of virtual functions the address line has the ids,
  // as the kernel knows them, and configuration space has none.
  std::string Dump() const;

  // Writes devices/ and bus/pci/{devices,slots} below an empty folder, as the kernel has them.
  void WriteSysfs(const std::filesystem::path& folder) const;

  // The host as lines that Parse reads.
  std::string Text() const;

 private:
  std::filesystem::path FolderOf(const Function& function) const;

  std::vector<Function> functions_;
  std::map<Address, unsigned> functions_of_devices_;  // by their function 0
};

}  // namespace compact_host

#endif  // SUPPORT_COMPACT_HOST_H_
