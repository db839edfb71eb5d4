// The library's front door: host, hardware information and the list of PCI functions.

#include <syslog.h>

#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "cache/hostctl.h"
#include "pci/host.h"
#include "pci/missing_parts.h"
#include "pci/shared_host.h"
#include "pci/source.h"
#include "platform/hostctl/pci_device.h"

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
void WarnOfWhatIsMissing(const pci::Host& host, const pci::Source& source) {
  for (const std::string& line : MissingParts(host, source)) {
    syslog(LOG_WARNING, "%s", line.c_str());
  }
}

// The latest reading, as long as somebody holds a device of it.
class LatestReading {
 public:
  void Succeeded(const std::shared_ptr<const pci::Host>& host) {
    const std::lock_guard lock(mutex_);
    host_ = host;
    std::string().swap(failure_);
  }
  void Failed(const char* why) {
    const std::lock_guard lock(mutex_);
    host_.reset();
    failure_ = why;
  }
  pci::SharedReading Get() {
    const std::lock_guard lock(mutex_);
    return {host_.lock().get(), failure_};
  }

 private:
  std::mutex mutex_;
  std::weak_ptr<const pci::Host> host_;
  std::string failure_;
};
LatestReading latest_reading;

std::shared_ptr<const pci::Host> ReadHost(const pci::Source& source) {
  try {
    auto host = std::make_shared<const pci::Host>(pci::Host::Read(source, {}));
    latest_reading.Succeeded(host);
    return host;
  } catch (const std::exception& error) {
    latest_reading.Failed(error.what());
    throw;
  }
}

class SnapshotPciInfo final : public PciInfo {
 public:
  std::vector<std::unique_ptr<Hardware::PciDevice>> GetPciDevices() const override {
    return WithOneExceptionType([] {
      const pci::Source source = pci::Source::FromEnvironment();
      const std::shared_ptr<const pci::Host> host = ReadHost(source);
      WarnOfWhatIsMissing(*host, source);
      const auto count = static_cast<std::uint32_t>(host->functions().size());
      std::vector<std::unique_ptr<Hardware::PciDevice>> devices;
      devices.reserve(count);
      for (std::uint32_t i = 0; i < count; ++i) {
        devices.push_back(std::make_unique<SnapshotDevice>(host, i));
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

  std::string GetSystemName() const override { return WithOneExceptionType(pci::SystemName); }
};

}  // namespace
}  // namespace Linux

extern "C" HOSTCTL_API bool OstrelSharedPciHost(const pci::HostLayout& callers,
                                                pci::SharedReading& reading);
bool OstrelSharedPciHost(const pci::HostLayout& callers, pci::SharedReading& reading) {
  static_assert(std::is_same_v<decltype(OstrelSharedPciHost), pci::SharedHostFunction>);
  if (callers != pci::HostLayout{}) return false;
  reading = Linux::latest_reading.Get();
  return true;
}

HOSTCTL_API std::unique_ptr<HardwareInfo> Host::GetHardwareInfo() {
  return std::make_unique<Linux::LinuxHardwareInfo>();
}

HOSTCTL_API Host& HostFactory::GetHost() {
  static Host host;
  return host;
}

}  // namespace HostCtl
