#include "support/lspci.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

namespace lspci {
namespace {

// Without names it need not read the list of them, which takes most of the time.
constexpr char kNoNames[] = " -i /dev/null";

using Record = std::map<std::string, std::string>;

std::string OutputOf(const std::string& arguments) {
  // The library does not ask udev's copy of pci.ids either.
  const std::string command = "LC_ALL=C lspci -O hwdb.disable=1 -D " + arguments + " 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[65536];
  while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, length);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

unsigned Number(const std::string& hex) {
  return static_cast<unsigned>(std::strtoul(hex.c_str(), nullptr, 16));
}

// ---- Blocks of "Key:<tab>Value" lines, one block a function.

std::vector<Record> ReadRecords(const std::string& text) {
  std::vector<Record> records(1);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t tab = line.find(":\t");
    if (line.empty()) records.emplace_back();
    if (tab != line.npos) records.back().emplace(line.substr(0, tab), line.substr(tab + 2));
  }
  if (records.back().empty()) records.pop_back();
  return records;
}

// "Name of it [1234]".
struct Named {
  std::string name;
  unsigned id = 0;
};

Named ReadNamed(const Record& record, const char* key) {
  const auto found = record.find(key);
  if (found == record.end()) return {};
  const std::string& text = found->second;
  const std::size_t bracket = text.rfind(" [");
  const std::string digits = text.substr(bracket + 2, 4);
  std::string name = text.substr(0, bracket);
  // Without a name lspci prints "Device 1234", and "Device [1234]" where it is to add the number.
  if (name == key) name += ' ' + digits;
  return {std::move(name), Number(digits)};
}

Function FromRecord(const Record& record) {
  const auto text = [&](const char* key) {
    const auto found = record.find(key);
    return found == record.end() ? "" : found->second;
  };
  Function function;
  function.address = text("Slot");
  const Named vendor = ReadNamed(record, "Vendor"), device = ReadNamed(record, "Device");
  function.vendor = vendor.id;
  function.vendor_name = vendor.name;
  function.device = device.id;
  function.device_name = device.name;
  function.class_code = ReadNamed(record, "Class").id;
  function.revision = Number(text("Rev"));
  function.subsystem_vendor = ReadNamed(record, "SVendor").id;
  function.subsystem = ReadNamed(record, "SDevice").id;
  function.slot_label = text("PhySlot");
  return function;
}

// ---- Text for people: `lspci -PP -vvn`, one function a block.

std::vector<std::string> Blocks(const std::string& text) {
  std::vector<std::string> blocks;
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find("\n\n", start);
    if (end == text.npos) end = text.size();
    blocks.push_back(text.substr(start, end - start));
    start = end + 2;
  }
  return blocks;
}

// What stands between the two in the block, or nothing.
std::string Between(const std::string& block, const std::string& before, const std::string& after) {
  const std::size_t found = block.find(before);
  if (found == block.npos) return "";
  const std::size_t start = found + before.size();
  return block.substr(start, block.find(after, start) - start);
}

std::vector<std::uint32_t> CapabilityCodes(const std::string& block) {
  const auto says = [&](const char* text) { return block.find(text) != block.npos; };
  const std::string status = Between(block, "\n\tStatus: ", "\n");
  const auto flagged = [&](const char* text) { return status.find(text) != status.npos; };
  const std::string speed = Between(Between(block, "LnkCap:", "\n"), "Speed ", "GT/s");
  const double transfers = std::strtod(speed.c_str(), nullptr);  // GT/s
  const std::pair<std::uint32_t, bool> codes[] = {
      {2, flagged("66MHz+")},
      {3, flagged("UDF+")},
      {4, flagged("FastB2B+")},
      {5, says("] PCI-X ")},
      {6, says("] Power Management ")},
      {7, says("] MSI: ") || says("] MSI-X: ")},
      {9, says("] AGP")},
      {10, says("] Vital Product Data")},
      {11, says("] Slot ID: ")},
      {12, says("] CompactPCI hot-swap")},
      {13, says("] Express ")},
      {14, transfers >= 5},
      {15, transfers >= 8},
  };
  std::vector<std::uint32_t> held;
  for (const auto& [code, holds] : codes) {
    if (holds) held.push_back(code);
  }
  return held;
}

int PcieType(const std::string& block) {
  constexpr std::pair<const char*, int> kTypes[] = {{"Endpoint", 0},
                                                    {"Legacy Endpoint", 1},
                                                    {"Root Port", 4},
                                                    {"Upstream Port", 5},
                                                    {"Downstream Port", 6},
                                                    {"PCI-Express to PCI/PCI-X Bridge", 7},
                                                    {"PCI/PCI-X to PCI-Express Bridge", 8},
                                                    {"Root Complex Integrated Endpoint", 9},
                                                    {"Root Complex Event Collector", 10}};
  const std::string express = Between(block, "] Express (v", "\n");
  if (express.empty()) return -1;
  for (const auto& [text, type] : kTypes) {
    if (express.substr(express.find(' ') + 1).starts_with(text)) return type;
  }
  ADD_FAILURE() << "a PCI Express port type that is not known here: " << express;
  return -1;
}

// "0000:00:03.0/01:00.0/02:00.0": every address but the first lacks the domain.
std::string ParentIn(const std::string& path) {
  const std::size_t last = path.rfind('/');
  if (last == path.npos) return "";
  std::string above = path.substr(0, last);
  const std::size_t slash = above.rfind('/');
  if (slash == above.npos) return above;
  return path.substr(0, path.find(':') + 1) + above.substr(slash + 1);
}

