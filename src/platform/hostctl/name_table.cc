#include "platform/hostctl/name_table.h"

namespace HostCtl::Linux {

std::uint32_t NameTable::Add(std::string name) {
  names_.push_back(std::move(name));
  return static_cast<std::uint32_t>(names_.size() - 1);
}

std::uint32_t NameTable::Vendor(std::uint16_t vendor) {
  const auto [entry, added] = vendors_.try_emplace(vendor);
  if (added) entry->second = Add(access_.VendorName(vendor));
  return entry->second;
}

std::uint32_t NameTable::Device(std::uint16_t vendor, std::uint16_t device) {
  const auto [entry, added] = devices_.try_emplace(std::uint32_t{vendor} << 16 | device);
  if (added) entry->second = Add(access_.DeviceName(vendor, device));
  return entry->second;
}

}  // namespace HostCtl::Linux
