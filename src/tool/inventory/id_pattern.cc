#include "tool/inventory/id_pattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "tool/errors.h"
#include "tool/inventory/place_pattern.h"

namespace tool {
namespace {

// Takes the text up to the next colon off its start, and the colon itself.
std::string_view TakePart(std::string_view& text) {
  const std::string_view part = text.substr(0, text.find(':'));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  return part;
}

void ParseClass(std::string_view text, IdPattern& pattern) {
  if (text.empty() || text == "*") return;
  std::string digits(text);
  std::string counting(text);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool any = text[i] == 'x' || text[i] == 'X';
    counting[i] = any ? '0' : 'f';
    if (any) digits[i] = '0';
  }
  const auto code = pci::ParseHex(digits, 4);
  if (!code) {
    throw UsageError(fmt::format(
        "\"{}\" is no class, which has four hexadecimal digits or x for any digit", text));
  }
  pattern.class_code = static_cast<std::uint16_t>(*code);
  pattern.class_digits = static_cast<std::uint16_t>(*pci::ParseHex(counting, 4));
}

}  // namespace

IdPattern IdPattern::Parse(std::string_view text) {
  const auto colons = std::count(text.begin(), text.end(), ':');
  if (colons < 1 || colons > 3) {
    throw UsageError(fmt::format("\"{}\" is no [vendor]:[device][:class[:interface]]", text));
  }
  IdPattern pattern;
  pattern.vendor = ParsePart(TakePart(text), 0xffff, "vendor id");
  pattern.device = ParsePart(TakePart(text), 0xffff, "device id");
  ParseClass(TakePart(text), pattern);
  pattern.programming_interface = ParsePart(TakePart(text), 0xff, "programming interface");
  return pattern;
}

bool IdPattern::Matches(const pci::Function& function) const {
  const auto is_any = [](const std::optional<std::uint32_t>& wanted, std::uint32_t number) {
    return !wanted || *wanted == number;
  };
  return is_any(vendor, function.ids.vendor) && is_any(device, function.ids.device) &&
         ((function.class_code ^ class_code) & class_digits) == 0 &&
         is_any(programming_interface, function.programming_interface);
}

}  // namespace tool
