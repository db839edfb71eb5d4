#include "tool/function_path.h"

#include <fmt/format.h>

#include <algorithm>

#include "pci/address.h"
#include "tool/errors.h"
#include "tool/inventory/named_function.h"
#include "tool/inventory/place_pattern.h"
#include "tool/property_text.h"

namespace tool {
namespace {

using cim::ObjectPath;

// Without a reading of the host control library's a missing domain is 0000, and nothing else may be
// missing.
std::string WholeAddress(const std::string& text, const pci::Host* host) {
  if (host != nullptr) {
    return FormatAddress(host->functions()[FunctionNamed(text, *host)].address);
  }
  const PlacePattern pattern = PlacePattern::Parse(text);
  if (!pattern.bus || !pattern.device || !pattern.function) {
    throw UsageError(fmt::format("\"{}\" is no whole address, such as 0000:07:00.0", text));
  }
  return pci::FormatAddress({pattern.domain.value_or(0), static_cast<std::uint8_t>(*pattern.bus),
                             static_cast<std::uint8_t>(*pattern.device),
                             static_cast<std::uint8_t>(*pattern.function)});
}

// Whether enumerating the class names the function.
bool IsListed(const char* class_name, const std::string& address, Session& session) {
  broker::Recorder names;
  session.EnumerateNames(*cim::schema::FindClass(class_name), names);
  return std::any_of(names.paths.begin(), names.paths.end(),
                     [&](const ObjectPath& path) { return ShortName(path) == address; });
}

ObjectPath PathIn(const char* class_name, const std::string& address, const Session& session) {
  const ObjectPath& system = session.system();
  ObjectPath path;
  path.name_space = system.name_space;
  path.class_name = class_name;
  path.keys = {{"SystemCreationClassName", cim::Value(system.class_name)},
               {"SystemName", *system.Key("Name")},
               {"CreationClassName", cim::Value(class_name)},
               {"DeviceID", cim::Value(address)}};
  return path;
}

}  // namespace

bool LooksLikeAddress(std::string_view text) {
  const bool has_separator = text.find_first_of(":.") != std::string_view::npos;
  return has_separator &&
         text.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
}

// A switch answers for any device that it is asked for, and some bridges are listed by no
// enumeration: what is listed is looked at first.
ObjectPath PathOfFunction(const std::string& address, Session& session) {
  const std::string whole = WholeAddress(address, session.host());
  for (const char* class_name : {"Ostrel_PCIeSwitch", "Ostrel_PCIBridge", "Ostrel_PCIDevice"}) {
    if (IsListed(class_name, whole, session)) return PathIn(class_name, whole, session);
  }
  for (const char* class_name : {"Ostrel_PCIBridge", "Ostrel_PCIDevice"}) {
    broker::Recorder found;
    ObjectPath path = PathIn(class_name, whole, session);
    if (session.TryGet(path, found) && !found.instances.empty()) return path;
  }
  throw CommandError(fmt::format("not found: there is no PCI function {}", address));
}

}  // namespace tool
