#include "support/fake_host.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "cache/hostctl.h"

namespace fake {
namespace {

using HostCtl::Hardware::PciDevice;

enum Operation : std::size_t {
  kGetHost,
  kGetHardwareInfo,
  kGetPciInfo,
  kGetSystemName,
  kGetPciDevices,
  kGetName,
  kGetSegment,
  kGetBus,
  kGetDeviceNumber,
  kGetFunction,
  kGetPhysicalSlot,
  kGetVendorId,
  kGetVendorName,
  kGetDeviceId,
  kGetSubsystemVendorId,
  kGetSubsystemId,
  kGetDeviceName,
  kGetClassCode,
  kGetRevision,
  kGetSecondaryBus,
  kGetCapabilities,
  kHasCapability,
  kGetPcieDeviceType,
  kGetParent,
  kOperationCount
};

// In the order of Operation.
constexpr std::array<const char*, kOperationCount> kOperationNames = {
    "GetHost",         "GetHardwareInfo", "GetPciInfo",           "GetSystemName",
    "GetPciDevices",   "GetName",         "GetSegment",           "GetBus",
    "GetDeviceNumber", "GetFunction",     "GetPhysicalSlot",      "GetVendorId",
    "GetVendorName",   "GetDeviceId",     "GetSubsystemVendorId", "GetSubsystemId",
    "GetDeviceName",   "GetClassCode",    "GetRevision",          "GetSecondaryBus",
    "GetCapabilities", "HasCapability",   "GetPcieDeviceType",    "GetParent",
};

Operation OperationNamed(const std::string& name) {
  const auto* const found = std::find(kOperationNames.begin(), kOperationNames.end(), name);
  if (found == kOperationNames.end()) throw std::invalid_argument("no host operation " + name);
  return static_cast<Operation>(found - kOperationNames.begin());
}

// What a test watches and injects. The counters are all that a call touches unless `armed`.
struct Switchboard {
  std::atomic<std::size_t> calls{0};
  std::array<std::atomic<std::size_t>, kOperationCount> calls_of{};
  std::atomic<bool> armed{false};

  std::mutex mutex;  // guards everything below
  std::shared_ptr<const Host> host = std::make_shared<Host>();
  bool tracing = false;
  std::vector<std::string> trace;
  std::vector<Live> live_at_trace;
  std::size_t first_call = 0;  // the number of calls when the failures were asked for
  std::set<std::size_t> failing;
  std::size_t failing_from = 0;  // 0: not at all
  Thrown thrown = Thrown::kHostCtlException;

  std::atomic<int> devices{0};
  std::atomic<int> parents{0};
  std::atomic<int> pci_infos{0};
  std::atomic<int> hardware_infos{0};
};

Switchboard& Board() {
  // Never destroyed: devices of the cache under test live until its static destructors run.
  static auto* const board = new Switchboard;
  return *board;
}

[[noreturn]] void Throw(const std::string& text, Thrown thrown) {
  switch (thrown) {
    case Thrown::kRuntimeError: throw std::runtime_error(text);
    case Thrown::kNoException: throw 42;
    case Thrown::kHostCtlException: break;
  }
  throw HostCtl::Lib::HostCtlException(text);
}

void TraceOrFail(const char* operation, const std::string& subject, std::size_t call) {
  Switchboard& board = Board();
  const std::lock_guard lock(board.mutex);
  if (board.tracing) {
    board.trace.push_back(std::string(operation) + "(" + subject + ")");
    board.live_at_trace.push_back(LiveObjects());
  }
  const std::size_t n = call - board.first_call;
  if (board.failing.contains(n) || (board.failing_from != 0 && n >= board.failing_from)) {
    Throw("injected failure at call " + std::to_string(n), board.thrown);
  }
}

// One call of the interface: counted, traced, and made to fail where a test asked for it.
void Call(Operation operation, const std::string& subject, const Faults& faults) {
  Switchboard& board = Board();
  const std::size_t call = board.calls.fetch_add(1, std::memory_order_relaxed) + 1;
  board.calls_of[operation].fetch_add(1, std::memory_order_relaxed);
  if (board.armed.load(std::memory_order_relaxed)) {
    TraceOrFail(kOperationNames[operation], subject, call);
  }
  if (faults.empty()) return;
  const auto fault = faults.find(kOperationNames[operation]);
  if (fault != faults.end()) Throw(fault->second.text, fault->second.thrown);
}

std::shared_ptr<const Host> CurrentHost() {
  const std::lock_guard lock(Board().mutex);
  return Board().host;
}

// Counts an object for as long as it lives.
class LiveToken {
 public:
  explicit LiveToken(std::atomic<int>& counter) : counter_(counter) { ++counter_; }
  ~LiveToken() { --counter_; }
  LiveToken(const LiveToken&) = delete;
  LiveToken& operator=(const LiveToken&) = delete;

