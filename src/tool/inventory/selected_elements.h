// What of a CIM answer belongs to selected functions: the functions themselves and their ports,
// joined by address.
//
// Thread rule: one thread at a time.

#ifndef TOOL_INVENTORY_SELECTED_ELEMENTS_H_
#define TOOL_INVENTORY_SELECTED_ELEMENTS_H_

#include <set>
#include <string>

#include "broker/result_sink.h"
#include "tool/inventory/selection.h"

namespace tool {

// The addresses of the functions of the host that SelectHost chose. Throws CommandError where the
// host cannot be read or none is selected. What of the host is missing it does not say.
std::set<std::string> SelectedAddresses(const Selection& selection);

// Passes on what belongs to a selected function.
class SelectedElements : public broker::ResultSink {
 public:
  SelectedElements(std::set<std::string> addresses, broker::ResultSink& next)
      : addresses_(std::move(addresses)), next_(next) {}

  void OnInstance(cim::Instance&& instance) override;
  void OnObjectPath(cim::ObjectPath&& path) override;

  bool any() const { return any_; }

 private:
  bool Belongs(const cim::ObjectPath& path);

  std::set<std::string> addresses_;
  broker::ResultSink& next_;
  bool any_ = false;
};

}  // namespace tool

#endif  // TOOL_INVENTORY_SELECTED_ELEMENTS_H_
