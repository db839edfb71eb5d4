// Our answers held against lspci's, on hosts of all shapes: recorded ones, ones that are written
// down as facts, all small hierarchies and larger ones by chance, each as a dump and as a copy of
// sysfs. What lspci says of the functions goes into the model of the providers, which tells what
// the ten classes must answer then; `tree -o json` must draw what `lspci -t` draws.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "broker/result_sink.h"
#include "cim/schema.h"
#include "pci/hosts.h"
#include "pci/written_sources.h"
#include "support/compact_host.h"
#include "support/hierarchies.h"
#include "support/lspci.h"
#include "support/naive_providers.h"
#include "support/sanitizers.h"
#include "support/temp_folder.h"
#include "tool/host_source.h"
#include "tool/session.h"
#include "tool/topology_render.h"
#include "tool/topology_walk.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

using Json = nlohmann::json;

constexpr const char* kSystem = "lab7";
constexpr const char* kClasses[] = {
    "Ostrel_PCIDevice",           "Ostrel_PCIBridge",
    "Ostrel_PCIeSwitch",          "Ostrel_PCIPort",
    "Ostrel_PCIPortGroup",        "Ostrel_PCISystemDevice",
    "Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy",
    "Ostrel_PCIHostedCollection", "Ostrel_PCIMemberOfCollection",
};

unsigned Hex(const std::string& digits) {
  return static_cast<unsigned>(std::strtoul(digits.c_str(), nullptr, 16));
}

std::string BusOf(const std::string& address) { return address.substr(0, address.rfind(':')); }

std::string SecondaryOf(const lspci::Function& bridge) {
  char bus[16];
  std::snprintf(bus, sizeof bus, "%02x", bridge.secondary_bus);
  return bridge.address.substr(0, bridge.address.find(':') + 1) + bus;
}

// One host as lspci tells it.
struct Told {
  std::vector<lspci::Function> functions;
  lspci::Tree tree;
  std::map<std::string, std::string> slots;        // label by address of the function in it
  std::map<std::string, std::string> empty_slots;  // label by address of the bridge above
};

Told Ask(const std::string& source) {
  Told told;
  told.functions = lspci::Functions(source);
  told.tree = lspci::Draw(source, told.functions);
  return told;
}

// The number of a slot of this name: -1 where it is no decimal number, but for what the kernel puts
// behind it to tell two of one name apart.
int SlotNumber(const std::string& label) {
  const std::string digits = label.substr(0, label.find('-'));
  const bool is_number = digits.find_first_not_of("0123456789") == std::string::npos;
  if (!is_number || (digits[0] == '0' && digits != "0")) return -1;
  return static_cast<int>(std::strtol(digits.c_str(), nullptr, 10));
}

// Of a dump lspci tells the slot of the port above, for a device whose only place is there.
Told TellOfDump(const std::string& file) {
  const std::string source = lspci::OfDump(file);
  Told told = Ask(source);
  for (const lspci::Function& port : told.functions) {
    if (!port.slot_number || port.secondary_bus == 0) continue;
    const std::string device = SecondaryOf(port) + ":00.";
    bool is_empty = true;
    for (const lspci::Function& function : told.functions) {
      if (!function.address.starts_with(device)) continue;
      told.slots[function.address] = std::to_string(*port.slot_number);
      is_empty = false;
    }
    if (is_empty) told.empty_slots[port.address] = std::to_string(*port.slot_number);
  }
  return told;
}

// lspci does not tell empty slots; the kernel's folder does.
Told TellOfSysfs(const std::string& bus, const std::string& source) {
  Told told = Ask(source);
  std::set<std::string> occupied;
  for (const lspci::Function& function : told.functions) {
    if (function.slot_label.empty()) continue;
    told.slots[function.address] = function.slot_label;
    occupied.insert(function.slot_label);
  }
  std::multimap<std::string, std::string> labels;  // by bus
  std::error_code without_slots;
  for (const auto& slot : fs::directory_iterator(bus + "/slots", without_slots)) {
    std::string address;
    std::ifstream(slot.path() / "address") >> address;
    const bool has_device = std::count(address.begin(), address.end(), ':') == 2;
    labels.emplace(has_device ? BusOf(address) : address, slot.path().filename());
  }
  for (const lspci::Function& bridge : told.functions) {
    const auto label = labels.find(SecondaryOf(bridge));
    if (bridge.secondary_bus == 0 || labels.count(SecondaryOf(bridge)) != 1) continue;
    if (!occupied.contains(label->second)) told.empty_slots[bridge.address] = label->second;
  }
  return told;
}

