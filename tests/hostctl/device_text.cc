#include "hostctl/device_text.h"

#include <algorithm>
#include <functional>
#include <set>
#include <sstream>
#include <tuple>

namespace hostctl_test {
namespace {

using HostCtl::Hardware::PciDevice;

// The whole address: the segment is only the low 16 bits of a domain.
auto Place(const PciDevice& device) {
  return std::tuple(std::stoul(device.GetName(), nullptr, 16), device.GetBus(),
                    device.GetDeviceNumber(), device.GetFunction());
}

std::string ParentComplaint(const PciDevice& device, const std::set<std::string>& names) {
  const auto parent = device.GetParent();
  if (!parent) return "";
  if (!names.contains(parent->GetName())) return "the parent is not listed";
  if (std::get<0>(Place(*parent)) != std::get<0>(Place(device))) return "a parent elsewhere";
  return parent->GetBus() < device.GetBus() ? "" : "the parent is on no lower bus";
}

std::string CapabilityComplaint(const PciDevice& device) {
  const auto codes = device.GetCapabilities();
  if (!std::is_sorted(codes.begin(), codes.end(), std::less_equal<>())) {
    return "codes do not ascend";
  }
  if (!codes.empty() && (codes.front() < 2 || codes.back() > 15)) return "an undefined code";
  const bool express = device.HasCapability(0x10);
  return express == (device.GetPcieDeviceType() >= 0) ? "" : "a port type without PCI Express";
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

std::string Complaints(const Devices& devices) {
  std::string text;
  std::set<std::string> names;
  for (const auto& device : devices) names.insert(device->GetName());
  // In the order of <=: none twice.
  const bool ascending = std::is_sorted(
      devices.begin(), devices.end(),
      [](const auto& left, const auto& right) { return Place(*left) <= Place(*right); });
  if (!ascending) text += "addresses do not ascend\n";
  for (const auto& device : devices) {
    const std::string all = ": " + Describe(*device) + '\n';
    for (const auto& complaint : {ParentComplaint(*device, names), CapabilityComplaint(*device)}) {
      if (!complaint.empty()) text += complaint + all;
    }
  }
  return text;
}

}  // namespace hostctl_test
