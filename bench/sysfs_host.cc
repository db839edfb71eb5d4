#include "bench/sysfs_host.h"

#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <string_view>
#include <system_error>

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);
constexpr unsigned kLastBus = 255;
constexpr unsigned kBusesOfLargestUnit = 9;

constexpr int kRootPortType = 4;
constexpr int kUpstreamType = 5;
constexpr int kDownstreamType = 6;
constexpr int kToPciType = 7;

// Models that pci.ids knows.
constexpr Model kHostBridge{0x8086, 0x29c0, 0x060000, -1};
constexpr Model kRootPort{0x1b36, 0x000c, 0x060400, kRootPortType};
constexpr Model kUpstreamPort{0x104c, 0x8232, 0x060400, kUpstreamType};
constexpr Model kDownstreamPort{0x104c, 0x8233, 0x060400, kDownstreamType};
constexpr Model kPciBridge{0x104c, 0x8231, 0x060400, kToPciType};
constexpr std::array kEndpoints = {
    Model{0x8086, 0x10d3, 0x020000, 0}, Model{0x1af4, 0x1041, 0x020000, 0},
    Model{0x1b36, 0x0010, 0x010802, 0}, Model{0x8086, 0x1521, 0x020000, 0},
    Model{0x144d, 0xa808, 0x010802, 0}, Model{0x15b3, 0x1017, 0x020000, 0},
    Model{0x1b36, 0x000d, 0x0c0330, 0}, Model{0x1000, 0x0097, 0x010700, 0}};
constexpr std::array kConventional = {
    Model{0x8086, 0x100e, 0x020000, -1}, Model{0x10ec, 0x8139, 0x020000, -1},
    Model{0x1274, 0x5000, 0x040100, -1}, Model{0x1000, 0x0012, 0x010000, -1}};

constexpr std::array kFunctionsOfEndpoints = {1U, 2U, 4U, 8U};
constexpr unsigned kAllFunctions = 8;
constexpr unsigned kConventionalDevices = 7;

bool IsPciBridge(const Model& model) { return model.class_code == 0x060400; }

// ---------------------------------------------------------------------------------------------
// Configuration space

using Bytes = std::string;

void Put(Bytes& bytes, std::size_t offset, std::uint32_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes[offset + i] = static_cast<char>(value >> (8 * i));
}

// Writes the start of a capability and links it behind the one whose pointer is at `link`. Gives
// the place of its own pointer.
std::size_t PutCapability(Bytes& bytes, std::size_t link, std::size_t offset, unsigned id) {
  Put(bytes, link, static_cast<std::uint32_t>(offset), 1);
  Put(bytes, offset, id, 1);
  return offset + 1;
}

Bytes ConfigOf(const SysfsFunction& function) {
  const Model& model = *function.model;
  const bool pcie = model.pcie_type >= 0;
  Bytes bytes(pcie ? 4096 : 256, '\0');
  Put(bytes, 0x00, model.vendor, 2);
  Put(bytes, 0x02, model.device, 2);
  Put(bytes, 0x04, 0x0007, 2);  // command: decodes, and is bus master
  Put(bytes, 0x06, 0x0010, 2);  // status: has capabilities
  Put(bytes, 0x08, 0x01, 1);    // revision
  Put(bytes, 0x09, model.class_code, 3);
  Put(bytes, 0x0e, IsPciBridge(model) ? 0x81 : 0x80, 1);  // header type
  if (IsPciBridge(model)) {
    Put(bytes, 0x18, function.bus, 1);
    Put(bytes, 0x19, function.secondary_bus, 1);
    Put(bytes, 0x1a, function.subordinate_bus, 1);
  } else {
    Put(bytes, 0x2c, model.vendor, 2);
    Put(bytes, 0x2e, 0x1100, 2);
  }
  std::size_t link = PutCapability(bytes, 0x34, 0x40, 0x01);  // power management
  link = PutCapability(bytes, link, 0x50, 0x05);              // MSI
  if (pcie) {
    (void)PutCapability(bytes, link, 0x70, 0x10);
    Put(bytes, 0x72, static_cast<std::uint32_t>(model.pcie_type) << 4 | 2U, 2);  // version 2
    Put(bytes, 0x7c, 0x00000043, 4);  // link: four lanes, up to 8 GT/s
    Put(bytes, 0x9c, 0x0000000e, 4);  // speeds of the link: 2.5, 5 and 8 GT/s
  }
  return bytes;
}

