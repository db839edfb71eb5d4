#include "pci/sysfs_source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "pci/config_space.h"
#include "pci/details.h"
#include "pci/error.h"
#include "pci/kernel_identity.h"
#include "pci/parents.h"
#include "pci/slots.h"
#include "pci/sysfs_folder.h"

namespace pci {
namespace {

// What copies all that is read here, links and what they lead to.
constexpr const char* kCopyCommand =
    "cd /sys && cp -a --parents bus/pci/devices bus/pci/slots $(find devices -path '*/pci*' "
    "'(' -name config -o -name modalias -o -name physfn ')') FOLDER";

// ---------------------------------------------------------------------------------------------
// Where a tree has its two folders

struct Place {
  std::string devices;
  std::string slots;
};

bool IsFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool HoldsFunctionsAlone(const SysfsFolder& folder) {
  const std::vector<std::string> names = folder.Names();
  return !names.empty() && std::all_of(names.begin(), names.end(), [](const std::string& name) {
    return ParseAddress(name).has_value();
  });
}

Place FindPlace(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  for (const std::string& folder : {path + "/bus/pci", path}) {
    if (IsFolder(folder + "/devices")) return {folder + "/devices", folder + "/slots"};
  }
  const SysfsFolder folder(path);
  if (!folder.is_open()) throw Error("Cannot open " + path + ": " + SystemReason(errno));
  if (!HoldsFunctionsAlone(folder)) throw Error(path + " must hold devices/");
  return {path, path + "/../slots"};
}

// ---------------------------------------------------------------------------------------------

class Reading {
 public:
  explicit Reading(const Place& place) : devices_(place.devices), place_(place) {
    if (!devices_.is_open()) {
      throw Error("Cannot open " + place.devices + ": " + SystemReason(errno));
    }
    inventory_.from_running_kernel = devices_.is_kernels();
  }

  Inventory Take(const Wanted& wanted) {
    const std::vector<Address> addresses = ListFunctions();
    inventory_.functions.reserve(addresses.size());
    for (const Address& address : addresses) TakeFunction(address, wanted);
    RequireAny();
    ReadSlots();
    return std::move(inventory_);
  }

 private:
  // Ascending.
  std::vector<Address> ListFunctions() {
    std::vector<Address> addresses;
    for (const std::string& name : devices_.Names()) {
      const std::optional<Address> address = ParseAddress(name);
      // Files are found again by the address: another spelling of it would be another file.
      if (address && FormatAddress(*address) == name) {
        addresses.push_back(*address);
      } else if (!name.starts_with('.')) {
        inventory_.LeaveOut(devices_.PathOf(name), "no PCI address");
      }
    }
    std::sort(addresses.begin(), addresses.end());
    return addresses;
  }

  void TakeFunction(const Address& address, const Wanted& wanted) {
    SysfsFunction folder(devices_, address);
    const std::size_t capabilities = inventory_.capabilities.size();
    try {
      Function function = ReadFunction(folder);
      if (wanted.registers) inventory_.registers.push_back(ReadRegisters(folder));
      if (wanted.details.Any()) {
        inventory_.details.push_back(ReadDetail(folder, function, wanted.details));
      }
      inventory_.functions.push_back(function);
    } catch (const Error& error) {
      inventory_.capabilities.resize(capabilities);
      if (wanted.registers) inventory_.registers.resize(inventory_.functions.size());
      if (folder.IsListed()) LeaveOut(folder, error);  // else it was pulled out meanwhile
    }
  }

  void LeaveOut(SysfsFunction& folder, const Error& error) {
    const std::optional<std::string> leads_nowhere = folder.ReasonWithoutFiles();
    if (leads_nowhere) ++functions_without_files_;
    inventory_.LeaveOut(FormatAddress(folder.address()), leads_nowhere.value_or(error.what()));
  }

  // The running kernel may have a bus without functions. A copy of one was made by mistake.
  void RequireAny() const {
    const std::size_t troubles = inventory_.troubles.size();
    if (inventory_.from_running_kernel && troubles == 0) return;
    if (inventory_.functions.empty() && troubles > 0 && functions_without_files_ == troubles) {
      throw Error("The links in " + place_.devices +
                  " lead nowhere: they were copied without what they lead to. This copies both: " +
                  kCopyCommand);
    }
    RequireFunctions(inventory_, "no PCI function is in " + place_.devices);
  }

