#include "bench/synthetic_host.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cache/hostctl.h"

namespace {

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
  const Function* parent;  // null: none
};

using Functions = std::vector<Function>;

class Device : public HostCtl::Hardware::PciDevice {
 public:
  explicit Device(const Function& facts) : facts_(facts) {}

  std::string GetName() const override { return facts_.name; }
  std::uint16_t GetSegment() const override { return facts_.segment; }
  std::uint8_t GetBus() const override { return facts_.bus; }
  std::uint8_t GetDeviceNumber() const override { return facts_.number; }
  std::uint8_t GetFunction() const override { return facts_.function; }
  std::int32_t GetPhysicalSlot() const override { return facts_.number == 0 ? 7 : -1; }
  std::uint16_t GetVendorId() const override { return 0x1af4; }
  std::string GetVendorName() const override { return "Benchmark Devices, Inc."; }
  std::uint16_t GetDeviceId() const override { return 0x1041; }
  std::uint16_t GetSubsystemVendorId() const override { return 0x1af4; }
  std::uint16_t GetSubsystemId() const override { return 0x1100; }
  std::string GetDeviceName() const override { return "Synthetic network function"; }
  std::uint16_t GetClassCode() const override { return facts_.class_code; }
  std::uint8_t GetRevision() const override { return 1; }
  std::uint8_t GetSecondaryBus() const override { return facts_.secondary_bus; }
  std::vector<std::uint32_t> GetCapabilities() const override { return {6, 7, 10, 13, 14}; }
  bool HasCapability(std::uint8_t id) const override { return id == 0x10 && facts_.pcie_type >= 0; }
  std::int32_t GetPcieDeviceType() const override { return facts_.pcie_type; }
  std::unique_ptr<PciDevice> GetParent() const override {
    if (facts_.parent == nullptr) return nullptr;
    return std::make_unique<Device>(*facts_.parent);
  }

 private:
  // A plain reference: a shared owner's count would be written by every thread.
  const Function& facts_;
};

const Functions* current = nullptr;

class Info : public HostCtl::PciInfo {
 public:
  std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>> GetPciDevices() const override {
    std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>> devices;
    devices.reserve(current->size());
    for (const Function& facts : *current) devices.push_back(std::make_unique<Device>(facts));
    return devices;
  }
};

class Hardware : public HostCtl::HardwareInfo {
 public:
  std::unique_ptr<HostCtl::PciInfo> GetPciInfo() const override { return std::make_unique<Info>(); }
  std::string GetSystemName() const override { return "Bench.Example"; }
};

// A host's functions, laid out bus by bus.
class Layout {
 public:
  explicit Layout(std::size_t limit) : limit_(limit) { functions_.reserve(limit); }

  bool full() const { return functions_.size() >= limit_; }
  const Functions& functions() const { return functions_; }

  // Adds a function at the next place of the current bus.
  const Function& Add(std::uint16_t class_code, std::int32_t pcie_type, const Function* parent,
                      std::uint8_t secondary_bus = 0) {
    const auto number = static_cast<std::uint8_t>(next_ / 8 % 32);
    const auto function = static_cast<std::uint8_t>(next_ % 8);
    ++next_;
    char name[32];
    (void)std::snprintf(name, sizeof(name), "%04x:%02x:%02x.%x", segment_, bus_, number, function);
    // The room is reserved: references stay.
    return functions_.emplace_back(Function{name, segment_, bus_, number, function, secondary_bus,
                                            class_code, pcie_type, parent});
  }

  // The same function under another name; nobody meets it but as a parent.
  const Function& AddAlias(const Function& function, const char* suffix) {
    aliases_.push_back(std::make_unique<Function>(function));
    aliases_.back()->name += suffix;
    return *aliases_.back();
  }

  // Starts the next bus; after the last one of a segment the first of the next segment.
  std::uint8_t NextBus() {
    next_ = 0;
    if (++bus_ == 0) ++segment_;
    return bus_;
  }

 private:
  std::size_t limit_;
  std::size_t next_ = 0;
  std::uint16_t segment_ = 0;
  std::uint8_t bus_ = 0;
  Functions functions_;
  std::vector<std::unique_ptr<Function>> aliases_;
};

void AddSwitch(Layout& layout, const Function& root) {
  layout.NextBus();
  const Function& upstream = layout.Add(0x0604, 5, &root);
  layout.NextBus();
  for (std::size_t port = 0; port < kDownstreamPorts && !layout.full(); ++port) {
    layout.Add(0x0604, 6, &upstream);
  }
}

void AddBridgeGroup(Layout& layout, const Function& root, bench::Parents parents) {
  layout.NextBus();
  const Function& bridge = layout.Add(0x0604, -1, &root, 1);
  const bool as_port = parents == bench::Parents::kCalledAsPorts;
  const Function& parent = as_port ? layout.AddAlias(bridge, "-pri") : bridge;
  layout.NextBus();
  for (std::size_t port = 0; port < kEndpointsPerBridge && !layout.full(); ++port) {
    layout.Add(0x0200, port % 2 == 0 ? 0 : -1, &parent);
  }
}

std::unique_ptr<Layout> MakeLayout(std::size_t functions, bench::Parents parents) {
  auto layout = std::make_unique<Layout>(functions);
  if (layout->full()) return layout;
  const Function& root = layout->Add(0x0600, -1, nullptr);
  for (std::size_t count = 0; count < kMaxSwitches && !layout->full(); ++count) {
    AddSwitch(*layout, root);
  }
  while (!layout->full()) AddBridgeGroup(*layout, root, parents);
  return layout;
}

}  // namespace

namespace bench {

void UseSyntheticHost(std::size_t functions, Parents parents) {
  static std::map<std::pair<std::size_t, Parents>, std::unique_ptr<Layout>> layouts;
  std::unique_ptr<Layout>& layout = layouts[{functions, parents}];
  if (layout == nullptr) layout = MakeLayout(functions, parents);
  current = &layout->functions();
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
// NOLINTBEGIN(bugprone-reserved-identifier): the C library's names
extern "C" {
BENCH_HOST_API void syslog(int /*priority*/, const char* /*format*/, ...) {}
BENCH_HOST_API void __syslog_chk(int /*priority*/, int /*flag*/, const char* /*format*/, ...) {}
}
// NOLINTEND(bugprone-reserved-identifier)
