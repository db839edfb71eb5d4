#include "pci/kernel_identity.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "pci/error.h"

namespace pci {
namespace {

// Hexadecimal digits up to the end of the text.
std::optional<std::uint32_t> ParseNumber(std::string_view digits, std::uint32_t largest) {
  const auto value = ParseHex(digits, digits.size());
  return value && *value <= largest ? value : std::nullopt;
}

// Takes `prefix` and then `digits` digits off the text; nothing where they are not there.
std::optional<std::uint32_t> TakeField(std::string_view& text, std::string_view prefix,
                                       std::size_t digits, std::uint32_t largest) {
  if (!text.starts_with(prefix)) return std::nullopt;
  text.remove_prefix(prefix.size());
  const std::string_view field = text.substr(0, digits);
  text.remove_prefix(field.size());
  return field.size() == digits ? ParseNumber(field, largest) : std::nullopt;
}

// The line "KEY=value" without its key; empty where there is none.
std::string_view ValueOf(std::string_view text, std::string_view key) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (line.starts_with(key)) return line.substr(key.size());
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return {};
}

struct IdPair {
  std::uint16_t vendor;
  std::uint16_t device;
};

// "1AF4:1041"
std::optional<IdPair> ParsePair(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto vendor = ParseNumber(text.substr(0, colon), 0xffff);
  const auto device = ParseNumber(text.substr(colon + 1), 0xffff);
  if (!vendor || !device) return std::nullopt;
  return IdPair{static_cast<std::uint16_t>(*vendor), static_cast<std::uint16_t>(*device)};
}

void SetClass(std::uint32_t code, Function& function) {
  function.class_code = static_cast<std::uint16_t>(code >> 8);
  function.programming_interface = static_cast<std::uint8_t>(code);
}

void SetIds(std::uint32_t vendor, std::uint32_t device, Function& function) {
  function.ids.vendor = static_cast<std::uint16_t>(vendor);
  function.ids.device = static_cast<std::uint16_t>(device);
}

void SetSubsystem(std::uint32_t vendor, std::uint32_t device, Function& function) {
  if (vendor == 0xffff) return;  // registers that could not be read
  function.ids.subsystem_vendor = static_cast<std::uint16_t>(vendor);
  function.ids.subsystem = static_cast<std::uint16_t>(device);
}

// The number that an attribute has, such as 0x1af4; nothing where it cannot be read, is none or is
// larger than any can be, and errno says why.
std::optional<std::uint32_t> FindNumber(SysfsFunction& folder, const char* name,
                                        std::uint32_t largest) {
  const auto text = folder.ReadLine(name);
  if (!text) return std::nullopt;
  errno = EINVAL;
  return text->starts_with("0x") ? ParseNumber(text->substr(2), largest) : std::nullopt;
}

std::uint32_t ReadNumber(SysfsFunction& folder, const char* name, std::uint32_t largest) {
  if (const auto number = FindNumber(folder, name, largest)) return *number;
  throw Error("Cannot read " + folder.FullPathOf(name) + ": " + SystemReason(errno));
}

// The functions that follow set ids, class and programming interface; false, with nothing set,
// where the text is none of its kind.

// "modalias": pci:v00001AF4d00001041sv00001AF4sd00001041bc02sc00i00
bool TakeModalias(std::string_view text, Function& function) {
  const auto vendor = TakeField(text, "pci:v", 8, 0xffff);
  const auto device = TakeField(text, "d", 8, 0xffff);
  const auto subsystem_vendor = TakeField(text, "sv", 8, 0xffff);
  const auto subsystem = TakeField(text, "sd", 8, 0xffff);
  const auto base_class = TakeField(text, "bc", 2, 0xff);
  const auto subclass = TakeField(text, "sc", 2, 0xff);
  const auto interface = TakeField(text, "i", 2, 0xff);
  if (!vendor || !device || !subsystem_vendor || !subsystem) return false;
  if (!base_class || !subclass || !interface) return false;
  SetIds(*vendor, *device, function);
  SetSubsystem(*subsystem_vendor, *subsystem, function);
  SetClass(*base_class << 16 | *subclass << 8 | *interface, function);
  return true;
}

// "uevent": lines such as PCI_CLASS=20000, PCI_ID=1AF4:1041 and PCI_SUBSYS_ID=1AF4:1041
bool TakeUevent(std::string_view text, Function& function) {
  const auto code = ParseNumber(ValueOf(text, "PCI_CLASS="), 0xffffff);
  const auto ids = ParsePair(ValueOf(text, "PCI_ID="));
  const auto subsystem = ParsePair(ValueOf(text, "PCI_SUBSYS_ID="));
  if (!code || !ids || !subsystem) return false;
  SetIds(ids->vendor, ids->device, function);
  SetSubsystem(subsystem->vendor, subsystem->device, function);
  SetClass(*code, function);
  return true;
}

}  // namespace

bool ReadIdentity(SysfsFunction& folder, Function& function) {
  // "modalias" first: "uevent" is long, and its reader may wait where a driver is being bound.
  const auto modalias = folder.ReadLine("modalias");
  if (modalias && TakeModalias(*modalias, function)) return true;
  const auto uevent = folder.Read("uevent");
  if (uevent && TakeUevent(*uevent, function)) return true;
  const std::uint32_t vendor = ReadNumber(folder, "vendor", 0xffff);
  SetIds(vendor, ReadNumber(folder, "device", 0xffff), function);
  SetClass(ReadNumber(folder, "class", 0xffffff), function);
  return false;
}

void ReadOtherAttributes(SysfsFunction& folder, Function& function) {
  function.revision = static_cast<std::uint8_t>(FindNumber(folder, "revision", 0xff).value_or(0));
  const auto vendor = FindNumber(folder, "subsystem_vendor", 0xffff);
  const auto device = FindNumber(folder, "subsystem_device", 0xffff);
  if (vendor && device) SetSubsystem(*vendor, *device, function);
}

}  // namespace pci
