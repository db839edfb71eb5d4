// The library's front door: host, hardware information and the list of PCI functions.

#include "cache/hostctl.h"
#include "platform/hostctl/pci_device.h"
#include "platform/hostctl/snapshot.h"
#include "platform/hostctl/source.h"

namespace HostCtl {
namespace Linux {
namespace {

// Runs `call`; the interface promises callers that HostCtlException is all they ever catch.
template <typename Call>
auto WithOneExceptionType(Call call) {
  try {
    return call();
  } catch (const Lib::HostCtlException&) {
    throw;
  } catch (const std::exception& error) {
    throw Lib::HostCtlException(error.what());
  }
}

class SnapshotPciInfo final : public PciInfo {
 public:
  std::vector<std::unique_ptr<Hardware::PciDevice>> GetPciDevices() const override {
    return WithOneExceptionType([] {
      const std::shared_ptr<const Snapshot> snapshot = Snapshot::Take(Source::FromEnvironment());
      const auto count = static_cast<std::uint32_t>(snapshot->functions().size());
      std::vector<std::unique_ptr<Hardware::PciDevice>> devices;
      devices.reserve(count);
      for (std::uint32_t i = 0; i < count; ++i) {
        devices.push_back(std::make_unique<SnapshotDevice>(snapshot, i));
      }
      return devices;
    });
  }
};

class LinuxHardwareInfo final : public HardwareInfo {
 public:
  std::unique_ptr<PciInfo> GetPciInfo() const override {
    return std::make_unique<SnapshotPciInfo>();
  }

  std::string GetSystemName() const override { return WithOneExceptionType(SystemName); }
};

}  // namespace
}  // namespace Linux

HOSTCTL_API std::unique_ptr<HardwareInfo> Host::GetHardwareInfo() {
  return std::make_unique<Linux::LinuxHardwareInfo>();
}

HOSTCTL_API Host& HostFactory::GetHost() {
  static Host host;
  return host;
}

}  // namespace HostCtl
