#include "tool/inventory/class_pattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "pci/address.h"
#include "tool/errors.h"
#include "tool/inventory/function_text.h"
#include "tool/near_names.h"
#include "tool/pci_class.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

// What people say for words of class names.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kSayings = {
    {{"nvme", "nvm"}, {"gpu", "display"}, {"nic", "network"}}};

// Whether the words stand in the name from the start of one of its words on, to the end of one or
// to where they are cut short.
bool HasWords(std::string_view name, const std::string& words) {
  constexpr std::size_t kShortest = 3;
  const std::string lower = Lower(name);
  for (std::size_t at = lower.find(words); at != std::string::npos;
       at = lower.find(words, at + 1)) {
    const bool begins = at == 0 || lower[at - 1] == ' ';
    const std::size_t end = at + words.size();
    const bool ends = end == lower.size() || lower[end] == ' ';
    if (begins && (ends || words.size() >= kShortest)) return true;
  }
  return false;
}

bool IsCode(std::string_view text) {
  const bool whole = text.size() == 2 || text.size() == 4 || text.size() == 6;
  return whole && pci::ParseHex(text, text.size()).has_value();
}

// The single words of class names, for what may have been meant.
std::vector<std::string> KnownWords(const std::vector<std::string>& names) {
  std::vector<std::string> words;
  words.reserve(names.size());
  for (const std::string& name : names) {
    words.push_back(Lower(name.substr(0, name.find(' '))));
  }
  std::sort(words.begin(), words.end());
  words.erase(std::unique(words.begin(), words.end()), words.end());
  return words;
}

}  // namespace

ClassPattern ClassPattern::Parse(std::string_view text) {
  ClassPattern pattern;
  pattern.words_ = Lower(text);
  for (const auto& [said, meant] : kSayings) {
    if (pattern.words_ == said) pattern.words_ = meant;
  }
  const std::vector<std::string> names = PciClassNames();
  const auto known = [&](const std::string& name) { return HasWords(name, pattern.words_); };
  if (!text.empty() && std::any_of(names.begin(), names.end(), known)) return pattern;
  if (!IsCode(text)) {
    throw UsageError(fmt::format("\"{}\" is no class, neither a name nor a code{}", text,
                                 DidYouMean(text, KnownWords(names))));
  }
  pattern.digits_ = std::exchange(pattern.words_, "");
  return pattern;
}

bool ClassPattern::Matches(const pci::Function& function) const {
  if (words_.empty()) {
    const std::string code =
        fmt::format("{:04x}{:02x}", function.class_code, function.programming_interface);
    return code.starts_with(digits_);
  }
  const auto base_class = static_cast<std::uint8_t>(function.class_code >> 8);
  return HasWords(ClassText(function), words_) || HasWords(PciBaseClassName(base_class), words_);
}

}  // namespace tool
