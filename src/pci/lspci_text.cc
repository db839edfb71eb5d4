#include "pci/lspci_text.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace pci {
namespace {

// What stands behind the label at the start of the text.
std::optional<std::string_view> Behind(std::string_view label, std::string_view text) {
  if (!text.starts_with(label)) return std::nullopt;
  return text.substr(label.size());
}

template <typename Number>
std::optional<Number> WholeNumber(std::string_view text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// "NUMA node: 1" is a line of -vv, "NUMA node 1" stands among the flags of -v.
void TakeNumbers(std::string_view text, std::string_view separator, Detail& detail) {
  if (const auto node = Behind("NUMA node" + std::string(separator), text)) {
    detail.numa_node = WholeNumber<std::int32_t>(*node).value_or(-1);
  }
  if (const auto group = Behind("IOMMU group" + std::string(separator), text)) {
    detail.iommu_group = WholeNumber<std::uint32_t>(*group);
  }
}

}  // namespace

void LspciText::Take(std::string_view line) {
  const std::string_view text = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
  if (const auto driver = Behind("Kernel driver in use: ", text)) detail.driver = *driver;
  if (const auto label = Behind("Physical Slot: ", text)) slot = *label;
  TakeNumbers(text, ": ", detail);
  auto flags = Behind("Flags: ", text);
  while (flags && !flags->empty()) {
    const std::size_t comma = std::min(flags->find(", "), flags->size());
    TakeNumbers(flags->substr(0, comma), " ", detail);
    flags->remove_prefix(std::min(comma + 2, flags->size()));
  }
}

}  // namespace pci
