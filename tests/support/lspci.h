// What lspci says of a source: the second opinion that answers are held against. lspci must be
// installed.
//
// Thread rule: plain functions; each runs a process.

#ifndef SUPPORT_LSPCI_H_
#define SUPPORT_LSPCI_H_

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace lspci {

// Arguments that choose lspci's source.
std::string OfDump(const std::string& file);
std::string OfSysfs(const std::string& bus);  // the folder with devices/ and slots/
inline constexpr char kThisHost[] = "";

// One function as lspci shows it; numbers are what its text says, names as it prints them.
struct Function {
  std::string address;
  std::string parent;  // address of the bridge that it is behind; empty on a root bus
  unsigned vendor = 0, device = 0, class_code = 0, revision = 0;
  unsigned subsystem_vendor = 0, subsystem = 0;
  std::string vendor_name, device_name;
  std::string slot_label;               // the kernel's
  std::optional<unsigned> slot_number;  // in the function's slot capabilities
  unsigned secondary_bus = 0, subordinate_bus = 0;
  std::vector<std::uint32_t> capability_codes;  // those of CIM_PCIController.Capabilities
  bool pci_x = false;
  int pcie_type = -1;  // -1: no PCI Express
};

// Ascending by address.
std::vector<Function> Functions(const std::string& source);

// One function as `lspci -t` draws it.
struct Drawn {
  std::string parent;  // address of the bridge that it hangs below; empty below a root bus
  std::string buses;   // "01-04"; "" where none are drawn
  std::string ids;     // "8086:1234"; of a bridge none are drawn

  bool operator==(const Drawn&) const = default;
};

struct Tree {
  std::vector<std::string> roots;  // "0000:80", from top to bottom
  std::map<std::string, Drawn> functions;
};

// Every function of the source that is drawn, by its address; a test failure where one is drawn
// twice.
Tree Draw(const std::string& source, const std::vector<Function>& functions);
// The same from the output of `lspci -D -tvn`. What it draws below a bridge without its bus is on
// the bridge's own, or on the next one where `addresses` has it.
Tree ReadDrawing(const std::string& drawing, const std::set<std::string>& addresses = {});

}  // namespace lspci

#endif  // SUPPORT_LSPCI_H_
