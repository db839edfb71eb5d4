// What the commands can say of a function, by the names that users choose it with.
//
// Thread rule: pure functions and immutable tables.

#ifndef TOOL_INVENTORY_COLUMN_H_
#define TOOL_INVENTORY_COLUMN_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "pci/host.h"
#include "tool/inventory/host_link.h"
#include "tool/json_text.h"

namespace tool {

// Nothing, a text, a number, or several texts.
using CellValue =
    std::variant<std::monostate, std::string, std::uint64_t, std::vector<std::string>>;

// A host with what is worked out of it for columns. Outlived by the host.
struct DescribedHost {
  explicit DescribedHost(const pci::Host& read) : host(read), links(read) {}

  const pci::Host& host;
  HostLinks links;
};

struct FunctionColumn {
  std::string_view name;            // in upper case; in JSON the member has it in lower case
  std::string_view description;     // for help
  bool usual = false;               // shown where the user does not choose
  bool identifies = true;           // never cut to fit a terminal
  bool is_name = false;             // of pci.ids
  pci::WantedDetails details = {};  // what has to be read for it
  CellValue (*value)(const DescribedHost& described, std::uint32_t function);
};

// All there are, in the order in which JSON has them.
std::span<const FunctionColumn> AllColumns();

// The columns of these names, in any letter case; "+NAME" stands for the usual ones and NAME. None
// chosen: the usual ones. Throws UsageError with the nearest names for what is no column.
std::vector<const FunctionColumn*> ChooseColumns(const std::vector<std::string>& names);

// What has to be read of a host to fill the columns.
pci::Host::Wanted WantedFor(const std::vector<const FunctionColumn*>& columns);

// One line of valid UTF-8; a list has commas between its texts.
std::string CellText(const CellValue& value);

// As null, text, number or array.
void WriteCell(const CellValue& value, JsonText& json);

}  // namespace tool

#endif  // TOOL_INVENTORY_COLUMN_H_
