// The host control library as the PCI providers need it: pure declarations, implemented by
// libHostCtl.so.1 (ours for Linux, or a platform maker's own).
//
// The provider library needs two symbols of it, HostFactory::GetHost and Host::GetHardwareInfo; all
// else is reached through virtual calls. Whoever implements this interface may rely on the order of
// the virtual functions below staying as it is.
//
// Ownership: every object handed out as std::unique_ptr belongs to the caller. A PciDevice outlives
// the PciInfo and HardwareInfo that it came from.
// Thread rule: all operations are const and must be safe to call from any number of threads at once
// on the same object; the caller takes no lock.
// Errors: any operation may throw Lib::HostCtlException, and nothing else but std::bad_alloc where
// memory runs short.
// Texts are UTF-8. std::string and std::vector cross the boundary: both sides are built for the
// same C++ standard library.

#ifndef CACHE_HOSTCTL_H_
#define CACHE_HOSTCTL_H_

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#define HOSTCTL_API __attribute__((visibility("default")))

// Counts what has been added at the end of classes since the soname became libHostCtl.so.1: a
// library for several releases asks it with #if.
#define HOSTCTL_VERSION 1

namespace HostCtl {

namespace Lib {

// The only exception of the library. Its visibility is default so that what one shared library
// throws another one catches.
class HOSTCTL_API HostCtlException : public std::exception {
 public:
  explicit HostCtlException(std::string text) : message(std::move(text)) {}

  const char* what() const noexcept override { return message.c_str(); }

  std::string message;  // first data member: callers print it, and it alone
};

}  // namespace Lib

namespace Hardware {

class HOSTCTL_API NamedObject {
 public:
  virtual ~NamedObject() = default;

  // Identifier: unique per PCI function and stable for the life of the process. Never parsed by
  // the providers; it is the "DeviceID" of the function and the stem of its port names.
  virtual std::string GetName() const = 0;
};

// One PCI function. Two objects with equal GetName() stand for the same function.
class HOSTCTL_API PciDevice : public virtual NamedObject {
 public:
  ~PciDevice() override = default;

  virtual std::uint16_t GetSegment() const = 0;      // PCI segment (domain)
  virtual std::uint8_t GetBus() const = 0;           // bus of the function; a bridge's primary bus
  virtual std::uint8_t GetDeviceNumber() const = 0;  // 0 to 31
  virtual std::uint8_t GetFunction() const = 0;      // 0 to 7
  virtual std::int32_t GetPhysicalSlot() const = 0;  // -1: sits in no slot
  virtual std::uint16_t GetVendorId() const = 0;
  virtual std::string GetVendorName() const = 0;  // for people
  virtual std::uint16_t GetDeviceId() const = 0;
  virtual std::uint16_t GetSubsystemVendorId() const = 0;
  virtual std::uint16_t GetSubsystemId() const = 0;
  virtual std::string GetDeviceName() const = 0;   // for people; not the identifier
  virtual std::uint16_t GetClassCode() const = 0;  // base class << 8 | subclass
  virtual std::uint8_t GetRevision() const = 0;
  virtual std::uint8_t GetSecondaryBus() const = 0;  // of a bridge; 0: it has none

  // Codes as CIM_PCIController.Capabilities defines them (CIM schema), low 16 bits.
  virtual std::vector<std::uint32_t> GetCapabilities() const = 0;

  // Whether the function lists the PCI capability with this ID (PCI Local Bus 3.0, appendix H). The
  // providers ask for 0x10 (PCI Express) and 0x07 (PCI-X).
  virtual bool HasCapability(std::uint8_t id) const = 0;

  // Device/port type field of the PCI Express capability (PCI Express Base, 7.5.3.2); any value for
  // a function without it, which is never asked.
  virtual std::int32_t GetPcieDeviceType() const = 0;

  // A new object for the function directly upstream; null for a root-complex function. Following
  // parents comes to an end.
  virtual std::unique_ptr<PciDevice> GetParent() const = 0;
};

}  // namespace Hardware

class HOSTCTL_API PciInfo {
 public:
  virtual ~PciInfo() = default;

  // Every PCI function of the host, in the library's order.
  virtual std::vector<std::unique_ptr<Hardware::PciDevice>> GetPciDevices() const = 0;
};

class HOSTCTL_API HardwareInfo {
 public:
  virtual ~HardwareInfo() = default;

  virtual std::unique_ptr<PciInfo> GetPciInfo() const = 0;

  // A name for this host among all hosts, as the platform spells it.
  virtual std::string GetSystemName() const = 0;
};

class HOSTCTL_API Host {
 public:
  static std::unique_ptr<HardwareInfo> GetHardwareInfo();
};

class HOSTCTL_API HostFactory {
 public:
  // The host; owned by the library.
  static Host& GetHost();
};

}  // namespace HostCtl

#endif  // CACHE_HOSTCTL_H_
