#include "pci/details.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pci/sysfs_folder.h"

namespace pci {
namespace {

// Folders of one class of devices, in which each folder is a device.
constexpr std::array<std::string_view, 7> kDeviceClasses = {"block", "drm",   "infiniband", "net",
                                                            "nvme",  "sound", "tty"};

// Disks are the deepest: behind a host adapter, expanders, a port, an end device and a target.
constexpr int kDeepest = 16;
constexpr int kMostFolders = 1000;

std::string_view LastComponent(std::string_view path) { return path.substr(path.rfind('/') + 1); }

template <typename Number>
std::optional<Number> ParseDecimal(std::string_view text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// Takes decimal digits off the start of the text.
std::string_view TakeDigits(std::string_view& text) {
  const std::size_t size = std::min(text.find_first_not_of("0123456789"), text.size());
  const std::string_view digits = text.substr(0, size);
  text.remove_prefix(size);
  return digits;
}

bool IsNumbered(std::string_view text, std::string_view name) {
  if (!text.starts_with(name)) return false;
  text.remove_prefix(name.size());
  return !TakeDigits(text).empty() && text.empty();
}

// A namespace of an NVMe controller, "nvme0n1", or one path of several to it, "nvme0c1n1", by the
// name that the namespace itself has; empty for any other folder.
std::string NvmeNamespace(std::string_view name) {
  if (!name.starts_with("nvme")) return {};
  std::string_view rest = name.substr(4);
  const std::string_view subsystem = TakeDigits(rest);
  if (rest.starts_with('c')) {
    rest.remove_prefix(1);
    TakeDigits(rest);
  }
  if (subsystem.empty() || !rest.starts_with('n') || !IsNumbered(rest, "n")) return {};
  return "nvme" + std::string(subsystem) + std::string(rest);
}

class DeviceNames {
 public:
  std::vector<std::string> Collect(const SysfsFolder& function) {
    Descend(function, 0);
    std::sort(names_.begin(), names_.end());
    names_.erase(std::unique(names_.begin(), names_.end()), names_.end());
    return std::move(names_);
  }

 private:
  void Descend(const SysfsFolder& folder, int depth) {
    if (!folder.is_open() || depth > kDeepest || ++folders_ > kMostFolders) return;
    for (const std::string& name : folder.FolderNames()) {
      if (name == "power" || name.starts_with("pci") || ParseAddress(name)) continue;
      if (IsNumbered(name, "usb")) {
        names_.push_back(name);  // a bus of its own, with devices of its own
        continue;
      }
      const SysfsFolder below(folder, name.c_str());
      if (std::find(kDeviceClasses.begin(), kDeviceClasses.end(), name) != kDeviceClasses.end()) {
        AddDevices(below, name);
      } else {
        Descend(below, depth + 1);
      }
    }
  }

  void AddDevices(const SysfsFolder& folder, std::string_view device_class) {
    if (!folder.is_open()) return;
    for (const std::string& name : folder.FolderNames()) {
      // Of a display controller, not what renders alone.
      if (device_class == "drm" && !IsNumbered(name, "card")) continue;
      names_.push_back(name);
      if (device_class == "nvme") AddNamespaces(SysfsFolder(folder, name.c_str()));
    }
  }

  void AddNamespaces(const SysfsFolder& controller) {
    if (!controller.is_open()) return;
    for (const std::string& name : controller.FolderNames()) {
      if (std::string found = NvmeNamespace(name); !found.empty()) names_.push_back(found);
    }
  }

  std::vector<std::string> names_;
  int folders_ = 0;
};

bool IsBridge(const Function& function) {
  return function.buses.secondary != 0 || function.buses.subordinate != 0;
}

}  // namespace

Detail ReadDetail(SysfsFunction& folder, const Function& function, const WantedDetails& wanted) {
  Detail detail;
  if (wanted.numa_node) {
    const auto node = folder.ReadLine("numa_node");
    detail.numa_node = ParseDecimal<std::int32_t>(node.value_or("")).value_or(-1);
  }
  if (wanted.iommu_group) {
    const auto group = folder.ReadLink("iommu_group");
    detail.iommu_group = ParseDecimal<std::uint32_t>(LastComponent(group.value_or("")));
  }
  if (!wanted.driver && !wanted.system_devices) return detail;
  const auto driver = folder.ReadLink("driver");
  const bool has_driver = driver || errno == EINVAL;  // in some copies a folder is in its place
  detail.driver = LastComponent(driver.value_or(""));
  // It is drivers that make devices. A bridge's makes none, but has folders of services.
  if (wanted.system_devices && has_driver && !IsBridge(function)) {
    detail.system_devices = DeviceNames().Collect(folder.OpenFolder());
  }
  return detail;
}

}  // namespace pci
