#include "tool/inventory/column.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

#include "cim/text.h"
#include "tool/errors.h"
#include "tool/inventory/function_text.h"
#include "tool/near_names.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

const pci::Function& FunctionAt(const DescribedHost& described, std::uint32_t function) {
  return described.host.functions()[function];
}

const pci::Detail& DetailAt(const DescribedHost& described, std::uint32_t function) {
  return described.host.DetailOf(FunctionAt(described, function));
}

CellValue TextOrNothing(std::string text) {
  if (text.empty()) return {};
  return text;
}

CellValue AddressAt(const DescribedHost& described, std::uint32_t place) {
  if (place == pci::kNone) return {};
  return FormatAddress(FunctionAt(described, place).address);
}

CellValue BusesText(const DescribedHost& described, std::uint32_t place) {
  const auto [secondary, subordinate] = FunctionAt(described, place).buses;
  if (secondary == 0 && subordinate == 0) return {};
  if (secondary == subordinate) return fmt::format("{:02x}", secondary);
  return fmt::format("{:02x}-{:02x}", secondary, subordinate);
}

CellValue SubsystemText(const DescribedHost& described, std::uint32_t place) {
  const pci::Ids& ids = FunctionAt(described, place).ids;
  if (ids.subsystem_vendor == 0 && ids.subsystem == 0) return {};
  return IdsText(ids.subsystem_vendor, ids.subsystem);
}

// Where a link is degraded, what both of its ends can. Virtual functions do not tell of their link.
CellValue DegradedFrom(const DescribedHost& described, std::uint32_t place) {
  const HostLink* link = described.links.Above(place);
  if (link == nullptr || link->state != HostLink::State::kDegraded) return {};
  if (RateText(FunctionAt(described, place).link.now).empty()) return {};
  return RateText(link->possible);
}

CellValue NumaNode(const DescribedHost& described, std::uint32_t place) {
  const std::int32_t node = DetailAt(described, place).numa_node;
  if (node < 0) return {};
  return static_cast<std::uint64_t>(node);
}

CellValue IommuGroup(const DescribedHost& described, std::uint32_t place) {
  const auto group = DetailAt(described, place).iommu_group;
  if (!group) return {};
  return std::uint64_t{*group};
}

CellValue SystemDevices(const DescribedHost& described, std::uint32_t place) {
  const std::vector<std::string>& devices = DetailAt(described, place).system_devices;
  if (devices.empty()) return {};
  return devices;
}

CellValue EmptySlot(const DescribedHost& described, std::uint32_t place) {
  const pci::Host& host = described.host;
  const std::uint32_t below = FunctionAt(described, place).slot_below;
  if (below == pci::kNone) return {};
  const bool occupied = std::any_of(host.functions().begin(), host.functions().end(),
                                    [&](const auto& function) { return function.slot == below; });
  if (occupied) return {};
  return host.slots()[below].name;
}

constexpr pci::WantedDetails kDriver{true, false, false, false};
constexpr pci::WantedDetails kNumaNode{false, true, false, false};
constexpr pci::WantedDetails kIommuGroup{false, false, true, false};
constexpr pci::WantedDetails kSystemDevices{false, false, false, true};

