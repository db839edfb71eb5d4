// What is known of a host's functions, from wherever it comes: values by the names that "list -o
// json" has for them.
//
// Thread rule: plain values; reading one as ReadHost.

#ifndef TOOL_INVENTORY_SNAPSHOT_H_
#define TOOL_INVENTORY_SNAPSHOT_H_

#include <map>
#include <string>
#include <vector>

namespace tool {

// A name that is missing is not told; an empty value says that there is none.
using FunctionRecord = std::map<std::string, std::string>;

struct Snapshot {
  std::vector<FunctionRecord> functions;
  bool is_partial = false;  // names what it is about, and says nothing of what it does not name
  bool incomplete = false;  // functions could not be read, as standard error says
};

// Reads "live" (the running kernel), a folder as --sysfs takes it, a dump as --dump takes it, "-"
// for a dump on standard input, or a JSON file as "list -o json" writes it, which a person may have
// shortened. Of a host, a value that no function has is not told. Throws CommandError.
Snapshot ReadSnapshot(const std::string& source);

}  // namespace tool

#endif  // TOOL_INVENTORY_SNAPSHOT_H_
