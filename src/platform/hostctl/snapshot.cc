#include "platform/hostctl/snapshot.h"

#include <algorithm>
#include <array>
#include <span>

#include "cache/hostctl.h"
#include "platform/hostctl/access.h"
#include "platform/hostctl/config_space.h"
#include "platform/hostctl/dump_reader.h"
#include "platform/hostctl/name_table.h"
#include "platform/hostctl/sysfs_tree.h"
#include "platform/hostctl/topology.h"

namespace HostCtl::Linux {

class Snapshot::Builder {
 public:
  explicit Builder(Access access) : access_(std::move(access)), names_(access_) {}

  void ReadSysfs(const std::string& path) {
    const SysfsTree tree(path);
    const SlotTable slots = tree.Slots();
    const std::vector<PciAddress> addresses = tree.Functions();
    functions_.reserve(addresses.size());
    for (const PciAddress& address : addresses) AddFromSysfs(tree, slots, address);
    LinkByBusNumbers(functions_);
    LinkAsKernelSays(functions_, tree);
  }

  void ReadDumpFile(const std::string& path) {
    ReadDump(path, [this](const PciAddress& address, std::span<std::uint8_t> config) {
      Add(address, access_.DecodeFunction(address, config), config, -1);
    });
    SortAndDropRepeated();
    LinkByBusNumbers(functions_);
  }

  std::shared_ptr<const Snapshot> Finish() {
    auto snapshot = std::make_shared<Snapshot>();
    snapshot->cut_off_functions_ = static_cast<std::size_t>(
        std::count_if(functions_.begin(), functions_.end(),
                      [](const FunctionRecord& function) { return function.cut_off; }));
    snapshot->functions_ = std::move(functions_);
    snapshot->names_ = names_.TakeNames();
    return snapshot;
  }

 private:
  void AddFromSysfs(const SysfsTree& tree, const SlotTable& slots, const PciAddress& address) {
    std::array<std::uint8_t, kConfigSize> config;
    std::size_t length = 0;
    Identity identity;
    tree.RequireRegularFiles(address);
    try {
      identity = access_.ReadFunction(address, config, length);
    } catch (const Lib::HostCtlException&) {
      if (tree.Lists(address)) throw;
      return;  // pulled out since the functions were listed
    }
    Add(address, identity, std::span(config).first(length), slots.SlotOf(address));
  }

  void Add(const PciAddress& address, const Identity& identity,
           std::span<const std::uint8_t> config_bytes, std::int32_t slot) {
    const ConfigSpace config(config_bytes);
    const CapabilityFacts capabilities = config.Capabilities();
    const bool without_header = config_bytes.size() < kStandardHeaderSize;
    functions_.push_back({.address = address,
                          .identity = identity,
                          .buses = config.BusesBehind(),
                          .pcie_port_type = capabilities.pcie_port_type,
                          .capability_codes = config.CapabilityCodes(capabilities),
                          .capability_ids = capabilities.ids,
                          .cut_off = capabilities.cut_off || without_header,
                          .slot = slot,
                          .parent = kNoParent,
                          .vendor_name = names_.Vendor(identity.vendor),
                          .device_name = names_.Device(identity.vendor, identity.device)});
  }

  // Of a function that a dump holds more than once, the first one stands.
  void SortAndDropRepeated() {
    std::stable_sort(functions_.begin(), functions_.end(),
                     [](const FunctionRecord& left, const FunctionRecord& right) {
                       return left.address < right.address;
                     });
    const auto end = std::unique(functions_.begin(), functions_.end(),
                                 [](const FunctionRecord& left, const FunctionRecord& right) {
                                   return left.address == right.address;
                                 });
    functions_.erase(end, functions_.end());
  }

  Access access_;
  NameTable names_;
  std::vector<FunctionRecord> functions_;
};

std::shared_ptr<const Snapshot> Snapshot::Take(const Source& source) {
  if (source.kind == Source::Kind::kDump) {
    Builder builder(Access::OfConfigSpaces());
    builder.ReadDumpFile(source.path);
    return builder.Finish();
  }
  Builder builder(Access::OfSysfs(source.path));
  builder.ReadSysfs(source.path);
  return builder.Finish();
}

}  // namespace HostCtl::Linux
