// The tables as a provider meets them; most expectations stand in interface_provider.cc.

#include <gtest/gtest.h>

#include <cstddef>

#include "broker/tables.h"
#include "guest.h"

namespace broker {
namespace {

class Interface : public ::testing::TestWithParam<bool> {};

TEST_P(Interface, HoldsItsPromises) {
  std::vector<LogEntry> log;
  Options options;
  if (GetParam()) options.imitate = &Cmpi10();
  options.log = [&](const LogEntry& entry) { log.push_back(entry); };
  ObjectManager manager(options);
  const Outcome outcome = RunChecks(manager, "Guest_Interface");
  ASSERT_EQ(outcome.found.instances.size(), 1U);
  const cim::Instance& report = outcome.found.instances[0];
  EXPECT_GT(*report.Find("Checks")->as_unsigned(), 100U);
  EXPECT_EQ(*report.Find("Version"), cim::Value(std::int32_t{GetParam() ? 100 : 200}));
  for (const ProviderError& error : outcome.errors) ADD_FAILURE() << ToString(error);
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[0].text, "logged");
  EXPECT_EQ(log[1].text, "traced");
  EXPECT_EQ(log[1].id, "part");
  EXPECT_EQ(manager.GetStatistics().clones_alive, 0);
}

TEST_P(Interface, AnswersUpCalls) {
  const auto manager =
      ManagerWith({"Guest_Plain", "Guest_Link"}, {.imitate = GetParam() ? &Cmpi10() : nullptr});
  const Outcome outcome = RunChecks(*manager, "Guest_UpCall");
  for (const ProviderError& error : outcome.errors) ADD_FAILURE() << ToString(error);
  EXPECT_EQ(manager->GetStatistics().clones_alive, 0);
}

TEST_P(Interface, AnswersForEntriesThatAProviderLeavesOut) {
  ObjectManager manager({.imitate = GetParam() ? &Cmpi10() : nullptr});
  manager.Register("Guest_Interface", ProviderLibrary::Open(INTERFACE_PROVIDER));
  Recorder found;
  EXPECT_EQ(
      manager
          .GetInstance("Guest_Interface", manager.ClassPath("Guest_Interface"), std::nullopt, found)
          .code,
      CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(manager.ProviderErrors().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Versions, Interface, ::testing::Bool(), [](const auto& tested) {
  return tested.param ? "Version100" : "Version200";
});

// The slots behind the fields at a table's head, each an address.
template <class Table>
void ExpectFilled(const Table& table, std::size_t first, const char* name) {
  const auto* slots = reinterpret_cast<const void* const*>(&table);
  for (std::size_t i = first; i < sizeof(Table) / sizeof(void*); ++i) {
    EXPECT_NE(slots[i], nullptr) << name << " slot " << i;
  }
}

TEST(Tables, AreFilledToTheLastSlot) {
  const Tables& tables = CurrentTables();
  ExpectFilled(*tables.services, 1, "services");
  ExpectFilled(*tables.encapsulation, 1, "encapsulation");
  ExpectFilled(*tables.system, 1, "system");
  ExpectFilled(*tables.memory, 1, "memory");
  ExpectFilled(*tables.string, 1, "string");
  ExpectFilled(*tables.array, 1, "array");
  ExpectFilled(*tables.path, 1, "path");
  ExpectFilled(*tables.instance, 1, "instance");
  ExpectFilled(*tables.args, 1, "args");
  ExpectFilled(*tables.context, 1, "context");
  ExpectFilled(*tables.result, 1, "result");
  ExpectFilled(*tables.enumeration, 1, "enumeration");
  ExpectFilled(*tables.date_time, 1, "date_time");
  ExpectFilled(*tables.error, 1, "error");
}

TEST(Tables, OfVersion100OfferNoMemoryFunctions) {
  ObjectManager manager({.imitate = &Cmpi10()});
  const CMPIBroker* broker = manager.broker();
  EXPECT_EQ(broker->bft->brokerVersion, 100U);
  EXPECT_EQ(broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements, 0U);
  EXPECT_EQ(broker->eft->ftVersion, 100);
}

TEST(Loading, IsCheapEnoughToRepeat) {
  for (int i = 0; i < 200; ++i) {
    const auto manager = ManagerWith({"Guest_Plain"});
    ASSERT_EQ(Enumerate(*manager, "Guest_Plain").found.instances.size(), 3U);
  }
}

}  // namespace
}  // namespace broker
