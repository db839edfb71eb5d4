#include "tool/inventory/selected_elements.h"

#include <utility>

#include "pci/error.h"
#include "tool/errors.h"

namespace tool {

std::set<std::string> SelectedAddresses(const Selection& selection) {
  pci::Host::Wanted wanted{.names = false};
  selection.AddWanted(wanted);
  try {
    const pci::Host host = pci::Host::Read(pci::Source::FromEnvironment(), wanted);
    std::set<std::string> addresses;
    for (const std::uint32_t place : selection.Of(host)) {
      addresses.insert(FormatAddress(host.functions()[place].address));
    }
    return addresses;
  } catch (const pci::Error& error) {
    throw CommandError(std::string("the host could not be read: ") + error.what());
  }
}

void SelectedElements::OnInstance(cim::Instance&& instance) {
  if (Belongs(instance.path)) next_.OnInstance(std::move(instance));
}

void SelectedElements::OnObjectPath(cim::ObjectPath&& path) {
  if (Belongs(path)) next_.OnObjectPath(std::move(path));
}

// A port's identifier is its function's with a suffix.
bool SelectedElements::Belongs(const cim::ObjectPath& path) {
  const cim::Value* id = path.Key("DeviceID");
  if (id == nullptr || id->text() == nullptr) return false;
  const bool belongs = addresses_.contains(id->text()->substr(0, id->text()->find('-')));
  any_ = any_ || belongs;
  return belongs;
}

}  // namespace tool
