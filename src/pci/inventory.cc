#include "pci/inventory.h"

#include <utility>

#include "pci/error.h"

namespace pci {

void Inventory::LeaveOut(std::string where, std::string reason) {
  constexpr std::size_t kMost = 1000;
  if (troubles.size() > kMost) return;
  const bool told = troubles.size() < kMost;
  troubles.push_back(told ? Trouble{std::move(where), std::move(reason)}
                          : Trouble{"More functions", "too many to tell of each"});
}

void RequireFunctions(const Inventory& inventory, const std::string& nothing) {
  if (!inventory.functions.empty()) return;
  if (inventory.troubles.empty()) throw Error(nothing);
  const Trouble& first = inventory.troubles.front();
  throw Error(first.where + ": " + first.reason);
}

}  // namespace pci
