// A host of any size as a tree of files, laid out as the kernel lays sysfs out: what lspci and the
// host control library read of it, whole processes can be measured on.
//
// Thread rule: immutable once made.

#ifndef BENCH_SYSFS_HOST_H_
#define BENCH_SYSFS_HOST_H_

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace bench {

// What all functions of one model have in common.
struct Model {
  std::uint16_t vendor;
  std::uint16_t device;
  std::uint32_t class_code;  // base class, subclass, programming interface
  int pcie_type;             // device/port type of the PCI Express capability; -1: has none
};

struct SysfsFunction {
  const Model* model;
  std::size_t parent;  // place in the list
  unsigned domain;
  unsigned bus;
  unsigned device;
  unsigned function;
  unsigned secondary_bus = 0;  // 0: no bridge
  unsigned subordinate_bus = 0;
};

class SysfsHost {
 public:
  // `functions` functions in domains of up to 256 buses: in each a host bridge and root ports,
  // behind these in turn a switch with another switch below it, an endpoint of eight functions, and
  // a bridge to conventional PCI with seven devices.
  explicit SysfsHost(std::size_t functions);

  const std::vector<SysfsFunction>& functions() const { return functions_; }

  // Functions that are neither bridges nor ports of a switch: the instances of Ostrel_PCIDevice.
  std::size_t devices() const;

  // "dddd:bb:dd.f".
  static std::string Address(const SysfsFunction& function);

  // Writes the tree into a folder that is empty or not there: devices/, bus/pci/devices and
  // bus/pci/slots. Throws std::filesystem::filesystem_error and std::ios_base::failure.
  void Write(const std::filesystem::path& folder) const;

 private:
  class Layout;

  std::vector<SysfsFunction> functions_;
};

// The place in such a folder that stands for /sys/bus/pci.
std::filesystem::path PciBus(const std::filesystem::path& folder);

// A sysfs tree in a temporary folder, in memory where possible, removed at the end.
class TemporarySysfs {
 public:
  explicit TemporarySysfs(const SysfsHost& host);
  ~TemporarySysfs();
  TemporarySysfs(const TemporarySysfs&) = delete;
  TemporarySysfs& operator=(const TemporarySysfs&) = delete;

  // The folder that stands for /sys/bus/pci.
  std::string path() const { return PciBus(folder_); }

 private:
  std::filesystem::path folder_;
};

}  // namespace bench

#endif  // BENCH_SYSFS_HOST_H_
