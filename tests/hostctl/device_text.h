// Devices as text, so that whole hosts can be compared and a difference is readable.

#ifndef HOSTCTL_DEVICE_TEXT_H_
#define HOSTCTL_DEVICE_TEXT_H_

#include <string>
#include <vector>

#include "hostctl/sources.h"

namespace hostctl_test {

// All that a device answers, in one line.
std::string Describe(const HostCtl::Hardware::PciDevice& device);

// The same without its physical slot, which a dump does not tell.
std::string DescribeWithoutSlot(const HostCtl::Hardware::PciDevice& device);

std::vector<std::string> DescribeAll(const Devices& devices);
std::vector<std::string> DescribeAllWithoutSlots(const Devices& devices);

// What of the answer breaks a rule that holds whatever the source, one line each; empty where all
// hold: addresses ascend, every parent is listed and on a lower bus of the child's domain,
// capability codes ascend within those defined. Asks every device everything.
std::string Complaints(const Devices& devices);

}  // namespace hostctl_test

#endif  // HOSTCTL_DEVICE_TEXT_H_
