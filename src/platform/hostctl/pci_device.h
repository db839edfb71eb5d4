// One PCI function of a host that was read, as callers of the library see it.
// Thread rule: immutable; safe on any number of threads.

#ifndef PLATFORM_HOSTCTL_PCI_DEVICE_H_
#define PLATFORM_HOSTCTL_PCI_DEVICE_H_

#include <cstdint>
#include <memory>

#include "cache/hostctl.h"
#include "pci/host.h"

namespace HostCtl::Linux {

// A view: it keeps its snapshot alive and asks no one else.
class SnapshotDevice final : public Hardware::PciDevice {
 public:
  // A count of its own of who needs the snapshot. One count for all devices would be written by
  // every thread that asks any device for its parent, and keep them waiting for each other.
  using Share = std::shared_ptr<const std::shared_ptr<const pci::Host>>;

  SnapshotDevice(std::shared_ptr<const pci::Host> host, std::uint32_t index)
      : SnapshotDevice(std::make_shared<const std::shared_ptr<const pci::Host>>(std::move(host)),
                       index) {}
  SnapshotDevice(Share share, std::uint32_t index)
      : share_(std::move(share)), host_(share_->get()), index_(index) {}

  std::string GetName() const override;
  std::uint16_t GetSegment() const override;  // the low 16 bits of a wider domain
  std::uint8_t GetBus() const override;
  std::uint8_t GetDeviceNumber() const override;
  std::uint8_t GetFunction() const override;
  std::int32_t GetPhysicalSlot() const override;
  std::uint16_t GetVendorId() const override;
  std::string GetVendorName() const override;
  std::uint16_t GetDeviceId() const override;
  std::uint16_t GetSubsystemVendorId() const override;
  std::uint16_t GetSubsystemId() const override;
  std::string GetDeviceName() const override;
  std::uint16_t GetClassCode() const override;
  std::uint8_t GetRevision() const override;
  std::uint8_t GetSecondaryBus() const override;  // 0: no bridge
  std::vector<std::uint32_t> GetCapabilities() const override;
  bool HasCapability(std::uint8_t id) const override;
  std::int32_t GetPcieDeviceType() const override;  // -1: no PCI Express capability
  std::unique_ptr<PciDevice> GetParent() const override;

 private:
  const pci::Function& function() const { return host_->functions()[index_]; }

  Share share_;
  const pci::Host* host_;
  std::uint32_t index_;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_PCI_DEVICE_H_
