#include "hostctl/device_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <tuple>

namespace hostctl_test {
namespace {

using HostCtl::Hardware::PciDevice;

auto Place(const PciDevice& device) {
  return std::tuple(device.GetSegment(), device.GetBus(), device.GetDeviceNumber(),
                    device.GetFunction());
}

void ExpectSensibleParent(const PciDevice& device, const std::set<std::string>& names) {
  const auto parent = device.GetParent();
  if (!parent) return;
  EXPECT_TRUE(names.contains(parent->GetName())) << Describe(device);
  EXPECT_EQ(parent->GetSegment(), device.GetSegment());
  EXPECT_LT(parent->GetBus(), device.GetBus());
}

void ExpectSensibleCapabilities(const PciDevice& device) {
  const auto codes = device.GetCapabilities();
  EXPECT_TRUE(std::is_sorted(codes.begin(), codes.end(), std::less_equal<>())) << Describe(device);
  for (const auto code : codes) EXPECT_TRUE(code >= 2 && code <= 15) << Describe(device);
  EXPECT_EQ(device.GetPcieDeviceType() >= 0, device.HasCapability(0x10)) << Describe(device);
}

}  // namespace

std::string DescribeWithoutSlot(const PciDevice& device) {
  std::ostringstream text;
  text << std::hex << device.GetName() << " at " << device.GetSegment() << ':' << +device.GetBus()
       << ':' << +device.GetDeviceNumber() << '.' << +device.GetFunction() << " id "
       << device.GetVendorId() << ':' << device.GetDeviceId() << " subsystem "
       << device.GetSubsystemVendorId() << ':' << device.GetSubsystemId() << " class "
       << device.GetClassCode() << " rev " << +device.GetRevision() << " secondary "
       << +device.GetSecondaryBus() << " port " << std::dec << device.GetPcieDeviceType();
  const auto parent = device.GetParent();
  text << " parent " << (parent ? parent->GetName() : "none") << " codes";
  for (const auto code : device.GetCapabilities()) text << ' ' << code;
  text << " ids";
  for (unsigned id = 0; id < 256; ++id) {
    if (device.HasCapability(static_cast<std::uint8_t>(id))) text << ' ' << id;
  }
  text << " (" << device.GetVendorName() << ", " << device.GetDeviceName() << ')';
  return text.str();
}

std::string Describe(const PciDevice& device) {
  return DescribeWithoutSlot(device) + " slot " + std::to_string(device.GetPhysicalSlot());
}

std::vector<std::string> DescribeAll(const Devices& devices) {
  std::vector<std::string> texts;
  for (const auto& device : devices) texts.push_back(Describe(*device));
  return texts;
}

std::vector<std::string> DescribeAllWithoutSlots(const Devices& devices) {
  std::vector<std::string> texts;
  for (const auto& device : devices) texts.push_back(DescribeWithoutSlot(*device));
  return texts;
}

void ExpectSensible(const Devices& devices) {
  std::set<std::string> names;
  for (const auto& device : devices) {
    EXPECT_TRUE(names.insert(device->GetName()).second) << device->GetName() << " is listed twice";
  }
  const bool ascending =
      std::is_sorted(devices.begin(), devices.end(),
                     [](const auto& a, const auto& b) { return Place(*a) < Place(*b); });
  EXPECT_TRUE(ascending);
  for (const auto& device : devices) {
    ExpectSensibleParent(*device, names);
    ExpectSensibleCapabilities(*device);
  }
}

}  // namespace hostctl_test
