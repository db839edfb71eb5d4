#include "pci/dump_source.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "pci/config_space.h"
#include "pci/lspci_text.h"
#include "pci/parents.h"
#include "pci/slots.h"
#include "pci/text_lines.h"

namespace pci {
namespace {

constexpr std::uint32_t kExtendedConfigSize = 4096;  // PCI Express Base, 7.2.2
constexpr std::size_t kBytesOfLine = 16;             // that lspci prints

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

bool IsHex(std::string_view text) {
  return !text.empty() && text.find_first_not_of(kHexDigits) == std::string_view::npos;
}

// Takes the text up to `end` off its start, and `end` itself.
std::string_view TakeUntil(char end, std::string_view& text) {
  const std::string_view taken = text.substr(0, text.find(end));
  text.remove_prefix(std::min(taken.size() + 1, text.size()));
  return taken;
}

// ---------------------------------------------------------------------------------------------
// The line that begins a function

// The numbers that -n and -nn print: "0108: 1b36:0010", "NVMe [0108]: Red Hat [1b36:0010]".
struct Numbers {
  std::optional<std::uint16_t> class_code;
  std::optional<std::pair<std::uint16_t, std::uint16_t>> ids;
};

std::uint16_t Number(std::string_view digits) {
  return static_cast<std::uint16_t>(ParseHex(digits, 4).value_or(0));
}

Numbers ParseNumbers(std::string_view text) {
  Numbers numbers;
  for (std::size_t i = 0; i + 6 <= text.size(); ++i) {
    const bool begins = i == 0 || text[i - 1] == ' ' || text[i - 1] == '[';
    if (!begins || !IsHex(text.substr(i, 4))) continue;
    const std::string_view behind = text.substr(i + 4);
    const bool is_class = behind.starts_with(": ") || behind.starts_with("]: ");
    if (is_class && !numbers.class_code) numbers.class_code = Number(text.substr(i, 4));
    const std::string_view device = behind.substr(1, 4);
    const std::string_view end = behind.substr(std::min(behind.size(), std::size_t{5}));
    const bool ends = end.empty() || end[0] == ' ' || end[0] == ']';
    if (behind[0] != ':' || device.size() != 4 || !IsHex(device) || !ends) continue;
    numbers.ids = {Number(text.substr(i, 4)), Number(device)};
  }
  return numbers;
}

// Whether the text has this form, in which h stands for a hexadecimal digit.
bool HasForm(std::string_view text, std::string_view form) {
  return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char f) {
    return f == 'h' ? kHexDigits.find(c) != std::string_view::npos : c == f;
  });
}

// The address at the start of a function's first line ("00:1f.0 ISA bridge: ..."), or the path to
// it, as -P and -PP print it ("00:02.0/00.0 ...", "00:02.0/01:00.0 ..."); nothing where the line is
// another one.
std::optional<std::string_view> PlaceText(std::string_view line) {
  const std::string_view text = line.substr(0, line.find(' '));
  if (text.size() == line.size()) return std::nullopt;
  std::string_view steps = text;
  const std::string_view first = TakeUntil('/', steps);
  const std::size_t domain_size = first.size() - std::min(first.size(), std::size_t{7});
  const std::string_view domain = first.substr(0, domain_size);
  const bool has_domain = domain.ends_with(':') && IsHex(domain.substr(0, domain_size - 1));
  if (!HasForm(first.substr(domain_size), "hh:hh.h")) return std::nullopt;
  if (!domain.empty() && !has_domain) return std::nullopt;
  while (!steps.empty()) {
    const std::string_view step = TakeUntil('/', steps);
    if (!HasForm(step, "hh.h") && !HasForm(step, "hh:hh.h")) return std::nullopt;
  }
  return text;
}

// ---------------------------------------------------------------------------------------------

// The byte at the start of the text, as two digits with a space or nothing behind them.
std::optional<std::uint8_t> LeadingByte(std::string_view text) {
  if (!HasForm(text.substr(0, 2), "hh") || (text.size() > 2 && text[2] != ' ')) return std::nullopt;
  return static_cast<std::uint8_t>(*ParseHex(text.substr(0, 2), 2));
}

