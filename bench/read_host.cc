// Reads every PCI function of the host through the host control library, asks each for all that the
// providers ask it for, and prints how many there were: the program that is measured against lspci.

#include <cstddef>
#include <exception>
#include <iostream>

#include "cache/hostctl.h"

namespace {

// Something that depends on every answer, so that none of them is left out by the compiler.
std::size_t Ask(const HostCtl::Hardware::PciDevice& device) {
  std::size_t sum = device.GetName().size() + device.GetVendorName().size() +
                    device.GetDeviceName().size() + device.GetCapabilities().size();
  sum += device.GetSegment() + std::size_t{device.GetBus()} + device.GetDeviceNumber() +
         device.GetFunction() + device.GetSecondaryBus();
  sum += device.GetVendorId() + std::size_t{device.GetDeviceId()} + device.GetSubsystemVendorId() +
         device.GetSubsystemId() + device.GetClassCode() + device.GetRevision();
  sum += static_cast<std::size_t>(device.GetPhysicalSlot() + device.GetPcieDeviceType());
  sum += device.HasCapability(0x10) + device.HasCapability(0x07);
  const auto parent = device.GetParent();
  return parent ? sum + parent->GetName().size() : sum;
}

}  // namespace

int main() {
  try {
    const auto hardware = HostCtl::Host::GetHardwareInfo();
    const auto devices = hardware->GetPciInfo()->GetPciDevices();
    std::size_t sum = hardware->GetSystemName().size();
    for (const auto& device : devices) sum += Ask(*device);
    std::cout << devices.size() << " functions, checksum " << sum << '\n';
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "read_host: " << error.what() << '\n';
    return 1;
  }
}
