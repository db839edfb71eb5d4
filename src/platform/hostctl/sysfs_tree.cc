#include "platform/hostctl/sysfs_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "cache/hostctl.h"

namespace HostCtl::Linux {
namespace {

// A file descriptor, closed at the end of its scope; -1 where the file could not be opened.
class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};

std::error_code LastError() { return {errno, std::generic_category()}; }

// Calls `visit` with the name of every entry of the folder; gives the error that ended the walk.
// Not with std::filesystem: in g++'s library a walk that runs short of memory ends the process.
template <typename Visit>
std::error_code ForEachEntry(const std::string& folder, Visit visit) {
  const std::unique_ptr<DIR, CloseFolder> opened(opendir(folder.c_str()));
  if (opened == nullptr) return LastError();
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(opened.get());
    if (entry == nullptr) return LastError();  // 0 at the end of the folder
    const std::string name = entry->d_name;
    if (name != "." && name != "..") visit(name);
  }
}

// The first line of a small file; empty where it cannot be read. O_NONBLOCK: a pipe in its place
// must not stop us.
std::string ReadLine(const std::string& path) {
  const File file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  std::array<char, 64> buffer;
  const ssize_t length = read(file.descriptor(), buffer.data(), buffer.size());
  std::string text(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  return text.substr(0, text.find('\n'));
}

std::int32_t LeadingNumber(std::string_view label) {
  if (label.empty() || label[0] < '0' || label[0] > '9') return -1;
  std::int32_t number = -1;
  const auto [stop, error] = std::from_chars(label.data(), label.data() + label.size(), number);
  return error == std::errc() ? number : -1;
}

std::uint64_t DeviceKey(const PciAddress& address) {
  return std::uint64_t{address.domain} << 16 | unsigned{address.bus} << 8 | address.device;
}

// The last component of a path, removed from it.
std::string_view TakeLastComponent(std::string_view& path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view last = slash == std::string_view::npos ? path : path.substr(slash + 1);
  path = slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
  return last;
}

}  // namespace

void SlotTable::Add(const PciAddress& device, std::int32_t slot) {
  slots_.emplace(DeviceKey(device), slot);
}

std::int32_t SlotTable::SlotOf(const PciAddress& function) const {
  const auto found = slots_.find(DeviceKey(function));
  return found == slots_.end() ? -1 : found->second;
}

std::string SysfsTree::FunctionPath(const PciAddress& function) const {
  return path_ + "/devices/" + FormatAddress(function);
}

std::vector<PciAddress> SysfsTree::Functions() const {
  const std::string folder = path_ + "/devices";
  std::vector<PciAddress> functions;
  const std::error_code error = ForEachEntry(folder, [&](const std::string& name) {
    if (name[0] == '.') return;
    const std::optional<PciAddress> address = ParseAddress(name);
    // Files are found again by the address: another spelling of it would be another file.
    if (!address || FormatAddress(*address) != name) {
      throw Lib::HostCtlException(folder + " holds " + name + ", which is no PCI address");
    }
    functions.push_back(*address);
  });
  if (error) throw Lib::HostCtlException("Cannot open " + folder + ": " + error.message());
  std::sort(functions.begin(), functions.end());
  return functions;
}

bool SysfsTree::Lists(const PciAddress& function) const {
  struct stat status;
  return lstat(FunctionPath(function).c_str(), &status) == 0;
}

void SysfsTree::RequireRegularFiles(const PciAddress& function) const {
  const std::string folder = FunctionPath(function);
  const File opened(open(folder.c_str(), O_PATH | O_CLOEXEC));
  for (const char* name : {"vendor", "device", "class", "revision", "subsystem_vendor",
                           "subsystem_device", "config"}) {
    struct stat status;
    if (fstatat(opened.descriptor(), name, &status, 0) == 0 && !S_ISREG(status.st_mode)) {
      throw Lib::HostCtlException("Cannot read " + folder + "/" + name + ": not a regular file");
    }
  }
}

Upstream SysfsTree::UpstreamOf(const PciAddress& function) const {
  std::array<char, PATH_MAX> buffer;
  const ssize_t length = readlink(FunctionPath(function).c_str(), buffer.data(), buffer.size());
  if (length <= 0) return {};
  // .../pci0000:00/0000:00:03.0/0000:01:00.0 is behind 0000:00:03.0, and that one on a root bus.
  std::string_view target(buffer.data(), static_cast<std::size_t>(length));
  if (ParseAddress(TakeLastComponent(target)) != function) return {};
  const std::string_view folder = TakeLastComponent(target);
  if (const auto upstream = ParseAddress(folder)) return {Upstream::Kind::kFunction, *upstream};
  if (folder.starts_with("pci")) return {Upstream::Kind::kRootBus, {}};
  return {};
}

SlotTable SysfsTree::Slots() const {
  SlotTable slots;
  const std::string folder = path_ + "/slots";
  // A tree need not have slots, and an empty one names no device.
  ForEachEntry(folder, [&](const std::string& label) {
    const std::string device = ReadLine(folder + "/" + label + "/address");
    if (const auto address = ParseAddress(device + ".0")) slots.Add(*address, LeadingNumber(label));
  });
  return slots;
}

}  // namespace HostCtl::Linux