struct DumpedFunction {
  Function function;
  LspciText text;
  std::string registers;
};

class Parser {
 public:
  Parser(const std::string& path, const Wanted& wanted) : lines_(path), wanted_(wanted) {}

  Inventory Parse() {
    while (const auto line = lines_.Next()) TakeLine(*line);
    EndFunction();
    SortAndDropRepeated();
    for (DumpedFunction& entry : entries_) Keep(entry);
    AddSlots();
    return std::move(inventory_);
  }

 private:
  void TakeLine(std::string_view line) {
    if (line.empty()) {
      EndFunction();
    } else if (const auto place = PlaceText(line)) {
      BeginFunction(*place, line.substr(place->size() + 1));
    } else if (!TakeBytes(line) && address_) {
      text_.Take(line);
    }
  }

  void BeginFunction(std::string_view place, std::string_view text) {
    EndFunction();
    address_ = FindAddress(place);
    if (!address_) return Skip("no such PCI address: " + std::string(place));
    numbers_ = ParseNumbers(text);
    text_ = {};
  }

  std::optional<Address> FindAddress(std::string_view place) const {
    const std::string first(TakeUntil('/', place));
    auto address = ParseAddress(HasForm(first, "hh:hh.h") ? "0000:" + first : first);
    while (address && !place.empty()) {
      const std::string step(TakeUntil('/', place));
      const bool with_bus = HasForm(step, "hh:hh.h");
      auto below = ParseAddress((with_bus ? "0000:" : "0000:00:") + step);
      const auto bus = buses_below_.find(*address);
      if (!below || (!with_bus && bus == buses_below_.end())) return std::nullopt;
      if (!with_bus) below->bus = bus->second;
      below->domain = address->domain;
      address = below;
    }
    return address;
  }

  void EndFunction() {
    if (!address_) return Forget();
    if (size_ < ConfigSpace::kHeaderSize) {
      return Skip("only " + std::to_string(size_) + " bytes of configuration space of " + Name() +
                  " up to here: lspci -x prints at least 64");
    }
    if (size_ % kBytesOfLine != 0) return Skip("the last line of " + Name() + " is cut off");
    AddFunction();
    Forget();
  }

  void AddFunction() {
    Function function;
    function.address = *address_;
    function.parent = kUnknownParent;
    const std::span<const std::uint8_t> bytes(bytes_.data(), std::min(size_, bytes_.size()));
    ConfigSpace registers(bytes);
    registers.Identify(function);
    registers.Describe(function, inventory_.capabilities);
    registers.FindSubsystem(function, inventory_.ChainOf(function));
    if (registers.HideIds()) TakeNumbers(function);
    if (function.buses.secondary != 0) buses_below_[*address_] = function.buses.secondary;
    entries_.push_back({function, std::move(text_), std::move(registers_)});
  }

  void Keep(DumpedFunction& entry) {
    inventory_.functions.push_back(entry.function);
    if (wanted_.details.Any()) inventory_.details.push_back(std::move(entry.text.detail));
    if (wanted_.registers) inventory_.registers.push_back(std::move(entry.registers));
  }

  // A name that the kernel has for a slot stands for the number that the port above has.
  void AddSlots() {
    std::map<std::tuple<std::uint32_t, std::uint8_t, std::uint8_t>, Slot> slots;
    for (Slot& slot : SlotsOfPorts(inventory_.functions)) {
      slots.insert_or_assign({slot.domain, slot.bus, slot.device}, std::move(slot));
    }
    for (const DumpedFunction& entry : entries_) {
      const auto& [domain, bus, device, function] = entry.function.address;
      if (entry.text.slot.empty()) continue;
      slots.insert_or_assign({domain, bus, device}, Slot{.name = entry.text.slot,
                                                         .domain = domain,
                                                         .bus = bus,
                                                         .device = device,
                                                         .number = SlotNumber(entry.text.slot)});
    }
    for (auto& [place, slot] : slots) inventory_.slots.push_back(std::move(slot));
  }

