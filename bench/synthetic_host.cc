#include "bench/synthetic_host.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cache/hostctl.h"

namespace {

constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);
constexpr std::size_t kMaxSwitches = 8;
constexpr std::size_t kDownstreamPorts = 4;
constexpr std::size_t kEndpointsPerBridge = 7;

struct Function {
  std::string name;
  std::uint16_t segment;
  std::uint8_t bus;
  std::uint8_t number;
  std::uint8_t function;
  std::uint8_t secondary_bus;
  std::uint16_t class_code;
  std::int32_t pcie_type;  // -1: no PCI Express capability
  std::size_t parent;
};

using Functions = std::vector<Function>;

class Device : public HostCtl::Hardware::PciDevice {
 public:
  Device(std::shared_ptr<const Functions> functions, std::size_t index)
      : functions_(std::move(functions)), index_(index) {}

  std::string GetName() const override { return Facts().name; }
  std::uint16_t GetSegment() const override { return Facts().segment; }
  std::uint8_t GetBus() const override { return Facts().bus; }
  std::uint8_t GetDeviceNumber() const override { return Facts().number; }
  std::uint8_t GetFunction() const override { return Facts().function; }
  std::int32_t GetPhysicalSlot() const override { return Facts().number == 0 ? 7 : -1; }
  std::uint16_t GetVendorId() const override { return 0x1af4; }
  std::string GetVendorName() const override { return "Benchmark Devices, Inc."; }
  std::uint16_t GetDeviceId() const override { return 0x1041; }
  std::uint16_t GetSubsystemVendorId() const override { return 0x1af4; }
  std::uint16_t GetSubsystemId() const override { return 0x1100; }
  std::string GetDeviceName() const override { return "Synthetic network function"; }
  std::uint16_t GetClassCode() const override { return Facts().class_code; }
  std::uint8_t GetRevision() const override { return 1; }
  std::uint8_t GetSecondaryBus() const override { return Facts().secondary_bus; }
  std::vector<std::uint32_t> GetCapabilities() const override { return {6, 7, 10, 13, 14}; }
  bool HasCapability(std::uint8_t id) const override {
    return id == 0x10 && Facts().pcie_type >= 0;
  }
  std::int32_t GetPcieDeviceType() const override { return Facts().pcie_type; }
  std::unique_ptr<PciDevice> GetParent() const override {
    if (Facts().parent == kNoParent) return nullptr;
    return std::make_unique<Device>(functions_, Facts().parent);
  }

 private:
  const Function& Facts() const { return (*functions_)[index_]; }

  std::shared_ptr<const Functions> functions_;
  std::size_t index_;
};

std::shared_ptr<const Functions> current = std::make_shared<Functions>();

class Info : public HostCtl::PciInfo {
 public:
  std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>> GetPciDevices() const override {
    std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>> devices;
    devices.reserve(current->size());
    for (std::size_t index = 0; index < current->size(); ++index) {
      devices.push_back(std::make_unique<Device>(current, index));
    }
    return devices;
  }
};

class Hardware : public HostCtl::HardwareInfo {
 public:
  std::unique_ptr<HostCtl::PciInfo> GetPciInfo() const override { return std::make_unique<Info>(); }
  std::string GetSystemName() const override { return "Bench.Example"; }
};

// Lays functions out bus by bus.
class Layout {
 public:
  explicit Layout(std::size_t limit) : limit_(limit) { functions_->reserve(limit); }

  bool full() const { return functions_->size() >= limit_; }

  // Adds a function at the next place of the current bus.
  std::size_t Add(std::uint16_t class_code, std::int32_t pcie_type, std::size_t parent,
                  std::uint8_t secondary_bus = 0) {
    const auto number = static_cast<std::uint8_t>(next_ / 8 % 32);
    const auto function = static_cast<std::uint8_t>(next_ % 8);
    ++next_;
    char name[32];
    (void)std::snprintf(name, sizeof(name), "%04x:%02x:%02x.%x", segment_, bus_, number, function);
    functions_->push_back(
        {name, segment_, bus_, number, function, secondary_bus, class_code, pcie_type, parent});
    return functions_->size() - 1;
  }

  // Starts the next bus; after the last one of a segment the first of the next segment.
  std::uint8_t NextBus() {
    next_ = 0;
    if (++bus_ == 0) ++segment_;
    return bus_;
  }

  std::shared_ptr<const Functions> Take() { return functions_; }

 private:
  std::size_t limit_;
  std::size_t next_ = 0;
  std::uint16_t segment_ = 0;
  std::uint8_t bus_ = 0;
  std::shared_ptr<Functions> functions_ = std::make_shared<Functions>();
};

void AddSwitch(Layout& layout) {
  layout.NextBus();
  const std::size_t upstream = layout.Add(0x0604, 5, 0);
  layout.NextBus();
  for (std::size_t port = 0; port < kDownstreamPorts && !layout.full(); ++port) {
    layout.Add(0x0604, 6, upstream);
  }
}

void AddBridgeGroup(Layout& layout) {
  layout.NextBus();
  const std::size_t bridge = layout.Add(0x0604, -1, 0, 1);
  layout.NextBus();
  for (std::size_t port = 0; port < kEndpointsPerBridge && !layout.full(); ++port) {
    layout.Add(0x0200, port % 2 == 0 ? 0 : -1, bridge);
  }
}

}  // namespace

namespace bench {

void UseSyntheticHost(std::size_t functions) {
  Layout layout(functions);
  if (!layout.full()) layout.Add(0x0600, -1, kNoParent);
  for (std::size_t count = 0; count < kMaxSwitches && !layout.full(); ++count) AddSwitch(layout);
  while (!layout.full()) AddBridgeGroup(layout);
  current = layout.Take();
}

}  // namespace bench

namespace HostCtl {

std::unique_ptr<HardwareInfo> Host::GetHardwareInfo() { return std::make_unique<::Hardware>(); }

Host& HostFactory::GetHost() {
  static Host host;
  return host;
}

}  // namespace HostCtl

// Nothing is formatted and nothing is sent.
extern "C" {
BENCH_HOST_API void syslog(int /*priority*/, const char* /*format*/, ...) {}
BENCH_HOST_API void __syslog_chk(int /*priority*/, int /*flag*/, const char* /*format*/, ...) {}
}
