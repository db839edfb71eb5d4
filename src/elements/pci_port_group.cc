#include "elements/pci_port_group.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "cache/topology_cache.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

void ReturnPortGroup(CmpiResult& result, std::uint8_t bus, const char** properties) {
  CmpiInstance group = MakePortGroup(bus, properties);
  group.setPropertyFilter(properties, nullptr);
  result.returnData(group);
}

// Calls emit(bus) for each group, then ends the result.
template <typename Emit>
CmpiStatus ForEachGroup(CmpiResult& result, Emit emit) {
  for (const std::uint8_t bus : GetBusNumbers()) {
    const ostInt::CmpiElementScope scope;
    emit(bus);
  }
  result.returnDone();
  return CMPI_RC_OK;
}

}  // namespace

CmpiObjectPath MakePortGroupRef(std::uint8_t bus) {
  CmpiObjectPath path(kNameSpace, kPortGroupClass);
  path.setKey("InstanceID", ("Ostrel:bus-" + std::to_string(bus)).c_str());
  return path;
}

CmpiInstance MakePortGroup(std::uint8_t bus, const char** /*properties*/) {
  CmpiInstance group(MakePortGroupRef(bus));
  group.setProperty("BusNumber", bus);
  group.setProperty("ElementName",
                    ("PCI port group with bus number " + std::to_string(bus)).c_str());
  return group;
}

bool ParseBusID(const CmpiObjectPath& path, std::uint8_t& bus) {
  const std::string identifier = KeyText(path, "InstanceID");
  const std::size_t dash = identifier.find('-');
  if (dash == std::string::npos) return false;
  bus = static_cast<std::uint8_t>(std::strtol(identifier.c_str() + dash + 1, nullptr, 10));
  return true;
}

bool PortGroupExists(std::uint8_t bus) {
  const PortVector& ports = GetPortsCache();
  return std::any_of(ports.begin(), ports.end(),
                     [bus](const PortEntry& entry) { return entry.bus == bus; });
}

CmpiStatus ListPortGroups(CmpiResult& result, const CmpiObjectPath& /*path*/,
                          const char** properties) {
  return ForEachGroup(result, [&](std::uint8_t bus) { ReturnPortGroup(result, bus, properties); });
}

CmpiStatus ListPortGroupRefs(CmpiResult& result, const CmpiObjectPath& /*path*/) {
  return ForEachGroup(result, [&](std::uint8_t bus) { result.returnData(MakePortGroupRef(bus)); });
}

CmpiStatus GetRelatedPortGroup(CmpiResult& result, const CmpiObjectPath& path,
                               const char** properties) {
  std::uint8_t bus = 0;
  const bool found = ParseBusID(path, bus) && PortGroupExists(bus);
  if (found) ReturnPortGroup(result, bus, properties);
  result.returnDone();
  return found ? CMPI_RC_OK : CMPI_RC_ERR_NOT_FOUND;
}

class PCIPortGroup : virtual public ostInt::CmpiInstanceMI {
 public:
  PCIPortGroup(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    return ListPortGroupRefs(result, path);
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override {
    return ListPortGroups(result, path, properties);
  }

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    return GetRelatedPortGroup(result, path, properties);
  }
};

OSTREL_REGISTER_INSTANCE_PROVIDER(PCIPortGroup);