// ---------------------------------------------------------------------------------------------
// Files

void WriteFile(const fs::path& file, std::string_view content) {
  std::ofstream stream;
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  stream.open(file, std::ios::binary);
  stream << content;
}

// What the kernel has in "resource": first address, last address and flags of each region.
std::string Resources(const Model& model) {
  const std::size_t regions = IsPciBridge(model) ? 11 : 7;
  std::string text = "0x00000000f0000000 0x00000000f0003fff 0x0000000000040200\n";
  for (std::size_t i = 1; i < regions; ++i) {
    text += "0x0000000000000000 0x0000000000000000 0x0000000000000000\n";
  }
  return text;
}

void WriteFunction(const fs::path& folder, const SysfsFunction& function) {
  const Model& model = *function.model;
  const unsigned subsystem = IsPciBridge(model) ? 0 : 0x1100;
  const unsigned subsystem_vendor = IsPciBridge(model) ? 0 : model.vendor;
  fs::create_directories(folder);
  WriteFile(folder / "vendor", fmt::format("0x{:04x}\n", model.vendor));
  WriteFile(folder / "device", fmt::format("0x{:04x}\n", model.device));
  WriteFile(folder / "class", fmt::format("0x{:06x}\n", model.class_code));
  WriteFile(folder / "revision", "0x01\n");
  WriteFile(folder / "subsystem_vendor", fmt::format("0x{:04x}\n", subsystem_vendor));
  WriteFile(folder / "subsystem_device", fmt::format("0x{:04x}\n", subsystem));
  WriteFile(folder / "modalias",
            fmt::format("pci:v{:08X}d{:08X}sv{:08X}sd{:08X}bc{:02X}sc{:02X}i{:02X}\n", model.vendor,
                        model.device, subsystem_vendor, subsystem, model.class_code >> 16,
                        model.class_code >> 8 & 0xff, model.class_code & 0xff));
  WriteFile(folder / "irq", "0\n");
  WriteFile(folder / "numa_node", "-1\n");
  WriteFile(folder / "resource", Resources(model));
  WriteFile(folder / "config", ConfigOf(function));
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Layout

// Numbers buses depth first, as firmware does, so that the ranges of bridges nest.
class SysfsHost::Layout {
 public:
  Layout(std::vector<SysfsFunction>& functions, std::size_t limit)
      : functions_(functions), limit_(limit) {}

  bool full() const { return functions_.size() >= limit_; }

  void AddDomain() {
    last_bus_ = 0;
    Add(kHostBridge, kNoParent, 0, 0, 0);
    for (unsigned unit = 0; !full() && last_bus_ + kBusesOfLargestUnit <= kLastBus; ++unit) {
      const std::size_t port = Add(kRootPort, kNoParent, 0, 1 + unit / 8, unit % 8);
      if (unit % 3 == 0) AddSwitch(port, 4);
      if (unit % 3 == 1) AddEndpoint(port, kAllFunctions);
      if (unit % 3 == 2) AddPciBridge(port);
    }
    ++domain_;
  }

 private:
  std::size_t Add(const Model& model, std::size_t parent, unsigned bus, unsigned device,
                  unsigned function) {
    functions_.push_back({&model, parent, domain_, bus, device, function});
    return functions_.size() - 1;
  }

  // Gives the bridge a bus below it.
  unsigned OpenBus(std::size_t bridge) {
    ++last_bus_;
    functions_[bridge].secondary_bus = last_bus_;
    functions_[bridge].subordinate_bus = last_bus_;
    return last_bus_;
  }

  void CloseBus(std::size_t bridge) { functions_[bridge].subordinate_bus = last_bus_; }

  void AddEndpoint(std::size_t port, unsigned functions) {
    const unsigned bus = OpenBus(port);
    const Model& model = kEndpoints[added_endpoints_++ % kEndpoints.size()];
    for (unsigned function = 0; function < functions && !full(); ++function) {
      Add(model, port, bus, 0, function);
    }
  }

  // A switch; the last of more than two downstream ports leads to another one.
  void AddSwitch(std::size_t port, unsigned downstream_ports) {
    const unsigned bus = OpenBus(port);
    if (!full()) {
      const std::size_t upstream = Add(kUpstreamPort, port, bus, 0, 0);
      const unsigned inner_bus = OpenBus(upstream);
      for (unsigned i = 0; i < downstream_ports && !full(); ++i) {
        const std::size_t downstream = Add(kDownstreamPort, upstream, inner_bus, i, 0);
        const bool nests = downstream_ports > 2 && i + 1 == downstream_ports;
        if (nests) {
          AddSwitch(downstream, 2);
        } else {
          AddEndpoint(downstream, kFunctionsOfEndpoints[i % kFunctionsOfEndpoints.size()]);
        }
      }
      CloseBus(upstream);
    }
    CloseBus(port);
  }

  void AddPciBridge(std::size_t port) {
    const unsigned bus = OpenBus(port);
    if (!full()) {
      const std::size_t bridge = Add(kPciBridge, port, bus, 0, 0);
      const unsigned inner_bus = OpenBus(bridge);
      for (unsigned device = 0; device < kConventionalDevices && !full(); ++device) {
        Add(kConventional[device % kConventional.size()], bridge, inner_bus, device, 0);
      }
    }
    CloseBus(port);
  }

  std::vector<SysfsFunction>& functions_;
  std::size_t limit_;
  unsigned domain_ = 0;
  unsigned last_bus_ = 0;
  std::size_t added_endpoints_ = 0;
};

SysfsHost::SysfsHost(std::size_t functions) {
  functions_.reserve(functions);
  Layout layout(functions_, functions);
  while (!layout.full()) layout.AddDomain();
}

std::size_t SysfsHost::devices() const {
  constexpr std::uint32_t kBridge = 0x06;  // base class: host bridges as well
  return static_cast<std::size_t>(std::count_if(
      functions_.begin(), functions_.end(),
      [](const SysfsFunction& function) { return function.model->class_code >> 16 != kBridge; }));
}

std::string SysfsHost::Address(const SysfsFunction& function) {
  return fmt::format("{:04x}:{:02x}:{:02x}.{:x}", function.domain, function.bus, function.device,
                     function.function);
}

void SysfsHost::Write(const fs::path& folder) const {
  const fs::path links = PciBus(folder) / "devices";
  const fs::path slots = PciBus(folder) / "slots";
  fs::create_directories(links);
  fs::create_directories(slots);
  std::vector<fs::path> places;  // below `folder`
  places.reserve(functions_.size());
  std::size_t slot = 0;
  for (const SysfsFunction& function : functions_) {
    const std::string address = Address(function);
    const bool root = function.parent == kNoParent;
    places.push_back((root ? fs::path("devices") / fmt::format("pci{:04x}:00", function.domain)
                           : places[function.parent]) /
                     address);
    WriteFunction(folder / places.back(), function);
    fs::create_symlink(fs::path("../../..") / places.back(), links / address);
    if (function.model != &kRootPort) continue;
    // What is plugged into the port.
    const fs::path slot_folder = slots / fmt::format("{}", ++slot);
    fs::create_directory(slot_folder);
    WriteFile(slot_folder / "address",
              fmt::format("{:04x}:{:02x}:00\n", function.domain, function.secondary_bus));
  }
}

fs::path PciBus(const fs::path& folder) { return folder / "bus" / "pci"; }

TemporarySysfs::TemporarySysfs(const SysfsHost& host) {
  // In memory where there is such a folder, as sysfs is: no disk takes part in what is measured.
  const fs::path memory = "/dev/shm";
  const bool in_memory = access(memory.c_str(), W_OK) == 0;
  std::string pattern = (in_memory ? memory : fs::temp_directory_path()) / "pci-host-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    throw fs::filesystem_error("mkdtemp", pattern, std::error_code(errno, std::generic_category()));
  }
  folder_ = pattern;
  host.Write(folder_);
}

TemporarySysfs::~TemporarySysfs() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

}  // namespace bench
