// What differs between two snapshots of a host.
//
// Thread rule: plain values; comparing is pure.

#ifndef TOOL_INVENTORY_DIFFERENCE_H_
#define TOOL_INVENTORY_DIFFERENCE_H_

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/inventory/snapshot.h"

namespace tool {

struct Difference {
  enum class Change { kMissing, kNew, kMoved, kChanged };

  Change change;
  FunctionRecord before;   // of kNew empty
  FunctionRecord after;    // of kMissing empty
  std::string value = {};  // of kChanged the name of the value that changed
};

// The names of values that are compared.
std::span<const std::string_view> ComparedValues();

// In the order of the old snapshot, then what is new in the order of the new one. A function is the
// same where its path from the root bus is, whatever numbers the buses have got; an old one without
// a path by its address, or by its slot, or by all that is told of it. What is missing at one place
// and new at another one with the same ids has moved. A value is compared where both tell it and it
// is not ignored. Where the old snapshot is partial nothing is new.
std::vector<Difference> Compare(const Snapshot& before, const Snapshot& after,
                                const std::set<std::string>& ignored);

}  // namespace tool

#endif  // TOOL_INVENTORY_DIFFERENCE_H_
