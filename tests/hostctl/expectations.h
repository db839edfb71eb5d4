// What tests expect of whole hosts.
//
// Thread rule: on the test's own thread.

#ifndef HOSTCTL_EXPECTATIONS_H_
#define HOSTCTL_EXPECTATIONS_H_

#include <gtest/gtest.h>

#include <string>

#include "hostctl/device_text.h"
#include "hostctl/sources.h"

namespace hostctl_test {

// The device with this name; a test failure and null where there is none.
inline const HostCtl::Hardware::PciDevice* Find(const Devices& devices, const std::string& name) {
  for (const auto& device : devices) {
    if (device->GetName() == name) return device.get();
  }
  ADD_FAILURE() << "no device " << name;
  return nullptr;
}

inline void ExpectSensible(const Devices& devices) { EXPECT_EQ(Complaints(devices), ""); }

}  // namespace hostctl_test

#endif  // HOSTCTL_EXPECTATIONS_H_
