// What a host's PCI functions and slots tell of themselves: plain values, as registers and the
// kernel have them.
// Thread rule: plain values, immutable once their host is read.

#ifndef PCI_FUNCTION_H_
#define PCI_FUNCTION_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pci/address.h"

namespace pci {

inline constexpr std::uint32_t kNone = 0xffffffff;  // no such place

struct Ids {
  std::uint16_t vendor = 0;
  std::uint16_t device = 0;
  std::uint16_t subsystem_vendor = 0;
  std::uint16_t subsystem = 0;

  auto operator<=>(const Ids&) const = default;
};

// The buses behind a bridge, as programmed. Both are 0 for a function that is no bridge.
struct BusRange {
  std::uint8_t secondary = 0;
  std::uint8_t subordinate = 0;
};

// One step of the chain of capabilities (PCI Local Bus 3.0, 6.7).
struct Capability {
  std::uint8_t id;
  std::uint8_t position;  // in configuration space

  bool operator==(const Capability&) const = default;
};

struct LinkRate {
  std::uint8_t speed = 0;  // PCI Express Base 7.5.3.6: 1 is 2.5 GT/s, 2 is 5, 3 is 8, 4 is 16, 5 is
                           // 32, 6 is 64; 0: not told
  std::uint8_t width = 0;  // lanes; 0: not told

  bool operator==(const LinkRate&) const = default;
};

struct Link {
  LinkRate now;
  LinkRate possible;
  std::uint8_t speeds = 0;      // supported link speeds (7.5.3.18): bit n stands for speed n
  bool reports_active = false;  // a port that tells whether its link is active (7.5.3.6)
  bool active = false;
};

struct Function {
  Address address;
  std::uint32_t parent = kNone;             // place in Host::functions(); kNone: on a root bus
  std::uint32_t physical_function = kNone;  // of a virtual function (SR-IOV): place in functions()
  Ids ids;                                  // 0: not told
  std::uint16_t class_code = 0;             // base class << 8 | subclass
  std::uint8_t programming_interface = 0;
  std::uint8_t revision = 0;
  std::uint8_t header_type = 0;  // without the bit for functions of one device
  std::uint16_t status = 0;      // status register
  BusRange buses;
  std::int8_t pcie_port_type = -1;  // PCI Express Base 7.5.3.2; -1: no PCI Express capability
  Link link;
  std::uint32_t slot_capabilities = 0;  // register (7.5.3.9); 0: it has none
  bool has_slot = false;                // a root or downstream port that implements a slot
  std::uint32_t slot = kNone;           // that the function sits in: place in Host::slots()
  std::uint32_t slot_below = kNone;     // that the port leads to, occupied or empty
  bool cut_off = false;                 // the source shows too little to tell all capabilities
  // Where its host keeps the rest of it.
  std::uint32_t first_capability = 0;
  std::uint32_t capability_count = 0;
  std::uint32_t vendor_name = kNone;
  std::uint32_t device_name = kNone;
};

// A physical slot for a device, which may be empty.
struct Slot {
  static constexpr std::uint8_t kNoDevice = 0xff;

  std::string name;  // the kernel's label; from a dump the slot number of the port above it
  std::uint32_t domain = 0;
  std::uint8_t bus = 0;
  std::uint8_t device = 0;   // kNoDevice: known when one is put in
  std::int32_t number = -1;  // -1: the label is no decimal number
};

// What is read of Detail: each costs files of its own to find out, the devices most.
struct WantedDetails {
  bool driver = false;
  bool numa_node = false;
  bool iommu_group = false;
  bool system_devices = false;

  static WantedDetails All() { return {true, true, true, true}; }
  bool Any() const { return driver || numa_node || iommu_group || system_devices; }
};

// What the system has made of a function.
struct Detail {
  std::string driver;           // empty: none
  std::int32_t numa_node = -1;  // -1: not told
  std::optional<std::uint32_t> iommu_group;
  std::vector<std::string> system_devices;  // "eth0", "nvme0n1", ...
};

// A function that is left out, and why.
struct Trouble {
  std::string where;  // its address, or the place in the dump
  std::string reason;
};

}  // namespace pci

#endif  // PCI_FUNCTION_H_
