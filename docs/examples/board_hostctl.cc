// A platform's own host control library, whole: what it knows of its board stands in a table. It
// takes the place of the library for Linux; libHostCtl(7) says how it is built and deployed.

#include <cache/hostctl.h>

namespace HostCtl {
namespace {

constexpr int kNone = -1;

struct Function {
  const char* name;
  int parent;  // the place of the function above in the table, or kNone
  std::uint8_t bus, device, function, secondary_bus;
  int slot, pcie_type;  // kNone: sits in no slot; has no PCI Express capability
  std::uint16_t vendor, device_id, class_code;
  const char *vendor_name, *device_name;
};

constexpr Function kBoard[] = {
    {"root", kNone, 0, 1, 0, 1, kNone, 4, 0x1d6b, 0x0010, 0x0604, "Board", "root port"},
    {"switch", 0, 1, 0, 0, 2, kNone, 5, 0x1d6b, 0x0020, 0x0604, "Board", "switch"},
    {"switch-a", 1, 2, 0, 0, 3, kNone, 6, 0x1d6b, 0x0020, 0x0604, "Board", "switch, left"},
    {"switch-b", 1, 2, 1, 0, 4, kNone, 6, 0x1d6b, 0x0020, 0x0604, "Board", "switch, right"},
    {"disk", 2, 3, 0, 0, 0, 7, 0, 0x1d6b, 0x0030, 0x0108, "Board", "disk"},
};

class BoardDevice final : public Hardware::PciDevice {
 public:
  explicit BoardDevice(const Function& function) : function_(function) {}
  std::string GetName() const override { return function_.name; }
  std::uint16_t GetSegment() const override { return 0; }
  std::uint8_t GetBus() const override { return function_.bus; }
  std::uint8_t GetDeviceNumber() const override { return function_.device; }
  std::uint8_t GetFunction() const override { return function_.function; }
  std::int32_t GetPhysicalSlot() const override { return function_.slot; }
  std::uint16_t GetVendorId() const override { return function_.vendor; }
  std::string GetVendorName() const override { return function_.vendor_name; }
  std::uint16_t GetDeviceId() const override { return function_.device_id; }
  std::uint16_t GetSubsystemVendorId() const override { return function_.vendor; }
  std::uint16_t GetSubsystemId() const override { return function_.device_id; }
  std::string GetDeviceName() const override { return function_.device_name; }
  std::uint16_t GetClassCode() const override { return function_.class_code; }
  std::uint8_t GetRevision() const override { return 1; }
  std::uint8_t GetSecondaryBus() const override { return function_.secondary_bus; }
  std::vector<std::uint32_t> GetCapabilities() const override {
    if (function_.pcie_type == kNone) return {};
    return {13};  // supports PCI Express
  }
  bool HasCapability(std::uint8_t id) const override {
    return id == 0x10 && function_.pcie_type != kNone;
  }
  std::int32_t GetPcieDeviceType() const override { return function_.pcie_type; }
  std::unique_ptr<PciDevice> GetParent() const override {
    if (function_.parent == kNone) return nullptr;
    return std::make_unique<BoardDevice>(kBoard[function_.parent]);
  }

 private:
  const Function& function_;
};

class Board final : public HardwareInfo, public PciInfo {
 public:
  std::unique_ptr<PciInfo> GetPciInfo() const override { return std::make_unique<Board>(); }
  std::string GetSystemName() const override { return "board-1"; }
  std::vector<std::unique_ptr<Hardware::PciDevice>> GetPciDevices() const override {
    std::vector<std::unique_ptr<Hardware::PciDevice>> devices;
    for (const Function& function : kBoard) {
      devices.push_back(std::make_unique<BoardDevice>(function));
    }
    return devices;
  }
};

}  // namespace

std::unique_ptr<HardwareInfo> Host::GetHardwareInfo() { return std::make_unique<Board>(); }

Host& HostFactory::GetHost() {
  static Host host;
  return host;
}

}  // namespace HostCtl
