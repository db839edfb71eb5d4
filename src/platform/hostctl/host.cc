// The library's front door: host, hardware information and the list of PCI functions.

#include <syslog.h>

#include <exception>

#include "cache/hostctl.h"
#include "platform/hostctl/pci_device.h"
#include "platform/hostctl/snapshot.h"
#include "platform/hostctl/source.h"

namespace HostCtl {
namespace Linux {
namespace {

// Runs `call`; the interface promises callers that HostCtlException is all they ever catch, or
// std::bad_alloc where there is no memory for one.
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

// The interface has no way to say that an answer is a part of the truth; the log has.
void WarnOfMissingCapabilities(const Snapshot& snapshot, const Source& source) {
  if (snapshot.cut_off_functions() == 0) return;
  syslog(LOG_WARNING,
         "%s: %zu of %zu functions are shown without their capabilities: port types are unknown, "
         "switches taken for bridges; %s",
         source.path.c_str(), snapshot.cut_off_functions(), snapshot.functions().size(),
         source.WayToSeeAll());
}

class SnapshotPciInfo final : public PciInfo {
 public:
  std::vector<std::unique_ptr<Hardware::PciDevice>> GetPciDevices() const override {
    return WithOneExceptionType([] {
      const Source source = Source::FromEnvironment();
      const std::shared_ptr<const Snapshot> snapshot = Snapshot::Take(source);
      WarnOfMissingCapabilities(*snapshot, source);
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
