#include "elements/pcie_switch.h"

#include <syslog.h>

#include <memory>
#include <string>

#include "cache/topology_cache.h"
#include "elements/pci_device.h"
#include "frame/header_constants.h"
#include "frame/object_paths.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using HostCtl::Hardware::PciDevice;
using HostCtl::Lib::HostCtlException;
using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

CmpiInstance MakeSwitch(const PciDevice* device, const CmpiObjectPath& path,
                        const char** properties) {
  CmpiInstance instance(path);
  PopulateDeviceDetails(device, instance);
  instance.setProperty("NumberOfPorts", DownstreamPortsCount(device));
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

// Calls visit(device, path) for each switch, in the order of (a copy of) the switch list.
template <typename Visit>
void ForEachSwitch(Visit visit) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): a copy
  const PortPointers switches = GetSwitchCache();
  for (const PortEntry* entry : switches) {
    const ostInt::CmpiElementScope scope;
    visit(entry->device, MakeElementRef(entry->device, kSwitchClass));
  }
}

}  // namespace

bool IsChildOf(const PciDevice* parent, PciDevice* device) {
  try {
    const std::unique_ptr<PciDevice> actual = device->GetParent();
    if (actual == nullptr) return false;
    const std::string identifier = actual->GetName();
    return identifier == parent->GetName();
  } catch (const HostCtlException& error) {
    syslog(LOG_ERR, "Check Child of PCIeSwitch class failed,reporting false, error %s",
           error.message.c_str());
    return false;
  }
}

std::uint16_t DownstreamPortsCount(const PciDevice* device) {
  std::uint16_t count = 0;
  try {
    for (const auto& candidate : GetDevicesCache()) {
      if (IsChildOf(device, candidate.get())) ++count;
    }
  } catch (const HostCtlException& error) {
    syslog(LOG_ERR, "Fetching ports of PCIeSwitch class failed,returning incomplete set, error %s",
           error.message.c_str());
  }
  return count;
}

class PCIeSwitch : virtual public ostInt::CmpiInstanceMI {
 public:
  PCIeSwitch(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    ForEachSwitch(
        [&](const PciDevice* /*device*/, const CmpiObjectPath& path) { result.returnData(path); });
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    ForEachSwitch([&](const PciDevice* device, const CmpiObjectPath& path) {
      result.returnData(MakeSwitch(device, path, properties));
    });
    result.returnDone();
    return CMPI_RC_OK;
  }

  // Answers any device as a switch and never calls returnDone() (both intended).
  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    try {
      const std::string identifier = DeviceIdOf(path);
      if (identifier.empty()) return CMPI_RC_ERR_NOT_FOUND;
      const PciDevice* device = LookupDevice(identifier);
      if (device == nullptr) return CMPI_RC_OK;
      result.returnData(MakeSwitch(device, MakeElementRef(device, kSwitchClass), properties));
    } catch (const HostCtlException& error) {
      syslog(LOG_ERR, "enumInstance request to retrieve PCI information failed,error %s",
             error.message.c_str());
    }
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_INSTANCE_PROVIDER(PCIeSwitch);
