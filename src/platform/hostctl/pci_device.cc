#include "platform/hostctl/pci_device.h"

namespace HostCtl::Linux {

std::string SnapshotDevice::GetName() const { return FormatAddress(record().address); }

std::uint16_t SnapshotDevice::GetSegment() const {
  return static_cast<std::uint16_t>(record().address.domain);
}

std::uint8_t SnapshotDevice::GetBus() const { return record().address.bus; }

std::uint8_t SnapshotDevice::GetDeviceNumber() const { return record().address.device; }

std::uint8_t SnapshotDevice::GetFunction() const { return record().address.function; }

std::int32_t SnapshotDevice::GetPhysicalSlot() const { return record().slot; }

std::uint16_t SnapshotDevice::GetVendorId() const { return record().identity.vendor; }

std::string SnapshotDevice::GetVendorName() const { return snapshot_->name(record().vendor_name); }

std::uint16_t SnapshotDevice::GetDeviceId() const { return record().identity.device; }

std::uint16_t SnapshotDevice::GetSubsystemVendorId() const {
  return record().identity.subsystem_vendor;
}

std::uint16_t SnapshotDevice::GetSubsystemId() const { return record().identity.subsystem; }

std::string SnapshotDevice::GetDeviceName() const { return snapshot_->name(record().device_name); }

std::uint16_t SnapshotDevice::GetClassCode() const { return record().identity.class_code; }

std::uint8_t SnapshotDevice::GetRevision() const { return record().identity.revision; }

std::uint8_t SnapshotDevice::GetSecondaryBus() const { return record().buses.secondary; }

std::vector<std::uint32_t> SnapshotDevice::GetCapabilities() const {
  std::vector<std::uint32_t> codes;
  for (std::uint32_t code = 0; code < 16; ++code) {
    if (record().capability_codes & 1u << code) codes.push_back(code);
  }
  return codes;
}

bool SnapshotDevice::HasCapability(std::uint8_t id) const { return record().capability_ids[id]; }

std::int32_t SnapshotDevice::GetPcieDeviceType() const { return record().pcie_port_type; }

std::unique_ptr<Hardware::PciDevice> SnapshotDevice::GetParent() const {
  if (record().parent == kNoParent) return nullptr;
  return std::make_unique<SnapshotDevice>(share_, record().parent);
}

}  // namespace HostCtl::Linux
