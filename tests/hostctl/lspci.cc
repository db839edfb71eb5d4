#include "hostctl/lspci.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace hostctl_test {
namespace {

using Record = std::map<std::string, std::string>;

std::string LspciOutput(const std::string& arguments) {
  // The library does not ask udev's copy of pci.ids either.
  const std::string command = "LC_ALL=C lspci -O hwdb.disable=1 -D " + arguments + " 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[4096];
  while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, length);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

// Blocks of "Key:<tab>Value" lines, one block a function.
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

unsigned Number(const Record& record, const char* key) {
  const auto found = record.find(key);
  return found == record.end()
             ? 0
             : static_cast<unsigned>(std::strtoul(found->second.c_str(), nullptr, 16));
}

LspciFunction FromRecords(const Record& numbers, const Record& names) {
  LspciFunction function;
  function.slot = numbers.at("Slot");
  function.vendor = Number(numbers, "Vendor");
  function.device = Number(numbers, "Device");
  function.class_code = Number(numbers, "Class");
  function.revision = Number(numbers, "Rev");
  function.subsystem_vendor = Number(numbers, "SVendor");
  function.subsystem = Number(numbers, "SDevice");
  function.vendor_name = names.at("Vendor");
  function.device_name = names.at("Device");
  const auto slot = numbers.find("PhySlot");
  const bool numbered = slot != numbers.end() && std::isdigit(slot->second[0]);
  if (numbered) function.physical_slot = std::stoi(slot->second);
  return function;
}

// Reads the text for people, `lspci -vv`, one function a block.
void ReadVerbose(const std::string& block, LspciFunction& function) {
  const auto says = [&](const char* text) { return block.find(text) != block.npos; };
  const auto status_line = [&] {
    const std::size_t start = block.find("\n\tStatus: ");
    return start == block.npos ? "" : block.substr(start, block.find('\n', start + 1) - start);
  };
  const std::string status = status_line();
  const auto flagged = [&](const char* text) { return status.find(text) != status.npos; };
  const std::size_t link = block.find("LnkCap:");
  const std::size_t speed = block.find("Speed ", link);
  const bool linked = link != block.npos && speed < block.find('\n', link);
  const double transfers = linked ? std::strtod(block.c_str() + speed + 6, nullptr) : 0;  // GT/s

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
  for (const auto& [code, holds] : codes) {
    if (holds) function.capability_codes.push_back(code);
  }
  const std::size_t bus = block.find("\tBus: primary=");
  const std::size_t secondary = block.find("secondary=", bus);
  if (bus != block.npos) {
    function.secondary_bus =
        static_cast<unsigned>(std::strtoul(block.c_str() + secondary + 10, nullptr, 16));
  }
}

// Of a dump lspci prints no slots: they are where the ports above say "Slot #7". No other device
// than 0 is behind a link.
void FillSlots(const std::vector<std::string>& texts, std::vector<LspciFunction>& functions) {
  std::map<std::string, int> slots;  // by domain and bus
  for (std::size_t i = 0; i < functions.size(); ++i) {
    const std::size_t slot = texts[i].find("\tSlot #");
    if (slot == texts[i].npos || functions[i].secondary_bus == 0) continue;
    char bus[16];
    std::snprintf(bus, sizeof bus, "%02x", functions[i].secondary_bus);
    const std::string domain = functions[i].slot.substr(0, functions[i].slot.find(':') + 1);
    slots[domain + bus] = std::atoi(texts[i].c_str() + slot + 7);
  }
  for (LspciFunction& function : functions) {
    const auto found = slots.find(function.slot.substr(0, function.slot.rfind(':')));
    const bool first_device = function.slot.find(":00.") != function.slot.npos;
    if (found != slots.end() && first_device) function.physical_slot = found->second;
  }
}

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

}  // namespace

std::vector<LspciFunction> RunLspci(const std::string& arguments) {
  const std::vector<Record> numbers = ReadRecords(LspciOutput(arguments + " -vmmn"));
  const std::vector<Record> names = ReadRecords(LspciOutput(arguments + " -vmm"));
  const std::vector<std::string> texts = Blocks(LspciOutput(arguments + " -vvn"));
  std::vector<LspciFunction> functions;
  if (numbers.size() != names.size() || numbers.size() != texts.size()) {
    ADD_FAILURE() << "lspci tells of " << numbers.size() << ", " << names.size() << " and "
                  << texts.size() << " functions";
    return functions;
  }
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    functions.push_back(FromRecords(numbers[i], names[i]));
    ReadVerbose(texts[i], functions.back());
  }
  const bool is_dump = arguments.starts_with("-F");
  if (is_dump) FillSlots(texts, functions);
  return functions;
}

}  // namespace hostctl_test
