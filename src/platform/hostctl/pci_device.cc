#include "platform/hostctl/pci_device.h"

#include <algorithm>

#include "platform/hostctl/capability_codes.h"

namespace HostCtl::Linux {

std::string SnapshotDevice::GetName() const { return FormatAddress(function().address); }

std::uint16_t SnapshotDevice::GetSegment() const {
  return static_cast<std::uint16_t>(function().address.domain);
}

std::uint8_t SnapshotDevice::GetBus() const { return function().address.bus; }

std::uint8_t SnapshotDevice::GetDeviceNumber() const { return function().address.device; }

std::uint8_t SnapshotDevice::GetFunction() const { return function().address.function; }

std::int32_t SnapshotDevice::GetPhysicalSlot() const {
  const std::uint32_t slot = function().slot;
  return slot == pci::kNone ? -1 : host_->slots()[slot].number;
}

std::uint16_t SnapshotDevice::GetVendorId() const { return function().ids.vendor; }

std::string SnapshotDevice::GetVendorName() const { return host_->VendorName(function()); }

std::uint16_t SnapshotDevice::GetDeviceId() const { return function().ids.device; }

std::uint16_t SnapshotDevice::GetSubsystemVendorId() const {
  return function().ids.subsystem_vendor;
}

std::uint16_t SnapshotDevice::GetSubsystemId() const { return function().ids.subsystem; }

std::string SnapshotDevice::GetDeviceName() const { return host_->DeviceName(function()); }

std::uint16_t SnapshotDevice::GetClassCode() const { return function().class_code; }

std::uint8_t SnapshotDevice::GetRevision() const { return function().revision; }

std::uint8_t SnapshotDevice::GetSecondaryBus() const { return function().buses.secondary; }

std::vector<std::uint32_t> SnapshotDevice::GetCapabilities() const {
  return CapabilityCodes(function(), host_->CapabilitiesOf(function()));
}

bool SnapshotDevice::HasCapability(std::uint8_t id) const {
  const auto capabilities = host_->CapabilitiesOf(function());
  return std::any_of(capabilities.begin(), capabilities.end(),
                     [id](const pci::Capability& capability) { return capability.id == id; });
}

std::int32_t SnapshotDevice::GetPcieDeviceType() const { return function().pcie_port_type; }

std::unique_ptr<Hardware::PciDevice> SnapshotDevice::GetParent() const {
  if (function().parent == pci::kNone) return nullptr;
  return std::make_unique<SnapshotDevice>(share_, function().parent);
}

}  // namespace HostCtl::Linux