constexpr std::array kColumns = {
    FunctionColumn{.name = "ADDRESS",
                   .description = "domain, bus, device and function number",
                   .usual = true,
                   .value = AddressAt},
    FunctionColumn{.name = "IDS",
                   .description = "vendor and device id",
                   .usual = true,
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     const pci::Ids& ids = FunctionAt(described, place).ids;
                     return IdsText(ids.vendor, ids.device);
                   }},
    FunctionColumn{
        .name = "SUBSYSTEM", .description = "the subsystem's ids", .value = SubsystemText},
    FunctionColumn{.name = "CODE",
                   .description = "class and subclass as a code",
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return fmt::format("{:04x}", FunctionAt(described, place).class_code);
                   }},
    FunctionColumn{.name = "CLASS",
                   .description = "the class's name",
                   .usual = true,
                   .identifies = false,
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return ClassText(FunctionAt(described, place));
                   }},
    FunctionColumn{.name = "REV",
                   .description = "revision",
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return fmt::format("{:02x}", FunctionAt(described, place).revision);
                   }},
    FunctionColumn{.name = "KIND",
                   .description = "device, bridge, root port, switch, downstream port, ...",
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return KindText(FunctionAt(described, place));
                   }},
    FunctionColumn{.name = "VENDOR",
                   .description = "the vendor's name",
                   .identifies = false,
                   .is_name = true,
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return described.host.VendorName(FunctionAt(described, place));
                   }},
    FunctionColumn{.name = "DEVICE",
                   .description = "the device's name",
                   .identifies = false,
                   .is_name = true,
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return described.host.DeviceName(FunctionAt(described, place));
                   }},
    FunctionColumn{.name = "NAME",
                   .description = "both names",
                   .usual = true,
                   .identifies = false,
                   .is_name = true,
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return NameText(described.host, FunctionAt(described, place));
                   }},
    FunctionColumn{.name = "PARENT",
                   .description = "address of the bridge or port above",
                   .value =
                       [](const DescribedHost& described, std::uint32_t place) {
                         return AddressAt(described, FunctionAt(described, place).parent);
                       }},
    FunctionColumn{.name = "PATH",
                   .description = "the way down from the root bus, without bus numbers on it",
                   .value = [](const DescribedHost& described, std::uint32_t place) -> CellValue {
                     return PathText(described.host, FunctionAt(described, place));
                   }},
    FunctionColumn{.name = "BUSES", .description = "the buses below a bridge", .value = BusesText},
    FunctionColumn{.name = "PHYSFN",
                   .description = "of a virtual function, the physical one",
                   .value =
                       [](const DescribedHost& described, std::uint32_t place) {
                         return AddressAt(described,
                                          FunctionAt(described, place).physical_function);
                       }},
    FunctionColumn{.name = "SLOT",
                   .description = "name of the slot that it sits in",
                   .usual = true,
                   .value =
                       [](const DescribedHost& described, std::uint32_t place) {
                         return TextOrNothing(
                             SlotName(described.host, FunctionAt(described, place)));
                       }},
    FunctionColumn{
        .name = "EMPTY", .description = "name of the empty slot below", .value = EmptySlot},
    FunctionColumn{.name = "DRIVER",
                   .description = "the kernel's driver",
                   .usual = true,
                   .details = kDriver,
                   .value =
                       [](const DescribedHost& described, std::uint32_t place) {
                         return TextOrNothing(DetailAt(described, place).driver);
                       }},
    FunctionColumn{.name = "DEV",
                   .description = "disks, network interfaces and other devices of the system",
                   .usual = true,
                   .details = kSystemDevices,
                   .value = SystemDevices},
    FunctionColumn{.name = "NUMA",
                   .description = "NUMA node",
                   .usual = true,
                   .details = kNumaNode,
                   .value = NumaNode},
    FunctionColumn{.name = "IOMMU",
                   .description = "IOMMU group",
                   .usual = true,
                   .details = kIommuGroup,
                   .value = IommuGroup},
    FunctionColumn{.name = "LINK",
                   .description = "at what its PCI Express link runs",
                   .usual = true,
                   .value =
                       [](const DescribedHost& described, std::uint32_t place) {
                         return TextOrNothing(RateText(FunctionAt(described, place).link.now));
                       }},
    FunctionColumn{.name = "MAXLINK",
                   .description = "what this end of the link can",
                   .value =
                       [](const DescribedHost& described, std::uint32_t place) {
                         return TextOrNothing(RateText(FunctionAt(described, place).link.possible));
                       }},
    FunctionColumn{.name = "BELOW",
                   .description = "of a degraded link, what both ends can",
                   .usual = true,
                   .value = DegradedFrom},
};

const FunctionColumn* FindColumn(std::string_view name) {
  const auto* found = std::find_if(
      kColumns.begin(), kColumns.end(),
      [&](const FunctionColumn& column) { return cim::EqualIgnoringCase(column.name, name); });
  return found == kColumns.end() ? nullptr : &*found;
}

const FunctionColumn& ColumnNamed(const std::string& name) {
  if (const FunctionColumn* column = FindColumn(name)) return *column;
  std::vector<std::string> names;
  names.reserve(kColumns.size());
  for (const FunctionColumn& column : kColumns) names.emplace_back(column.name);
  throw UsageError(fmt::format("there is no column \"{}\"{}", name, DidYouMean(name, names)));
}

std::vector<const FunctionColumn*> UsualColumnsOfList() {
  std::vector<const FunctionColumn*> columns;
  for (const FunctionColumn& column : kColumns) {
    if (column.usual) columns.push_back(&column);
  }
  return columns;
}

}  // namespace

std::span<const FunctionColumn> AllColumns() { return kColumns; }

std::vector<const FunctionColumn*> ChooseColumns(const std::vector<std::string>& names) {
  std::vector<const FunctionColumn*> columns;
  for (const std::string& name : names) {
    const bool added = name.starts_with('+');
    if (added && columns.empty()) columns = UsualColumnsOfList();
    columns.push_back(&ColumnNamed(added ? name.substr(1) : name));
  }
  return columns.empty() ? UsualColumnsOfList() : columns;
}

pci::Host::Wanted WantedFor(const std::vector<const FunctionColumn*>& columns) {
  pci::Host::Wanted wanted{.names = false};
  for (const FunctionColumn* column : columns) {
    wanted.names = wanted.names || column->is_name;
    wanted.details.driver |= column->details.driver;
    wanted.details.numa_node |= column->details.numa_node;
    wanted.details.iommu_group |= column->details.iommu_group;
    wanted.details.system_devices |= column->details.system_devices;
  }
  return wanted;
}

std::string CellText(const CellValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return PrintableUtf8(*text);
  if (const auto* number = std::get_if<std::uint64_t>(&value)) return std::to_string(*number);
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value)) {
    return PrintableUtf8(fmt::format("{}", fmt::join(*texts, ",")));
  }
  return "";
}

void WriteCell(const CellValue& value, JsonText& json) {
  if (const auto* text = std::get_if<std::string>(&value)) return json.Text(*text);
  if (const auto* number = std::get_if<std::uint64_t>(&value)) return json.Number(*number);
  const auto* texts = std::get_if<std::vector<std::string>>(&value);
  if (texts == nullptr) return json.Null();
  json.BeginArray();
  for (const std::string& text : *texts) json.Text(text);
  json.EndArray();
}

}  // namespace tool
