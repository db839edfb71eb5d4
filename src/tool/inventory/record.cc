#include "tool/inventory/record.h"

#include <fmt/format.h>

#include <iterator>
#include <string>

#include "tool/errors.h"
#include "tool/inventory/function_text.h"
#include "tool/inventory/host_reading.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

void AppendLine(const char* label, const std::string& value, std::string& text) {
  if (!value.empty()) text.append("\t").append(label).append(PrintableUtf8(value)).append("\n");
}

// One line for every sixteen bytes, as -xxxx prints them.
void AppendRegisters(std::string_view registers, std::string& text) {
  constexpr std::size_t kBytesOfLine = 16;
  for (std::size_t i = 0; i < registers.size(); ++i) {
    if (i % kBytesOfLine == 0) fmt::format_to(std::back_inserter(text), "{:02x}:", i);
    fmt::format_to(std::back_inserter(text), " {:02x}", static_cast<unsigned char>(registers[i]));
    if ((i + 1) % kBytesOfLine == 0) text += '\n';
  }
}

// The lines that lspci -nnvvvxxxx has for what is not in the registers, or not all of it, and the
// registers.
std::string RecordOf(const pci::Host& host, const pci::Function& function) {
  const pci::Detail& detail = host.DetailOf(function);
  std::string text = PrintableUtf8(
      fmt::format("{} {} [{:04x}]: {} [{}] (rev {:02x})", FormatAddress(function.address),
                  ClassText(function), function.class_code, NameText(host, function),
                  IdsText(function.ids.vendor, function.ids.device), function.revision));
  text += '\n';
  AppendLine("Physical Slot: ", SlotName(host, function), text);
  AppendLine("NUMA node: ", detail.numa_node < 0 ? "" : std::to_string(detail.numa_node), text);
  AppendLine("IOMMU group: ", detail.iommu_group ? std::to_string(*detail.iommu_group) : "", text);
  AppendLine("Kernel driver in use: ", detail.driver, text);
  AppendRegisters(host.RegistersOf(function), text);
  return text + '\n';
}

}  // namespace

int RunRecord(std::ostream& out) {
  const HostReading reading = ReadHost(
      {.details = {.driver = true, .numa_node = true, .iommu_group = true}, .registers = true});
  for (const pci::Function& function : reading.host.functions()) {
    out << RecordOf(reading.host, function);
  }
  return reading.incomplete ? kExitFailed : kExitOk;
}

}  // namespace tool