  void TakeNumbers(Function& function) const {
    if (numbers_.ids) std::tie(function.ids.vendor, function.ids.device) = *numbers_.ids;
    if (numbers_.class_code) function.class_code = *numbers_.class_code;
  }

  // "1f0: 86 80 00 ff ...": registers from an offset on. False for any other line, which is lspci's
  // text for people.
  bool TakeBytes(std::string_view line) {
    const std::string_view digits = line.substr(0, line.find(':'));
    const std::string_view rest = line.substr(digits.size());
    const bool has_colon = rest.starts_with(": ") || rest == ":";
    if (!has_colon || digits.size() < 2 || digits.size() > 8 || !IsHex(digits)) return false;
    const std::uint32_t offset = *ParseHex(digits, digits.size());
    const std::string_view bytes = rest.substr(std::min(rest.size(), std::size_t{2}));
    // Here the line is damaged or missing that should begin the next function.
    if (offset == 0 && size_ > 0) EndFunction();
    if (address_) {
      StoreBytes(offset, bytes);
    } else if (!skipping_ && LeadingByte(bytes)) {
      // Outside of functions stands text for people, which may well begin like registers.
      Skip("bytes without the line that begins a function before them");
    }
    return true;
  }

  // The extended configuration space is checked, and kept where registers are wanted.
  void StoreBytes(std::uint32_t offset, std::string_view text) {
    if (offset >= kExtendedConfigSize) return Skip("a configuration space has at most 4096 bytes");
    if (offset < size_) return Skip("bytes of " + Name() + " that it already has");
    if (offset > size_) return Skip("bytes of " + Name() + " are missing before these");
    do {
      const std::optional<std::uint8_t> byte = LeadingByte(text);
      if (!byte || size_ == kExtendedConfigSize) return Skip("malformed bytes of " + Name());
      if (size_ < bytes_.size()) bytes_[size_] = *byte;
      if (wanted_.registers) registers_ += static_cast<char>(*byte);
      ++size_;
      text.remove_prefix(std::min(text.size(), std::size_t{3}));
    } while (!text.empty());
  }

  std::string Name() const { return FormatAddress(*address_); }

  // Leaves out the function whose lines are being read, and the rest of them.
  void Skip(const std::string& reason) {
    inventory_.LeaveOut(lines_.Where(), reason);
    Forget();
    skipping_ = true;
  }

  void Forget() {
    address_.reset();
    registers_.clear();
    size_ = 0;
    skipping_ = false;
  }

  // Of a function that is there twice the first one stands.
  void SortAndDropRepeated() {
    const auto address = [](const DumpedFunction& entry) { return entry.function.address; };
    std::stable_sort(entries_.begin(), entries_.end(),
                     [&](const DumpedFunction& left, const DumpedFunction& right) {
                       return address(left) < address(right);
                     });
    const auto end = std::unique(entries_.begin(), entries_.end(),
                                 [&](const DumpedFunction& left, const DumpedFunction& right) {
                                   return address(left) == address(right);
                                 });
    entries_.erase(end, entries_.end());
  }

  TextLines lines_;
  const Wanted& wanted_;
  Inventory inventory_;
  std::vector<DumpedFunction> entries_;          // what the inventory is made of
  std::map<Address, std::uint8_t> buses_below_;  // of the bridges so far, by their address
  // The function whose lines are being read.
  std::optional<Address> address_;
  Numbers numbers_;
  LspciText text_;
  std::string registers_;  // where they are wanted
  std::array<std::uint8_t, ConfigSpace::kSize> bytes_;
  std::size_t size_ = 0;   // of its configuration space so far
  bool skipping_ = false;  // what belongs to a function that is left out
};

}  // namespace

Inventory ReadDump(const std::string& path, const Wanted& wanted) {
  Inventory inventory = Parser(path, wanted).Parse();
  RequireFunctions(inventory, path + ": no PCI function in the dump, which lspci -x prints");
  return inventory;
}

}  // namespace pci
