#include "platform/hostctl/access.h"

#include <array>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <type_traits>

#include "cache/hostctl.h"

extern "C" {
#include <pci/pci.h>
}

namespace HostCtl::Linux {
namespace {

constexpr int kFields = PCI_FILL_IDENT | PCI_FILL_CLASS | PCI_FILL_CLASS_EXT | PCI_FILL_SUBSYS;

// One call into libpci, and the way back out of it.
struct Trap {
  std::jmp_buf way_back;
  char text[1024];
};

// libpci's hooks get no argument of ours: the running call is found by its thread.
[[gnu::tls_model("initial-exec")]] thread_local Trap* current_trap = nullptr;

PCI_NONRET PCI_PRINTF(1, 2) void OnError(char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  (void)std::vsnprintf(current_trap->text, sizeof current_trap->text, format, arguments);
  va_end(arguments);
  std::longjmp(current_trap->way_back, 1);  // NOLINT(cert-err52-cpp): see access.h
}

// Warnings tell of what is then missing from the answer; the caller sees that itself.
PCI_PRINTF(1, 2) void OnMessage(char*, ...) {}

void RunTrapped(void (*call)(void*), void* context) {
  Trap trap;
  current_trap = &trap;
  if (setjmp(trap.way_back) == 0) {  // NOLINT(cert-err52-cpp): see access.h
    call(context);
    current_trap = nullptr;
    return;
  }
  current_trap = nullptr;
  throw Lib::HostCtlException(trap.text);
}

// Runs one call into libpci; throws HostCtlException with libpci's text where it fails. `call` must
// hold nothing that needs a destructor: a failure jumps over it.
template <typename Call>
void CallLibpci(Call call) {
  static_assert(std::is_trivially_destructible_v<Call>);
  RunTrapped([](void* context) { (*static_cast<Call*>(context))(); }, &call);
}

// libpci takes its strings as char* and leaves them alone.
char* Unconst(const char* text) { return const_cast<char*>(text); }

// How much of the configuration space can be read: all that is asked for, what the kernel shows of
// a CardBus bridge or of other functions to users other than root, or nothing.
std::size_t ReadConfig(pci_dev* device, std::span<std::uint8_t> config) {
  constexpr std::size_t kCardBusHeader = 128;
  constexpr std::size_t kHeader = 64;
  for (const std::size_t length : {config.size(), kCardBusHeader, kHeader}) {
    int read = 0;
    CallLibpci([&] { read = pci_read_block(device, 0, config.data(), static_cast<int>(length)); });
    if (read) return length;
  }
  return 0;
}

Identity FillIdentity(pci_dev* device) {
  CallLibpci([&] { pci_fill_info(device, kFields); });
  Identity identity{device->vendor_id, device->device_id,    device->subsys_vendor_id,
                    device->subsys_id, device->device_class, device->rev_id};
  // libpci answers all ones where the register could not be read.
  const bool known = (device->known_fields & PCI_FILL_SUBSYS) && device->subsys_vendor_id != 0xffff;
  if (!known) identity.subsystem_vendor = identity.subsystem = 0;
  return identity;
}

}  // namespace

void Access::Cleanup::operator()(pci_access* access) const noexcept { pci_cleanup(access); }

void Access::FreeFunction::operator()(pci_dev* device) const noexcept { pci_free_dev(device); }

Access::Access(unsigned method, const char* parameter, const std::string& value)
    : access_(pci_alloc()) {
  access_->method = method;
  access_->error = OnError;
  access_->warning = OnMessage;
  access_->debug = OnMessage;
  // pci.ids alone: no network, no cache of what it once said, and not udev's copy of the list,
  // which libpci opens anew for every unknown id where it is not installed.
  access_->id_lookup_mode = PCI_LOOKUP_NO_HWDB;
  CallLibpci([&] {
    pci_set_param(access_.get(), Unconst(parameter), Unconst(value.c_str()));
    pci_init(access_.get());
  });
}

Access Access::OfSysfs(const std::string& sysfs_path) {
  return Access(PCI_ACCESS_SYS_BUS_PCI, "sysfs.path", sysfs_path);
}

Access Access::OfConfigSpaces() {
  // A dump without functions: whatever is not in a function's own bytes cannot be read.
  return Access(PCI_ACCESS_DUMP, "dump.name", "/dev/null");
}

Access::FunctionPointer Access::Open(const PciAddress& address) const {
  pci_dev* device = nullptr;
  CallLibpci([&] {
    device = pci_get_dev(access_.get(), static_cast<int>(address.domain), address.bus,
                         address.device, address.function);
  });
  return FunctionPointer(device);
}

Identity Access::ReadFunction(const PciAddress& address, std::span<std::uint8_t> config,
                              std::size_t& length) const {
  const FunctionPointer device = Open(address);
  length = ReadConfig(device.get(), config);
  pci_setup_cache(device.get(), config.data(), static_cast<int>(length));
  return FillIdentity(device.get());
}

Identity Access::DecodeFunction(const PciAddress& address, std::span<std::uint8_t> config) const {
  const FunctionPointer device = Open(address);
  pci_setup_cache(device.get(), config.data(), static_cast<int>(config.size()));
  return FillIdentity(device.get());
}

std::string Access::VendorName(std::uint16_t vendor) const {
  std::array<char, 1024> buffer;
  const char* name = nullptr;
  CallLibpci([&] {
    name = pci_lookup_name(access_.get(), buffer.data(), buffer.size(), PCI_LOOKUP_VENDOR, vendor);
  });
  return name;
}

std::string Access::DeviceName(std::uint16_t vendor, std::uint16_t device) const {
  std::array<char, 1024> buffer;
  const char* name = nullptr;
  CallLibpci([&] {
    name = pci_lookup_name(access_.get(), buffer.data(), buffer.size(), PCI_LOOKUP_DEVICE, vendor,
                           device);
  });
  return name;
}

}  // namespace HostCtl::Linux