 private:
  std::atomic<int>& counter_;
};

class FakeDevice final : public PciDevice {
 public:
  FakeDevice(std::shared_ptr<const Host> host, Device facts, std::atomic<int>& counter)
      : host_(std::move(host)), facts_(std::move(facts)), token_(counter) {}

  std::string GetName() const override { return Answer(kGetName, facts_.name); }
  std::uint16_t GetSegment() const override { return Answer(kGetSegment, facts_.segment); }
  std::uint8_t GetBus() const override { return Answer(kGetBus, facts_.bus); }
  std::uint8_t GetDeviceNumber() const override { return Answer(kGetDeviceNumber, facts_.number); }
  std::uint8_t GetFunction() const override { return Answer(kGetFunction, facts_.function); }
  std::int32_t GetPhysicalSlot() const override { return Answer(kGetPhysicalSlot, facts_.slot); }
  std::uint16_t GetVendorId() const override { return Answer(kGetVendorId, facts_.vendor_id); }
  std::string GetVendorName() const override { return Answer(kGetVendorName, facts_.vendor_name); }
  std::uint16_t GetDeviceId() const override { return Answer(kGetDeviceId, facts_.device_id); }
  std::uint16_t GetSubsystemVendorId() const override {
    return Answer(kGetSubsystemVendorId, facts_.subsystem_vendor_id);
  }
  std::uint16_t GetSubsystemId() const override {
    return Answer(kGetSubsystemId, facts_.subsystem_id);
  }
  std::string GetDeviceName() const override { return Answer(kGetDeviceName, facts_.device_name); }
  std::uint16_t GetClassCode() const override { return Answer(kGetClassCode, facts_.class_code); }
  std::uint8_t GetRevision() const override { return Answer(kGetRevision, facts_.revision); }
  std::uint8_t GetSecondaryBus() const override {
    return Answer(kGetSecondaryBus, facts_.secondary_bus);
  }
  std::vector<std::uint32_t> GetCapabilities() const override {
    return Answer(kGetCapabilities, facts_.capabilities);
  }
  bool HasCapability(std::uint8_t id) const override {
    return Answer(kHasCapability, facts_.capability_ids).contains(id);
  }
  std::int32_t GetPcieDeviceType() const override {
    return Answer(kGetPcieDeviceType, facts_.pcie_type);
  }
  std::unique_ptr<PciDevice> GetParent() const override {
    const std::optional<std::string>& parent = Answer(kGetParent, facts_.parent);
    if (!parent) return nullptr;
    const Device* found = host_->Find(*parent);
    return std::make_unique<FakeDevice>(host_, found != nullptr ? *found : Named(*parent),
                                        Board().parents);
  }

 private:
  template <typename Value>
  const Value& Answer(Operation operation, const Value& value) const {
    Call(operation, facts_.name, facts_.faults);
    return value;
  }

  std::shared_ptr<const Host> host_;
  Device facts_;
  LiveToken token_;
};

class FakePciInfo final : public HostCtl::PciInfo {
 public:
  explicit FakePciInfo(std::shared_ptr<const Host> host) : host_(std::move(host)) {}

