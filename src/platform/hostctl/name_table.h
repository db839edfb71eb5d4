// Names of vendors and devices, each looked up once and shared by all functions with the same ids.
// Thread rule: one thread fills it.

#ifndef PLATFORM_HOSTCTL_NAME_TABLE_H_
#define PLATFORM_HOSTCTL_NAME_TABLE_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/hostctl/access.h"

namespace HostCtl::Linux {

class NameTable {
 public:
  // `access` looks the names up and must outlive the table.
  explicit NameTable(const Access& access) : access_(access) {}

  // Places of the names in the vector that TakeNames gives. Throw HostCtlException.
  std::uint32_t Vendor(std::uint16_t vendor);
  std::uint32_t Device(std::uint16_t vendor, std::uint16_t device);

  std::vector<std::string> TakeNames() { return std::move(names_); }

 private:
  std::uint32_t Add(std::string name);

  const Access& access_;
  std::vector<std::string> names_;
  std::unordered_map<std::uint16_t, std::uint32_t> vendors_;
  std::unordered_map<std::uint32_t, std::uint32_t> devices_;
};

}  // namespace HostCtl::Linux

#endif  // PLATFORM_HOSTCTL_NAME_TABLE_H_
