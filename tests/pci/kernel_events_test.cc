#include "pci/kernel_events.h"

#include <gtest/gtest.h>

#include <string>

namespace pci {
namespace {

using std::string_literals::operator""s;

const std::string kAdded =
    "add@/devices/pci0000:00/0000:00:04.0/0000:09:00.0\0ACTION=add\0"
    "DEVPATH=/devices/pci0000:00/0000:00:04.0/0000:09:00.0\0SUBSYSTEM=pci\0SEQNUM=1204\0"s;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

TEST(KernelEvents, FunctionsThatComeAndGoCount) {
  EXPECT_TRUE(IsComingOrGoing(kAdded));
  EXPECT_TRUE(IsComingOrGoing(Replaced(kAdded, "ACTION=add", "ACTION=remove")));
}

TEST(KernelEvents, DriversAndOtherDevicesDoNot) {
  EXPECT_FALSE(IsComingOrGoing(Replaced(kAdded, "ACTION=add", "ACTION=bind")));
  EXPECT_FALSE(IsComingOrGoing(Replaced(kAdded, "ACTION=add", "ACTION=change")));
  EXPECT_FALSE(IsComingOrGoing(Replaced(kAdded, "SUBSYSTEM=pci", "SUBSYSTEM=pci_bus")));
  EXPECT_FALSE(IsComingOrGoing(Replaced(kAdded, "SUBSYSTEM=pci", "SUBSYSTEM=net")));
  EXPECT_FALSE(IsComingOrGoing(Replaced(kAdded, "ACTION=add", "XACTION=add")));
}

TEST(KernelEvents, MessagesMayEndAnywhere) {
  for (std::size_t size = 0; size < kAdded.size(); ++size) {
    const bool has_subsystem = size >= kAdded.find("SUBSYSTEM=pci") + 13;
    EXPECT_EQ(IsComingOrGoing(kAdded.substr(0, size)), has_subsystem) << size;
  }
  EXPECT_FALSE(IsComingOrGoing("\0\0\0"s));
}

TEST(KernelEvents, WhereNothingHappensThereIsNothingToRead) {
  const KernelEvents events;
  EXPECT_GE(events.descriptor(), 0);
  (void)events.Read();  // whatever this machine's devices do
}

}  // namespace
}  // namespace pci