  std::vector<std::unique_ptr<PciDevice>> GetPciDevices() const override {
    Call(kGetPciDevices, "", host_->faults);
    std::vector<std::unique_ptr<PciDevice>> devices;
    for (const Device& facts : host_->devices) {
      devices.push_back(std::make_unique<FakeDevice>(host_, facts, Board().devices));
    }
    return devices;
  }

 private:
  std::shared_ptr<const Host> host_;
  LiveToken token_{Board().pci_infos};
};

class FakeHardwareInfo final : public HostCtl::HardwareInfo {
 public:
  explicit FakeHardwareInfo(std::shared_ptr<const Host> host) : host_(std::move(host)) {}

  std::unique_ptr<HostCtl::PciInfo> GetPciInfo() const override {
    Call(kGetPciInfo, "", host_->faults);
    return std::make_unique<FakePciInfo>(host_);
  }
  std::string GetSystemName() const override {
    Call(kGetSystemName, "", host_->faults);
    return host_->system_name;
  }

 private:
  std::shared_ptr<const Host> host_;
  LiveToken token_{Board().hardware_infos};
};

void CheckFaults(const Faults& faults) {
  for (const auto& fault : faults) OperationNamed(fault.first);
}

void Arm(std::set<std::size_t> failing, std::size_t failing_from, Thrown thrown) {
  Switchboard& board = Board();
  const std::lock_guard lock(board.mutex);
  board.first_call = board.calls;
  board.failing = std::move(failing);
  board.failing_from = failing_from;
  board.thrown = thrown;
  board.armed = board.tracing || !board.failing.empty() || failing_from != 0;
}

}  // namespace

void Use(const Host& host) {
  CheckFaults(host.faults);
  for (const Device& device : host.devices) CheckFaults(device.faults);
  Switchboard& board = Board();
  board.calls = 0;
  for (auto& count : board.calls_of) count = 0;
  {
    const std::lock_guard lock(board.mutex);
    board.host = std::make_shared<const Host>(host);
    board.trace.clear();
    board.live_at_trace.clear();
  }
  FailNever();
}

void FailAt(std::size_t n, Thrown thrown) { Arm({n}, 0, thrown); }
void FailAt(std::set<std::size_t> calls, Thrown thrown) { Arm(std::move(calls), 0, thrown); }
void FailFrom(std::size_t n, Thrown thrown) { Arm({}, n, thrown); }
void FailNever() { Arm({}, 0, Thrown::kHostCtlException); }

std::size_t CallCount() { return Board().calls; }
std::size_t CallCount(const std::string& operation) {
  return Board().calls_of[OperationNamed(operation)];
}

void TraceCalls(bool on) {
  Switchboard& board = Board();
  const std::lock_guard lock(board.mutex);
  board.tracing = on;
  board.trace.clear();
  board.live_at_trace.clear();
  board.armed = on || !board.failing.empty() || board.failing_from != 0;
}

std::vector<std::string> Calls() {
  const std::lock_guard lock(Board().mutex);
  return Board().trace;
}

std::vector<Live> LiveAtCalls() {
  const std::lock_guard lock(Board().mutex);
  return Board().live_at_trace;
}

Live LiveObjects() {
  const Switchboard& board = Board();
  return {board.devices, board.parents, board.pci_infos, board.hardware_infos};
}

}  // namespace fake

namespace HostCtl {

std::unique_ptr<HardwareInfo> Host::GetHardwareInfo() {
  auto host = fake::CurrentHost();
  fake::Call(fake::kGetHardwareInfo, "", host->faults);
  return std::make_unique<fake::FakeHardwareInfo>(std::move(host));
}

Host& HostFactory::GetHost() {
  static Host the_host;
  fake::Call(fake::kGetHost, "", fake::CurrentHost()->faults);
  return the_host;
}

}  // namespace HostCtl
