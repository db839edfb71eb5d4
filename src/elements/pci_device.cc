#include "elements/pci_device.h"

#include <syslog.h>

#include <cstdint>
#include <string>
#include <vector>

#include "frame/header_constants.h"
#include "frame/registration.h"
#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/cmpi_data.h"

using HostCtl::Hardware::PciDevice;
using ostInt::CmpiArray;
using ostInt::CmpiContext;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;

namespace {

constexpr std::uint16_t kUnknown = 0;  // the state of a device is not watched

std::string ElementName(const PciDevice* device) {
  std::string name = ProductName(device);
  name += " #";
  name += std::to_string(device->GetDeviceNumber());
  return name;
}

CmpiArray CapabilityArray(const PciDevice* device) {
  const std::vector<std::uint32_t> capabilities = device->GetCapabilities();
  CmpiArray array(static_cast<CMPICount>(capabilities.size()), CMPI_uint16);
  std::uint8_t position = 0;  // 8 bits, intended: the 257th capability overwrites the first
  for (const std::uint32_t capability : capabilities) {
    array[position++] = static_cast<std::uint16_t>(capability);
  }
  return array;
}

void SetPhysicalSlot(const PciDevice* device, CmpiInstance& instance) {
  try {
    const std::int32_t slot = device->GetPhysicalSlot();
    if (slot != -1) instance.setProperty("PhysicalSlot", static_cast<std::uint8_t>(slot));
  } catch (const HostCtl::Lib::HostCtlException& error) {
    syslog(LOG_ERR, "Report PCI devices failed : %s", error.message.c_str());
  }
}

CmpiInstance MakeDevice(const PciDevice* device, const CmpiObjectPath& path,
                        const char** properties) {
  CmpiInstance instance(path);
  PopulateDeviceDetails(device, instance);
  instance.setPropertyFilter(properties, nullptr);
  return instance;
}

}  // namespace

std::string ProductName(const PciDevice* device) {
  std::string name = device->GetVendorName();
  name += ' ';
  name += device->GetDeviceName();
  return name;
}

void PopulateDeviceDetails(const PciDevice* device, CmpiInstance& instance) {
  const std::string element_name = ElementName(device);
  const std::string parent = ParentIdentifier(device);
  const CmpiArray capabilities = CapabilityArray(device);
  const std::uint16_t class_code = device->GetClassCode();

  instance.setProperty("BusNumber", device->GetBus());
  instance.setProperty("DeviceNumber", device->GetDeviceNumber());
  instance.setProperty("FunctionNumber", device->GetFunction());
  instance.setProperty("ElementName", element_name.c_str());
  instance.setProperty("PrimaryStatus", kUnknown);
  instance.setProperty("HealthState", kUnknown);
  instance.setProperty("EnabledState", kUnknown);
  instance.setProperty("RequestedState", kUnknown);
  instance.setProperty("Capabilities", capabilities);
  instance.setProperty("ClassCode", BaseClass(class_code));
  instance.setProperty("SubsystemID", device->GetSubsystemId());
  instance.setProperty("SubsystemVendorID", device->GetSubsystemVendorId());
  instance.setProperty("PCIDeviceID", device->GetDeviceId());
  instance.setProperty("VendorID", device->GetVendorId());
  instance.setProperty("RevisionID", device->GetRevision());
  instance.setProperty("SubClassCode", SubClass(class_code));
  instance.setProperty("SegmentNumber", device->GetSegment());
  instance.setProperty("ParentDeviceID", parent.c_str());
  SetPhysicalSlot(device, instance);
}

void DeviceList(CmpiResult& result, const char** properties) {
  AnyPlainDevice([&](const PciDevice* device, const CmpiObjectPath& path) {
    result.returnData(MakeDevice(device, path, properties));
    return false;
  });
}

void DeviceListRef(CmpiResult& result) {
  AnyPlainDevice([&](const PciDevice* /*device*/, const CmpiObjectPath& path) {
    result.returnData(path);
    return false;
  });
}

class PCIDevice : virtual public ostInt::CmpiInstanceMI {
 public:
  PCIDevice(const ostInt::CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {
    LoadCache();
  }

  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& result,
                               const CmpiObjectPath& /*path*/) override {
    DeviceListRef(result);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                           const CmpiObjectPath& /*path*/, const char** properties) override {
    DeviceList(result, properties);
    result.returnDone();
    return CMPI_RC_OK;
  }

  CmpiStatus getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                         const CmpiObjectPath& path, const char** properties) override {
    try {
      const std::string identifier = DeviceIdOf(path);
      if (identifier.empty()) return CMPI_RC_ERR_NOT_FOUND;
      // Whatever the device is, it is answered as a plain device (intended).
      if (const PciDevice* device = LookupDevice(identifier)) {
        result.returnData(MakeDevice(device, MakeElementRef(device, kDeviceClass), properties));
      }
    } catch (const HostCtl::Lib::HostCtlException& error) {
      syslog(LOG_ERR, "enumInstance request to retrieve PCI information failed,error %s",
             error.message.c_str());
    }
    result.returnDone();
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_INSTANCE_PROVIDER(PCIDevice);