void ReadText(const std::string& block, Function& function) {
  function.parent = ParentIn(block.substr(0, block.find(' ')));
  function.secondary_bus = Number(Between(block, ", secondary=", ","));
  function.subordinate_bus = Number(Between(block, ", subordinate=", ","));
  function.capability_codes = CapabilityCodes(block);
  function.pci_x = block.find("] PCI-X ") != block.npos;
  function.pcie_type = PcieType(block);
  const std::string slot = Between(Between(block, "\n\t\tSltCap:", "\n\t\tSltCtl"), "Slot #", ",");
  if (!slot.empty()) {
    function.slot_number = static_cast<unsigned>(std::strtoul(slot.c_str(), nullptr, 10));
  }
}

// ---- Drawings.

// Reads a drawing from left to right and from top to bottom. What stands behind a "+" or "\" is
// below what the first one of its column stands behind.
class DrawingReader {
 public:
  explicit DrawingReader(const std::set<std::string>& addresses) : addresses_(addresses) {}

  void TakeLine(const std::string& line) {
    std::size_t at = line.find_first_not_of(" |");
    if (at == line.npos) return;
    // The first line begins at the top; others at a branch of a line above.
    Place place;
    for (; at < line.size() && line[at] != ' '; ++at) {
      if (line[at] == '-') continue;
      if (line[at] == '+' || line[at] == '\\') {
        const bool first = &line[at] == &line[line.find_first_not_of(" |")];
        if (first) place = branches_[at];
        branches_[at] = place;
      } else if (line[at] == '[') {
        const std::size_t end = line.find(']', at);
        TakeBuses(line.substr(at + 1, end - at - 1), place);
        at = end;
      } else {
        TakeFunction(line.substr(at, 4), place);
        at += 3;
      }
    }
    if (at < line.size()) tree_.functions[place.function].ids = line.substr(at + 2, 9);
  }

  Tree Take() { return std::move(tree_); }

 private:
  struct Place {
    std::string function;  // that it is behind; empty: at the top
    std::string bus;       // "0000:00"
  };

  // "0000:01" is a bus, "01-04" and "01" are the buses of the bridge that it stands behind.
  void TakeBuses(const std::string& text, Place& place) {
    if (text.find(':') != text.npos) {
      place.bus = text;
      if (place.function.empty()) tree_.roots.push_back(text);
      return;
    }
    tree_.functions[place.function].buses = text.size() == 2 ? text + '-' + text : text;
    place.bus = place.function.substr(0, place.function.rfind(':') - 2) + text.substr(0, 2);
  }

  // Where the kernel says which bridge a function is behind, lspci draws it there with the others,
  // whatever its bus is: virtual functions may be on further ones.
  std::string AddressOf(const std::string& text, const Place& place) const {
    const std::string domain = place.bus.substr(0, place.bus.find(':') + 1);
    for (unsigned bus = Number(place.bus.substr(domain.size())); bus < 0x100; ++bus) {
      char digits[16];
      std::snprintf(digits, sizeof digits, "%02x", bus);
      std::string address = domain + digits + ':' + text;
      if (addresses_.contains(address) && !tree_.functions.contains(address)) return address;
    }
    return place.bus + ':' + text;
  }

  void TakeFunction(const std::string& text, Place& place) {
    const std::string address = AddressOf(text, place);
    const bool fresh = tree_.functions.emplace(address, Drawn{place.function, "", ""}).second;
    EXPECT_TRUE(fresh) << address << " is drawn twice";
    place.function = address;
  }

  const std::set<std::string>& addresses_;
  std::map<std::size_t, Place> branches_;  // by column
  Tree tree_;
};

}  // namespace

std::string OfDump(const std::string& file) { return "-F '" + file + "'"; }

std::string OfSysfs(const std::string& bus) { return "-A linux-sysfs -O 'sysfs.path=" + bus + "'"; }

std::vector<Function> Functions(const std::string& source) {
  const std::vector<Record> records = ReadRecords(OutputOf(source + " -vmmnn"));
  const std::vector<std::string> texts = Blocks(OutputOf(source + kNoNames + " -PP -vvn"));
  // The paths of the texts are not in the order of addresses.
  std::map<std::string, const std::string*> text_of;
  for (const std::string& text : texts) {
    const std::string path = text.substr(0, text.find(' '));
    const std::size_t slash = path.rfind('/');
    const std::string domain = path.substr(0, path.find(':') + 1);
    text_of[slash == path.npos ? path : domain + path.substr(slash + 1)] = &text;
  }
  std::vector<Function> functions;
  EXPECT_EQ(records.size(), text_of.size()) << "functions of which lspci tells";
  for (const Record& record : records) {
    functions.push_back(FromRecord(record));
    const auto text = text_of.find(functions.back().address);
    if (text == text_of.end()) {
      ADD_FAILURE() << functions.back().address << " is not in lspci -PP";
    } else {
      ReadText(*text->second, functions.back());
    }
  }
  return functions;
}

Tree ReadDrawing(const std::string& drawing, const std::set<std::string>& addresses) {
  DrawingReader reader(addresses);
  std::istringstream lines(drawing);
  for (std::string line; std::getline(lines, line);) reader.TakeLine(line);
  return reader.Take();
}

Tree Draw(const std::string& source, const std::vector<Function>& functions) {
  std::set<std::string> addresses;
  for (const Function& function : functions) addresses.insert(function.address);
  return ReadDrawing(OutputOf(source + kNoNames + " -tvn"), addresses);
}

}  // namespace lspci
