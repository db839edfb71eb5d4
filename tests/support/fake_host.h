// A host of a test's making behind the host control interface (cache/hostctl.h).
//
// The library of this header carries the soname libHostCtl.so.1: a test program that links it has
// the fake in place both for code linked into it and for a provider library that it opens with
// dlopen. A test writes its host down and installs it:
//
//   fake::Host host;
//   host.SystemName("Host.Example")
//       .Add(fake::PciBridge("0000:00:1c.0").Bus(0).Secondary(1))
//       .Add(fake::Endpoint("0000:01:00.0").Bus(1).Ids(0x8086, 0x1234).Parent("0000:00:1c.0"));
//   fake::Use(host);
//
// Every operation of the interface counts as one call, on the host and on every device and parent
// object alike, so that a test can make any one of them fail (FailAt) and ask for their number
// (CallCount) and for the objects that are still alive (LiveObjects).
//
// Thread rule: devices and counters may be used from any thread. Use, FailAt, FailFrom, FailNever
// and TraceCalls belong to the test's own thread, while no other thread calls the host.

#ifndef SUPPORT_FAKE_HOST_H_
#define SUPPORT_FAKE_HOST_H_

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#define FAKE_HOST_API __attribute__((visibility("default")))

namespace fake {

// What a failing operation throws.
enum class Thrown {
  kHostCtlException,
  kRuntimeError,  // std::runtime_error, which the interface rules out
  kNoException,   // an int: nothing that a handler of std::exception sees
};

struct Fault {
  std::string text;  // the exception's message
  Thrown thrown = Thrown::kHostCtlException;
};

// Operation name, as cache/hostctl.h spells it, to its fault.
using Faults = std::map<std::string, Fault>;

// The facts of one PCI function, and setters that chain. Numbers are taken as int and narrowed to
// the width of their field.
struct Device {
  std::string name;
  std::uint16_t segment = 0;
  std::uint8_t bus = 0;
  std::uint8_t number = 0;
  std::uint8_t function = 0;
  std::int32_t slot = -1;
  std::uint16_t vendor_id = 0;
  std::string vendor_name;
  std::uint16_t device_id = 0;
  std::uint16_t subsystem_vendor_id = 0;
  std::uint16_t subsystem_id = 0;
  std::string device_name;
  std::uint16_t class_code = 0;
  std::uint8_t revision = 0;
  std::uint8_t secondary_bus = 0;
  std::vector<std::uint32_t> capabilities;  // CIM codes, as GetCapabilities answers them
  std::set<std::uint8_t> capability_ids;    // PCI capability IDs, as HasCapability knows them
  std::int32_t pcie_type = 0;
  std::optional<std::string> parent;
  Faults faults;

  Device& Segment(int value) { return Set(segment, value); }
  Device& Bus(int value) { return Set(bus, value); }
  Device& Number(int value) { return Set(number, value); }
  Device& Function(int value) { return Set(function, value); }
  Device& Slot(std::int32_t value) { return Set(slot, value); }
  Device& VendorId(int value) { return Set(vendor_id, value); }
  Device& VendorName(std::string value) { return Move(vendor_name, value); }
  Device& DeviceId(int value) { return Set(device_id, value); }
  Device& DeviceName(std::string value) { return Move(device_name, value); }
  Device& ClassCode(int value) { return Set(class_code, value); }
  Device& Revision(int value) { return Set(revision, value); }
  Device& Secondary(int value) { return Set(secondary_bus, value); }
  Device& PcieType(std::int32_t value) { return Set(pcie_type, value); }
  Device& Parent(std::string value) {
    parent = std::move(value);
    return *this;
  }
  Device& NoParent() {
    parent.reset();
    return *this;
  }
  Device& Capabilities(std::vector<std::uint32_t> codes) {
    capabilities = std::move(codes);
    return *this;
  }
  // Lists the PCI capability with this ID: 0x10 PCI Express, 0x07 PCI-X.
  Device& Capability(int id) {
    capability_ids.insert(static_cast<std::uint8_t>(id));
    return *this;
  }
  Device& Ids(int vendor, int device) { return VendorId(vendor).DeviceId(device); }
  Device& SubsystemIds(int vendor, int id) {
    return Set(subsystem_vendor_id, vendor).Set(subsystem_id, id);
  }
  // Bus, device and function number in one.
  Device& At(int bus_number, int device_number, int function_number) {
    return Bus(bus_number).Number(device_number).Function(function_number);
  }
  // Every call of the operation ("GetPcieDeviceType") on this function throws, on parent objects
  // for it as well.
  Device& Throws(const std::string& operation, std::string text,
                 Thrown thrown = Thrown::kHostCtlException) {
    faults[operation] = {std::move(text), thrown};
    return *this;
  }

