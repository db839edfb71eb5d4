// Physical slots: their numbers, what sits in them, and which ports lead to them.

#include <gmock/gmock.h>

#include "pci/hosts.h"
#include "pci/slots.h"

namespace pci_test {
namespace {

using ::testing::SizeIs;

TEST(Slots, ALabelThatIsADecimalNumberHasIt) {
  const std::pair<const char*, std::int32_t> labels[] = {
      {"7", 7}, {"0", 0}, {"8191", 8191}, {"12-3", 12}, {"0-2", 0}, {"2147483647", 2147483647}};
  for (const auto& [label, number] : labels) EXPECT_EQ(pci::SlotNumber(label), number) << label;
}

// Of a label in hexadecimal some look like decimal numbers for a while.
TEST(Slots, AnyOtherLabelHasNone) {
  for (const char* label : {"", "PCI4", "-5", "3slot", "0000010a", "00000010", "0a:03", "10:03",
                            "99999999999", "+3", " 3", "3 ", "0x3", "1.2"}) {
    EXPECT_EQ(pci::SlotNumber(label), -1) << label;
  }
}

TEST(Slots, OfADumpArePhysicalSlotNumbersOfPorts) {
  const pci::Host host = ReadDumpOf({
      Endpoint("0001:00:01.0").Bridge(1, 1).Express(4, 8191),
      Endpoint("0001:00:02.0").Bridge(2, 2).Express(4),  // implements no slot
      Endpoint("0001:00:03.0").Bridge(3, 3).Express(6, 300),
      Endpoint("0001:00:04.0").Bridge(0, 0).Express(6, 301),  // no bus yet
      Endpoint("0001:01:00.0"),
      Endpoint("0001:01:00.1"),
      Endpoint("0001:02:00.0"),
  });
  ASSERT_THAT(host.slots(), SizeIs(2));
  EXPECT_EQ(host.slots()[0].name, "8191");
  EXPECT_EQ(host.slots()[0].number, 8191);
  EXPECT_EQ(host.slots()[0].domain, 1u);
  EXPECT_EQ(At(host, "0001:01:00.0").slot, 0u);
  EXPECT_EQ(At(host, "0001:01:00.1").slot, 0u);
  EXPECT_EQ(At(host, "0001:02:00.0").slot, pci::kNone);
  EXPECT_EQ(At(host, "0001:00:01.0").slot_below, 0u);
  EXPECT_EQ(At(host, "0001:00:02.0").slot_below, pci::kNone);
  EXPECT_EQ(At(host, "0001:00:03.0").slot_below, 1u) << "which is empty";
  EXPECT_EQ(At(host, "0001:00:03.0").slot_capabilities >> 19, 300u);
}

TEST(Slots, ABridgeToManySlotsLeadsToNone) {
  std::vector<pci::Function> functions(2);
  functions[0].address = {0, 0, 1, 0};
  functions[0].buses = {1, 1};
  functions[1].address = {0, 1, 3, 0};
  std::vector<pci::Slot> slots = {
      {.name = "9", .bus = 1, .device = 3, .number = 9},
      {.name = "2", .bus = 1, .device = 2, .number = 2},
      {.name = "3", .bus = 1, .device = 3, .number = 3},
      {.name = "1", .domain = 1, .bus = 1, .device = 3, .number = 1},
  };
  pci::LinkSlots(functions, slots);
  EXPECT_EQ(functions[0].slot_below, pci::kNone);
  ASSERT_NE(functions[1].slot, pci::kNone);
  EXPECT_EQ(slots[functions[1].slot].name, "3") << "of two for one device the first by name";
}

}  // namespace
}  // namespace pci_test
