// A platform's own host control library whose hardware does not answer.

#include "cache/hostctl.h"

namespace HostCtl {
namespace {

class SilentPci final : public PciInfo {
 public:
  std::vector<std::unique_ptr<Hardware::PciDevice>> GetPciDevices() const override {
    throw Lib::HostCtlException("the board does not answer");
  }
};

class SilentHardware final : public HardwareInfo {
 public:
  std::unique_ptr<PciInfo> GetPciInfo() const override { return std::make_unique<SilentPci>(); }
  std::string GetSystemName() const override { return "acme-rack-1"; }
};

}  // namespace

std::unique_ptr<HardwareInfo> Host::GetHardwareInfo() { return std::make_unique<SilentHardware>(); }

Host& HostFactory::GetHost() {
  static Host host;
  return host;
}

}  // namespace HostCtl