  Function ReadFunction(SysfsFunction& folder) {
    Function function;
    function.address = folder.address();
    function.parent = ParentOf(folder);
    const bool subsystem_is_known = ReadIdentity(folder, function);
    const File config = folder.Open("config");
    ConfigSpace registers(config.descriptor(), FetchOf(folder));
    registers.Describe(function, inventory_.capabilities);
    if (!registers.Answer()) {
      ReadOtherAttributes(folder, function);
    } else if (!subsystem_is_known) {
      registers.FindSubsystem(function, inventory_.ChainOf(function));
    }
    if (registers.HideIds()) function.physical_function = PlaceOf(folder.FindPhysicalFunction());
    return function;
  }

  static std::string ReadRegisters(SysfsFunction& folder) {
    constexpr std::size_t kExtendedSize = 4096;  // PCI Express Base, 7.2.2
    std::string registers(kExtendedSize, '\0');
    const File config = folder.Open("config");
    const ssize_t got =
        config.is_open() ? pread(config.descriptor(), registers.data(), registers.size(), 0) : 0;
    registers.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return registers;
  }

  // The running kernel wakes a sleeping device for each reading of its registers, and lets it go
  // back to sleep: one reading is to be all.
  ConfigSpace::Fetch FetchOf(SysfsFunction& folder) const {
    if (!devices_.is_kernels()) return ConfigSpace::Fetch::kAtOnce;
    const bool sleeps = folder.ReadLine("power_state") == "D3cold";
    return sleeps ? ConfigSpace::Fetch::kAtOnce : ConfigSpace::Fetch::kAsWanted;
  }

  std::uint32_t PlaceOf(const std::optional<Address>& address) const {
    return address ? FindFunction(inventory_.functions, *address) : kNone;
  }

  // Functions come in the order of their addresses: a parent, on a lower bus, is already there.
  std::uint32_t ParentOf(SysfsFunction& folder) const {
    const Upstream upstream = folder.FindUpstream();
    if (upstream.kind == Upstream::Kind::kRootBus) return kNone;
    const bool possible = upstream.kind == Upstream::Kind::kFunction &&
                          upstream.function.domain == folder.address().domain &&
                          upstream.function.bus < folder.address().bus;
    const std::uint32_t place = possible ? PlaceOf(upstream.function) : kNone;
    return place == kNone ? kUnknownParent : place;
  }

  // A tree need not have slots.
  void ReadSlots() {
    const SysfsFolder slots(place_.slots);
    if (!slots.is_open() && errno != ENOENT) {
      inventory_.slots_notice = "Cannot open " + place_.slots + ": " + SystemReason(errno);
    }
    if (!slots.is_open()) return;
    std::array<char, 64> buffer;
    for (const std::string& label : slots.Names()) {
      try {
        const auto text = slots.ReadLine((label + "/address").c_str(), buffer);
        if (text) AddSlot(label, *text);
      } catch (const Error&) {
        continue;  // something else than an address: a slot that holds nothing
      }
    }
  }

  // The address is that of a device, "0000:01:00", or of the bus alone until one is put in.
  void AddSlot(const std::string& label, std::string_view address) {
    const std::string device(address);
    std::optional<Address> place = ParseAddress(device + ".0");
    const bool is_empty = !place;
    if (is_empty) place = ParseAddress(device + ":00.0");
    if (!place) return;
    inventory_.slots.push_back({.name = label,
                                .domain = place->domain,
                                .bus = place->bus,
                                .device = is_empty ? Slot::kNoDevice : place->device,
                                .number = SlotNumber(label)});
  }

  SysfsFolder devices_;
  Place place_;
  std::size_t functions_without_files_ = 0;
  Inventory inventory_;
};

}  // namespace

Inventory ReadSysfs(const std::string& path, const Wanted& wanted) {
  return Reading(FindPlace(path)).Take(wanted);
}

}  // namespace pci