// ---- The ten classes.

fake::Device DeviceOf(const lspci::Function& function, const Told& told) {
  fake::Device device = fake::Named(function.address);
  const std::string& address = function.address;
  const std::size_t device_at = address.rfind(':') + 1;
  device.Segment(static_cast<int>(Hex(address)))
      .At(static_cast<int>(Hex(address.substr(device_at - 3))),
          static_cast<int>(Hex(address.substr(device_at))), address.back() - '0')
      .Ids(static_cast<int>(function.vendor), static_cast<int>(function.device))
      .SubsystemIds(static_cast<int>(function.subsystem_vendor),
                    static_cast<int>(function.subsystem))
      .VendorName(function.vendor_name)
      .DeviceName(function.device_name)
      .ClassCode(static_cast<int>(function.class_code))
      .Revision(static_cast<int>(function.revision))
      .Secondary(static_cast<int>(function.secondary_bus))
      .Capabilities(function.capability_codes)
      .PcieType(function.pcie_type);
  if (function.pcie_type >= 0) device.Capability(0x10);
  if (function.pci_x) device.Capability(0x07);
  if (!function.parent.empty()) device.Parent(function.parent);
  const auto slot = told.slots.find(address);
  if (slot != told.slots.end()) device.Slot(SlotNumber(slot->second));
  return device;
}

// Of two long answers the first difference will do.
void ExpectSameLines(const std::vector<std::string>& expected,
                     const std::vector<std::string>& actual) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(actual[i], expected[i]);
}

void ExpectSameClasses(tool::Session& session, const Told& told) {
  fake::Host host;
  host.SystemName(kSystem);
  for (const lspci::Function& function : told.functions) host.Add(DeviceOf(function, told));
  naive::Providers model(host, {kSystem});
  for (const char* name : kClasses) {
    naive::Request request{name, naive::Operation::kEnumInstances, {}, {}, {}};
    request.path.name_space = naive::kNameSpace;
    request.path.class_name = name;
    naive::Answer expected = model.Ask(request), actual;
    expected.log.clear();
    broker::Recorder recorder;
    session.Enumerate(*cim::schema::FindClass(name), std::nullopt, recorder);
    for (cim::Instance& instance : recorder.instances) {
      actual.events.emplace_back(std::move(instance));
    }
    actual.events.emplace_back(naive::Done{});
    ExpectSameLines(naive::Describe(expected), naive::Describe(actual));
  }
}

// ---- The tree.

struct Placed {
  std::string parent;
  std::string buses;  // "01-04"; "" of what is no bridge
  std::string kind;
  std::string name;
  std::string slot, empty_slot;
  int physical_slot = -1;

  bool operator==(const Placed&) const = default;
};

void PrintTo(const Placed& placed, std::ostream* out) {
  *out << placed.kind << ' ' << placed.name << " below \"" << placed.parent << "\", buses "
       << placed.buses << ", slot \"" << placed.slot << "\" (" << placed.physical_slot
       << "), empty slot \"" << placed.empty_slot << '"';
}

using Placement = std::map<std::string, Placed>;  // by address

std::string KindOf(const lspci::Function& function) {
  if (function.pcie_type == 5) return "switch";
  if (function.pcie_type == 6) return "downstreamPort";
  return function.class_code >> 8 == 6 ? "bridge" : "device";
}

