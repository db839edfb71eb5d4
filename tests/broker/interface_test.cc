// The tables as a provider meets them; most expectations stand in interface_provider.cc.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <type_traits>
#include <utility>

#include "broker/tables.h"
#include "test_providers.h"

namespace broker {
namespace {

class Interface : public ::testing::TestWithParam<bool> {};

TEST_P(Interface, HoldsItsPromises) {
  ObjectManager manager({.imitate = GetParam() ? &Cmpi10() : nullptr});
  const Outcome outcome =
      RunChecks(manager, "Test_Interface", cim::Value(cim::DateTime{"20261121120000.250000+060"}));
  ASSERT_EQ(outcome.found.instances.size(), 1U);
  const cim::Instance& report = outcome.found.instances[0];
  EXPECT_EQ(*report.Find("Version"), cim::Value(std::int32_t{GetParam() ? 100 : 200}));
  for (const ProviderError& error : outcome.errors) ADD_FAILURE() << ToString(error);
  EXPECT_EQ(manager.GetStatistics().clones_alive, 0);
}

TEST_P(Interface, AnswersUpCalls) {
  const auto manager = ManagerWith({"Test_Plain"}, {.imitate = GetParam() ? &Cmpi10() : nullptr});
  const Outcome outcome = RunChecks(*manager, "Test_UpCall");
  for (const ProviderError& error : outcome.errors) ADD_FAILURE() << ToString(error);
}

TEST_P(Interface, AnswersForEntriesThatAProviderLeavesOut) {
  ObjectManager manager({.imitate = GetParam() ? &Cmpi10() : nullptr});
  manager.Register("Test_Interface", ProviderLibrary::Open(INTERFACE_PROVIDER));
  Recorder found;
  EXPECT_EQ(
      manager
          .GetInstance("Test_Interface", manager.ClassPath("Test_Interface"), std::nullopt, found)
          .code,
      CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(manager.ProviderErrors().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Versions, Interface, ::testing::Bool(), [](const auto& tested) {
  return tested.param ? "Version100" : "Version200";
});

// ---------------------------------------------------------------------------------------------
// What is not served

template <class T>
T Nothing(CMPIStatus* rc) {
  if constexpr (std::is_same_v<T, CMPIStatus*>) {
    return rc;
  } else {
    return T{};
  }
}

// An answer that holds nothing; the code where it is one.
CMPIrc CodeOf(const CMPIStatus& status) { return status.rc; }
CMPIrc CodeOf(int code) { return static_cast<CMPIrc>(code); }
CMPIrc CodeOf(const CMPIData& data) {
  EXPECT_EQ(data.state, CMPI_badValue | CMPI_nullValue);
  return CMPI_RC_ERR_NOT_SUPPORTED;
}
template <class T>
CMPIrc CodeOf(T pointer_or_number) {
  EXPECT_EQ(pointer_or_number, T{});
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

template <class Result, class... Arguments, class Slot>
void ExpectRefusal(Slot slot) {
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  if constexpr (std::is_void_v<Result>) {
    slot(Nothing<Arguments>(&rc)...);
  } else {
    EXPECT_EQ(CodeOf(slot(Nothing<Arguments>(&rc)...)), CMPI_RC_ERR_NOT_SUPPORTED);
  }
  const bool fills_in_a_status = (std::is_same_v<Arguments, CMPIStatus*> || ...);
  EXPECT_EQ(rc.rc, fills_in_a_status ? CMPI_RC_ERR_NOT_SUPPORTED : CMPI_RC_OK);
  slot(Nothing<Arguments>(nullptr)...);  // every rc may be null
}
template <class Result, class... Arguments>
void ExpectNotSupported(Result (*slot)(Arguments...)) {
  ExpectRefusal<Result, Arguments...>(slot);
}
template <class Result, class... Arguments>
void ExpectNotSupported(Result (*slot)(Arguments..., ...)) {
  ExpectRefusal<Result, Arguments...>(slot);
}

// Members of a table, from `position` on: fields, then functions, of which all but those at the
// `served` positions refuse whatever they are asked.
class Members {
 public:
  Members(const char* table, std::set<int> served) : table_(table), served_(std::move(served)) {}

  template <class... Types>
  void Check(const Types&... members) {
    (CheckOne(members), ...);
    EXPECT_TRUE(served_.empty() || *served_.rbegin() < position_) << table_;
  }

 private:
  template <class T>
  void CheckOne(const T& member) {
    SCOPED_TRACE(std::string(table_) + " " + std::to_string(position_));
    const bool served = served_.contains(position_++);
    if constexpr (std::is_function_v<std::remove_pointer_t<T>>) {
      ASSERT_NE(member, nullptr);
      if (!served) ExpectNotSupported(member);
    } else {
      ASSERT_FALSE(served);
    }
  }

  const char* table_;
  std::set<int> served_;
  int position_ = 0;
};

// Positions are the interface's.
TEST(Tables, AnswerNotSupportedForAllThatIsNotServed) {
  {
    const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u] = broker_services;
    Members("services", {7, 13})
        .Check(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u);
  }
  {
    const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u] =
        broker_encapsulation;
    Members("encapsulation", {1, 2, 4, 5, 10, 11})
        .Check(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u);
  }
  {
    const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u] = broker_system;
    Members("system", {}).Check(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u);
  }
  {
    const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o] = broker_memory;
    Members("memory", {1, 2}).Check(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o);
  }
  {
    const auto& [a, b, c, d] = string_table;
    Members("string", {3}).Check(a, b, c, d);
  }
  {
    const auto& [a, b, c, d, e, f, g] = array_table;
    Members("array", {6}).Check(a, b, c, d, e, f, g);
  }
  {
    const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t] = path_table;
    Members("path", {4, 8, 9, 10, 11, 12})
        .Check(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t);
  }
  {
    const auto& [a, b, c, d, e, f, g, h, i, j, k] = instance_table;
    Members("instance", {1, 2, 3, 6, 7, 8}).Check(a, b, c, d, e, f, g, h, i, j, k);
  }
  {
    const auto& [a, b, c, d, e, f, g] = context_table;
    Members("context", {}).Check(a, b, c, d, e, f, g);
  }
  {
    const auto& [a, b, c, d, e, f, g, h] = result_table;
    Members("result", {4, 5, 6}).Check(a, b, c, d, e, f, g, h);
  }
  {
    const auto& [a, b, c, d, e, f] = enumeration_table;
    Members("enumeration", {3, 4}).Check(a, b, c, d, e, f);
  }
  {
    const auto& [a, b, c, d, e, f] = date_time_table;
    Members("date_time", {4}).Check(a, b, c, d, e, f);
  }
}

TEST(Tables, ClaimNoMoreThanIsServed) {
  EXPECT_EQ(broker_services.brokerCapabilities,
            unsigned{CMPI_MB_Class_0 | CMPI_MB_Supports_MemEnhancements});
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
    const auto manager = ManagerWith({"Test_Plain"});
    ASSERT_EQ(Enumerate(*manager, "Test_Plain").found.instances.size(), 3U);
  }
}

}  // namespace
}  // namespace broker
