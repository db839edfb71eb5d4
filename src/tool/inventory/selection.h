// Which functions of a host a command is about.
//
// Thread rule: a plain value; immutable once made.

#ifndef TOOL_INVENTORY_SELECTION_H_
#define TOOL_INVENTORY_SELECTION_H_

#include <string>
#include <vector>

#include "pci/host.h"
#include "tool/inventory/class_pattern.h"
#include "tool/inventory/id_pattern.h"
#include "tool/inventory/place_pattern.h"

namespace tool {

// As the user wrote it. Of several values of one option any may fit; all options that are given
// must.
struct SelectionOptions {
  std::vector<std::string> places;   // -s
  std::vector<std::string> ids;      // -d
  std::vector<std::string> classes;  // --class
  std::vector<std::string> slots;    // --slot
  std::vector<std::string> drivers;  // --driver; "none" of functions without one
};

class Selection {
 public:
  // Throws UsageError for what makes no sense.
  explicit Selection(const SelectionOptions& options);

  // Whether every function of any host is selected.
  bool is_all() const;

  // Adds what has to be read of a host to tell which functions are selected.
  void AddWanted(pci::Host::Wanted& wanted) const;

  bool Holds(const pci::Host& host, const pci::Function& function) const;

  // The places in Host::functions() of those selected. Throws CommandError where there is none
  // although the user chose.
  std::vector<std::uint32_t> Of(const pci::Host& host) const;

 private:
  std::vector<PlacePattern> places_;
  std::vector<IdPattern> ids_;
  std::vector<ClassPattern> classes_;
  std::vector<std::string> slots_;
  std::vector<std::string> drivers_;
};

}  // namespace tool

#endif  // TOOL_INVENTORY_SELECTION_H_
