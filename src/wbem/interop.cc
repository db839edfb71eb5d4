#include "wbem/interop.h"

#include <fmt/format.h>

#include <utility>

#include "cim/text.h"
#include "wbem/cim_error.h"
#include "wbem/operations.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;
using cim::Instance;

constexpr const char* kInterop = "interop";
constexpr const char* kRootInterop = "root/interop";
constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";
constexpr const char* kManagerClass = "CIM_ObjectManager";
constexpr const char* kManagerName = "ostrel-pci";
constexpr const char* kNamespaceClass = "CIM_Namespace";

// With the keys as properties, as every instance has them.
Instance WithKeys(const char* class_name, std::vector<std::pair<std::string, cim::Value>> keys) {
  Instance instance;
  instance.path.class_name = class_name;
  for (const auto& [name, value] : keys) instance.properties.push_back({name, value});
  instance.path.keys = std::move(keys);
  return instance;
}

Instance ObjectManagerInstance(const std::string& system_name) {
  Instance instance = WithKeys(kManagerClass, {{"SystemCreationClassName", kSystemClass},
                                               {"SystemName", system_name},
                                               {"CreationClassName", kManagerClass},
                                               {"Name", kManagerName}});
  instance.properties.push_back({"ElementName", "Ostrel PCI"});
  instance.properties.push_back(
      {"Description", "ostrel-pci serve, version " OSTREL_VERSION ": the PCI topology of a host"});
  instance.properties.push_back({"Version", OSTREL_VERSION});
  return instance;
}

Instance NamespaceInstance(const std::string& system_name, const char* name) {
  return WithKeys(kNamespaceClass, {{"SystemCreationClassName", kSystemClass},
                                    {"SystemName", system_name},
                                    {"ObjectManagerCreationClassName", kManagerClass},
                                    {"ObjectManagerName", kManagerName},
                                    {"CreationClassName", kNamespaceClass},
                                    {"Name", name}});
}

}  // namespace

bool IsInterop(std::string_view name_space) {
  return EqualIgnoringCase(name_space, kInterop) || EqualIgnoringCase(name_space, kRootInterop);
}

std::vector<Instance> InteropInstances(std::string_view class_name,
                                       const std::string& system_name) {
  if (EqualIgnoringCase(class_name, kManagerClass)) return {ObjectManagerInstance(system_name)};
  if (EqualIgnoringCase(class_name, kNamespaceClass)) {
    std::vector<Instance> all;
    for (const char* name : {kInterop, kRootInterop, kNameSpace}) {
      all.push_back(NamespaceInstance(system_name, name));
    }
    return all;
  }
  throw CimError(CimCode::kInvalidClass, fmt::format("{} is not in {}", class_name, kInterop));
}

}  // namespace wbem