// `lspci -PP` and `lspci -t` agree on where a function hangs.
Placement PlacementTold(const Told& told) {
  Placement all;
  const auto at = [](const std::map<std::string, std::string>& texts, const std::string& key) {
    const auto found = texts.find(key);
    return found == texts.end() ? "" : found->second;
  };
  EXPECT_EQ(told.tree.functions.size(), told.functions.size()) << "functions that lspci -t draws";
  for (const lspci::Function& function : told.functions) {
    const auto found = told.tree.functions.find(function.address);
    if (found == told.tree.functions.end()) {
      ADD_FAILURE() << "lspci -t does not draw " << function.address;
      continue;
    }
    const lspci::Drawn& drawn = found->second;
    EXPECT_EQ(drawn.parent, function.parent) << function.address;
    const std::string slot = at(told.slots, function.address);
    const int number = slot.empty() ? -1 : SlotNumber(slot);
    all[function.address] = {function.parent,
                             drawn.buses,
                             KindOf(function),
                             function.vendor_name + ' ' + function.device_name,
                             slot,
                             at(told.empty_slots, function.address),
                             number < 0 ? -1 : number % 256};
  }
  return all;
}

std::string RangeOf(const Json& function) {
  if (!function.contains("secondaryBus")) return "";
  char range[16];
  std::snprintf(range, sizeof range, "%02x-%02x", function["secondaryBus"].get<unsigned>(),
                function["subordinateBus"].get<unsigned>());
  return range;
}

void Collect(const Json& functions, const std::string& parent, Placement& all) {
  for (const Json& function : functions) {
    const std::string id = function["id"];
    const Placed placed = {parent,
                           RangeOf(function),
                           function["kind"],
                           function["name"],
                           function.value("slot", ""),
                           function.value("emptySlot", ""),
                           function.value("physicalSlot", -1)};
    EXPECT_TRUE(all.emplace(id, placed).second) << id << " stands twice";
    Collect(function["children"], id, all);
  }
}

void ExpectSameTree(tool::Session& session, const Told& told) {
  std::ostringstream text;
  tool::RenderJson(tool::WalkTopology(session, {}), {}, text);
  const Json tree = Json::parse(text.str());
  Placement all;
  std::set<std::string> roots;
  for (const Json& root : tree["rootBuses"]) {
    roots.insert(root["id"]);
    Collect(root["functions"], "", all);
  }
  const Placement expected = PlacementTold(told);
  std::set<std::string> roots_told;
  for (const auto& [address, placed] : expected) {
    if (placed.parent.empty()) roots_told.insert(BusOf(address));
    ASSERT_TRUE(all.contains(address)) << address << " is not drawn";
    EXPECT_EQ(all[address], placed) << address;
  }
  EXPECT_EQ(all.size(), expected.size());
  EXPECT_EQ(roots, roots_told);
}

void ExpectSame(const tool::HostSource& source, const Told& told) {
  EXPECT_GT(told.functions.size(), 0U);
  tool::SelectHost(source);
  tool::Session session({PROVIDER_LIBRARY, kSystem});
  EXPECT_FALSE(session.incomplete());
  ExpectSameTree(session, told);
  ExpectSameClasses(session, told);
}

// ---- Hosts.

void CompareDump(const std::string& file) {
  SCOPED_TRACE(file);
  ExpectSame({.dump = file, .system_name = kSystem}, TellOfDump(file));
}

void CompareSysfs(const std::string& bus) {
  SCOPED_TRACE(bus);
  ExpectSame({.sysfs = bus, .system_name = kSystem}, TellOfSysfs(bus, lspci::OfSysfs(bus)));
}

// Of a virtual function lspci takes the ids from its registers, which have none. Its line in the
// dump has them.
void AddIdsOfVirtualFunctions(const Told& sysfs, Told& dump) {
  for (std::size_t i = 0; i < dump.functions.size(); ++i) {
    lspci::Function& function = dump.functions[i];
    const lspci::Function& known = sysfs.functions.at(i);
    if (function.vendor != 0xffff) continue;
    function.vendor = known.vendor;
    function.device = known.device;
    function.vendor_name = known.vendor_name;
    function.device_name = known.device_name;
  }
}

