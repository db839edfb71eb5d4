#include "pci/host.h"

#include <algorithm>

#include "pci/dump_source.h"
#include "pci/parents.h"
#include "pci/slots.h"
#include "pci/sysfs_source.h"

namespace pci {

Host Host::Read(const Source& source, const Wanted& wanted) {
  Host host;
  Inventory& inventory = host.inventory_;
  inventory = source.kind == Source::Kind::kDump ? ReadDump(source.path, wanted)
                                                 : ReadSysfs(source.path, wanted);
  LinkByBusNumbers(inventory.functions);
  LinkSlots(inventory.functions, inventory.slots);
  host.cut_off_functions_ = static_cast<std::size_t>(
      std::count_if(inventory.functions.begin(), inventory.functions.end(),
                    [](const Function& function) { return function.cut_off; }));
  if (wanted.names) host.FindNames();
  return host;
}

void Host::FindNames() {
  NameQuery query;
  for (Function& function : inventory_.functions) {
    function.vendor_name = query.Vendor(function.ids.vendor);
    function.device_name = query.Device(function.ids.vendor, function.ids.device);
  }
  names_ = Names::LookUp(query);
}

const std::string& Host::NameAt(std::uint32_t place) const {
  static const std::string kUnnamed;
  return place == kNone ? kUnnamed : names_.At(place);
}

const Detail& Host::DetailOf(const Function& function) const {
  static const Detail kNothing;
  if (inventory_.details.empty()) return kNothing;
  return inventory_.details[PlaceOf(function)];
}

std::string_view Host::RegistersOf(const Function& function) const {
  if (inventory_.registers.empty()) return {};
  return inventory_.registers[PlaceOf(function)];
}

}  // namespace pci