 private:
  template <typename Field>
  Device& Set(Field& field, std::int32_t value) {
    field = static_cast<Field>(value);
    return *this;
  }
  Device& Move(std::string& field, std::string& value) {
    field = std::move(value);
    return *this;
  }
};

// A device of that name, kind by kind; all else is for the setters.

inline Device Named(std::string name) {
  Device device;
  device.name = std::move(name);
  return device;
}
// Conventional PCI, class 0x0200 (Ethernet controller).
inline Device Endpoint(std::string name) { return Named(std::move(name)).ClassCode(0x0200); }
inline Device PcieEndpoint(std::string name) {
  return Endpoint(std::move(name)).Capability(0x10).PcieType(0);
}
inline Device PciXEndpoint(std::string name) { return Endpoint(std::move(name)).Capability(0x07); }
// PCI-to-PCI bridge, class 0x0604, no PCI Express.
inline Device PciBridge(std::string name) { return Named(std::move(name)).ClassCode(0x0604); }
// Host bridge, class 0x0600: a bridge that has no ports.
inline Device HostBridge(std::string name) { return Named(std::move(name)).ClassCode(0x0600); }
inline Device RootPort(std::string name) {
  return PciBridge(std::move(name)).Capability(0x10).PcieType(4);
}
inline Device SwitchUpstream(std::string name) {
  return PciBridge(std::move(name)).Capability(0x10).PcieType(5);
}
inline Device SwitchDownstream(std::string name) {
  return PciBridge(std::move(name)).Capability(0x10).PcieType(6);
}

// A host: its name, its devices in the order in which they are reported (duplicate names allowed),
// and the faults of its own operations.
struct Host {
  std::string system_name = "fake-host";
  std::vector<Device> devices;
  Faults faults;

  Host& SystemName(std::string value) {
    system_name = std::move(value);
    return *this;
  }
  Host& Add(Device device) {
    devices.push_back(std::move(device));
    return *this;
  }
  // GetHost, GetHardwareInfo, GetPciInfo, GetSystemName or GetPciDevices.
  Host& Throws(const std::string& operation, std::string text,
               Thrown thrown = Thrown::kHostCtlException) {
    faults[operation] = {std::move(text), thrown};
    return *this;
  }
  // The first device of that name, or null.
  const Device* Find(const std::string& name) const {
    for (const Device& device : devices) {
      if (device.name == name) return &device;
    }
    return nullptr;
  }
};

// Installs a copy of the host for the whole process, forgets all injected failures and starts the
// counts anew. Objects of an earlier host keep that host. A parent that names a device of the host
// is a copy of the first device of that name; any other is a function that has nothing but its
// name. Throws std::invalid_argument when a fault names no operation.
FAKE_HOST_API void Use(const Host& host);

// The n-th call from now (1 is the next) throws, with "injected failure at call n" as its message.
// Replaces what earlier FailAt and FailFrom asked for.
FAKE_HOST_API void FailAt(std::size_t n, Thrown thrown = Thrown::kHostCtlException);
FAKE_HOST_API void FailAt(std::set<std::size_t> calls, Thrown thrown = Thrown::kHostCtlException);
// The n-th call from now and every later one.
FAKE_HOST_API void FailFrom(std::size_t n, Thrown thrown = Thrown::kHostCtlException);
FAKE_HOST_API void FailNever();

// Calls since Use: all of them, or those of one operation. A call that throws counts.
FAKE_HOST_API std::size_t CallCount();
FAKE_HOST_API std::size_t CallCount(const std::string& operation);

// While tracing is on, every call is recorded as "GetBus(0000:01:00.0)"; calls on the host itself
// as "GetHost()".
FAKE_HOST_API void TraceCalls(bool on);
FAKE_HOST_API std::vector<std::string> Calls();

// Objects handed out and not yet destroyed, over all hosts.
struct Live {
  int devices = 0;  // from GetPciDevices
  int parents = 0;  // from GetParent
  int pci_infos = 0;
  int hardware_infos = 0;

  bool operator==(const Live&) const = default;
};
FAKE_HOST_API Live LiveObjects();
// The same as it was at each call that Calls() tells.
FAKE_HOST_API std::vector<Live> LiveAtCalls();

// Whether access("/tmp/dump_pci", R_OK) succeeds; false until a test says otherwise: then there is
// such a file, and it may not be read. The file of the machine is never looked at.
FAKE_HOST_API void DumpFileReadable(bool readable);
// How often it was asked, ever.
FAKE_HOST_API std::size_t DumpFileChecks();

}  // namespace fake

#endif  // SUPPORT_FAKE_HOST_H_