void CompareBoth(const compact_host::Host& host) {
  const TempFolder folder;
  host.WriteSysfs(folder.path());
  const std::string bus = folder.path() / "bus/pci";
  const std::string file = folder.Write("dump", host.Dump());
  const Told sysfs = TellOfSysfs(bus, lspci::OfSysfs(bus));
  Told dump = TellOfDump(file);
  ASSERT_EQ(sysfs.functions.size(), host.functions().size());
  ASSERT_EQ(dump.functions.size(), host.functions().size());
  AddIdsOfVirtualFunctions(sysfs, dump);
  {
    SCOPED_TRACE("sysfs");
    ExpectSame({.sysfs = bus, .system_name = kSystem}, sysfs);
  }
  SCOPED_TRACE("dump");
  ExpectSame({.dump = file, .system_name = kSystem}, dump);
}

TEST(LspciComparison, OfTheRunningHost) {
  const std::string bus = "/sys/bus/pci";
  std::error_code error;
  if (fs::is_empty(bus + "/devices", error) || error) {
    GTEST_SKIP() << "this machine has no PCI bus: nothing to compare";
  }
  ExpectSame({.sysfs = bus, .system_name = kSystem}, TellOfSysfs(bus, lspci::kThisHost));
}

TEST(LspciComparison, OfRecordedHosts) {
  for (const char* host : {"guest-sriov", "guest-switches"}) {
    CompareSysfs(pci_test::RecordedSysfs(host));
    CompareDump(pci_test::RecordedDump(host));
  }
}

TEST(LspciComparison, OfHostsWrittenDown) {
  std::size_t hosts = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(HOSTS_FOLDER)) {
    if (entry.path().extension() != ".host") continue;
    SCOPED_TRACE(entry.path());
    CompareBoth(compact_host::Host::ReadFile(entry.path()));
    ++hosts;
  }
  EXPECT_GT(hosts, 7U);
}

TEST(LspciComparison, OfEverySmallHierarchy) {
  for (const compact_host::Host& host : compact_host::SmallHierarchies(kSanitized ? 3 : 4, 400)) {
    CompareBoth(host);
    ASSERT_FALSE(HasFailure()) << host.Text();
  }
}

TEST(LspciComparison, OfRandomHosts) {
  for (unsigned seed = 0; seed < (kSanitized ? 3 : 24); ++seed) {
    SCOPED_TRACE(seed);
    const compact_host::Host host = compact_host::RandomHost(seed);
    CompareBoth(host);
    ASSERT_FALSE(HasFailure()) << host.Text();
  }
}

// What the other hosts lack: unknown makers, subsystems of CardBus and other bridges, domains of 32
// bits, rarer capabilities.
TEST(LspciComparison, OfFunctionsOfRarerKinds) {
  using pci_test::Function;
  const TempFolder folder;
  CompareDump(folder.Write(
      "dump", pci_test::DumpOf({
                  Function("0000:00:00.0")
                      .Ids(0xfff0, 0x1234)
                      .Set(0x06, {0xf0, 0x02})  // 66 MHz, UDF, fast back-to-back
                      .Capability(0x34, 0x40, 0x02, {0x30, 0})
                      .Capability(0x41, 0x50, 0x03)
                      .Capability(0x51, 0x60, 0x06)
                      .Capability(0x61, 0x70, 0x07),
                  Function("0000:00:01.0")
                      .Ids(0x104c, 0xac8f)
                      .Set(0x0a, {0x07, 0x06, 0, 0, 2})
                      .Set(0x18, {0x00, 0x05, 0x08})
                      .Set(0x40, {0xf4, 0x1a, 0x00, 0x11})
                      .Capability(0x14, 0xa0, 0x01, {2, 0}),
                  Function("0000:00:02.0")
                      .Ids(0x8086, 0xffee)
                      .Bridge(9, 0x0a)
                      .Capability(0x34, 0x50, 0x0d, {0, 0, 0x86, 0x80, 0x34, 0x12}),
                  Function("10000:e0:06.7").Ids(0x1af4, 0x1041).Set(0x2c, {0xff, 0xff, 0xff, 0xff}),
              })));
}

}  // namespace
}  // namespace e2e
