#include "tool/pci_class.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tool {
namespace {

struct ClassName {
  unsigned code;
  std::string_view name;
};

constexpr std::string_view kBaseClasses[] = {
    "Unclassified device",
    "Mass storage controller",
    "Network controller",
    "Display controller",
    "Multimedia controller",
    "Memory controller",
    "Bridge",
    "Communication controller",
    "System peripheral",
    "Input device controller",
    "Docking station",
    "Processor",
    "Serial bus controller",
    "Wireless controller",
    "Intelligent controller",
    "Satellite controller",
    "Encryption controller",
    "Signal processing controller",
    "Processing accelerator",
    "Instrumentation",
};

// In ascending order of code.
constexpr ClassName kClasses[] = {
    {0x0001, "VGA compatible device"},
    {0x0100, "SCSI controller"},
    {0x0101, "IDE controller"},
    {0x0102, "Floppy controller"},
    {0x0104, "RAID controller"},
    {0x0105, "ATA controller"},
    {0x0106, "SATA controller"},
    {0x0107, "SAS controller"},
    {0x0108, "NVM controller"},
    {0x0109, "UFS controller"},
    {0x0200, "Ethernet controller"},
    {0x0201, "Token Ring controller"},
    {0x0202, "FDDI controller"},
    {0x0203, "ATM controller"},
    {0x0204, "ISDN controller"},
    {0x0207, "InfiniBand controller"},
    {0x0208, "Fabric controller"},
    {0x0300, "VGA controller"},
    {0x0301, "XGA controller"},
    {0x0302, "3D controller"},
    {0x0400, "Video device"},
    {0x0401, "Audio device"},
    {0x0402, "Telephony device"},
    {0x0403, "HD audio device"},
    {0x0500, "RAM memory"},
    {0x0501, "Flash memory"},
    {0x0502, "CXL memory"},
    {0x0600, "Host bridge"},
    {0x0601, "ISA bridge"},
    {0x0602, "EISA bridge"},
    {0x0603, "Micro Channel bridge"},
    {0x0604, "PCI bridge"},
    {0x0605, "PCMCIA bridge"},
    {0x0606, "NuBus bridge"},
    {0x0607, "CardBus bridge"},
    {0x0608, "RACEway bridge"},
    {0x0609, "Semi-transparent bridge"},
    {0x060a, "InfiniBand bridge"},
    {0x060b, "Advanced switching bridge"},
    {0x0700, "Serial controller"},
    {0x0701, "Parallel controller"},
    {0x0703, "Modem"},
    {0x0704, "GPIB controller"},
    {0x0705, "Smart card controller"},
    {0x0800, "Interrupt controller"},
    {0x0801, "DMA controller"},
    {0x0802, "Timer"},
    {0x0803, "Real-time clock"},
    {0x0804, "Hot-plug controller"},
    {0x0805, "SD host controller"},
    {0x0806, "IOMMU"},
    {0x0807, "Event collector"},
    {0x0900, "Keyboard controller"},
    {0x0902, "Mouse controller"},
    {0x0b40, "Coprocessor"},
    {0x0c00, "FireWire controller"},
    {0x0c03, "USB controller"},
    {0x0c04, "Fibre Channel"},
    {0x0c05, "SMBus controller"},
    {0x0c06, "InfiniBand controller"},
    {0x0c07, "IPMI interface"},
    {0x0c09, "CAN bus controller"},
    {0x0d10, "RF controller"},
    {0x0d11, "Bluetooth controller"},
    {0x0d20, "Wireless LAN (5 GHz)"},
    {0x0d21, "Wireless LAN (2.4 GHz)"},
};

}  // namespace

std::string PciClassName(std::uint8_t base_class, std::uint8_t subclass) {
  const unsigned code = base_class * 256U + subclass;
  const auto* found =
      std::lower_bound(std::begin(kClasses), std::end(kClasses), code,
                       [](const ClassName& entry, unsigned wanted) { return entry.code < wanted; });
  if (found != std::end(kClasses) && found->code == code) return std::string(found->name);
  const std::string base_name = PciBaseClassName(base_class);
  return base_name.empty() ? fmt::format("Class {:04x}", code) : base_name;
}

std::string PciBaseClassName(std::uint8_t base_class) {
  if (base_class == 0xff) return "Unassigned class";
  return base_class < std::size(kBaseClasses) ? std::string(kBaseClasses[base_class]) : "";
}

std::vector<std::string> PciClassNames() {
  std::vector<std::string> names(std::begin(kBaseClasses), std::end(kBaseClasses));
  names.emplace_back("Unassigned class");
  for (const ClassName& entry : kClasses) names.emplace_back(entry.name);
  return names;
}

}  // namespace tool
