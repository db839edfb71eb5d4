#include "broker/object_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "cim/wbem_uri.h"
#include "support/system_class.h"
#include "test_providers.h"

namespace broker {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Event = Recorder::Event;

TEST(ObjectManager, StreamsWhatAProviderReturns) {
  const auto manager = ManagerWith({"Test_Plain"});
  const Outcome outcome = Enumerate(*manager, "test_PLAIN");
  EXPECT_EQ(outcome.status, cim::Status{});
  EXPECT_THAT(outcome.found.events,
              ElementsAre(Event::kInstance, Event::kInstance, Event::kInstance, Event::kDone));
  const cim::Instance& second = outcome.found.instances[1];
  EXPECT_EQ(cim::ToWbemUri(second.path), "root/cimv2:Test_Plain.Name=\"two\"");
  EXPECT_THAT(second.properties, ElementsAre(cim::Property{"Name", cim::Value("two")},
                                             cim::Property{"Number", cim::Value(std::uint32_t{2})},
                                             cim::Property{"Text", cim::Value("a \"text\"")}));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST(ObjectManager, ShowsEveryReturnDone) {
  const auto manager = ManagerWith({"Test_Plain"});
  Recorder found;
  EXPECT_TRUE(
      manager->EnumerateInstanceNames("Test_Plain", manager->ClassPath("Test_Plain"), found).ok());
  EXPECT_EQ(found.paths.size(), 3U);
  EXPECT_EQ(found.done_count, 2);
}

TEST(ObjectManager, HandsThePropertyListOn) {
  const auto manager = ManagerWith({"Test_Plain"});
  Recorder found;
  manager->EnumerateInstances("Test_Plain", manager->ClassPath("Test_Plain"),
                              PropertyList{{"NUMBER"}}, found);
  EXPECT_THAT(found.instances[0].properties,
              ElementsAre(cim::Property{"Name", cim::Value("one")},  // a key stays
                          cim::Property{"Number", cim::Value(std::uint32_t{1})}));
}

TEST(ObjectManager, AddsNothingToAnEmptyAnswer) {
  const auto manager = ManagerWith({"Test_Plain"});
  Recorder found;
  EXPECT_TRUE(manager
                  ->GetInstance("Test_Plain", PathWith("Test_Plain", "Name", cim::Value("four")),
                                std::nullopt, found)
                  .ok());
  EXPECT_THAT(found.events, IsEmpty());
}

TEST(ObjectManager, HandsTheProvidersStatusBackWithItsText) {
  const auto manager = ManagerWith({"Test_Plain"});
  Recorder found;
  EXPECT_EQ(
      manager->GetInstance("Test_Plain", manager->ClassPath("Test_Plain"), std::nullopt, found),
      (cim::Status{CMPI_RC_ERR_NO_SUCH_PROPERTY, "no key"}));
}

TEST(ObjectManager, AnswersForClassesWithoutProvider) {
  const auto manager = ManagerWith({"Test_Plain"});
  EXPECT_EQ(Enumerate(*manager, "Ostrel_PCIDevice").status.code, CMPI_RC_ERR_INVALID_CLASS);
  Recorder found;
  EXPECT_EQ(manager->ReferenceNames("Test_Plain", {}, {}, found).code, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST(ObjectManager, HandsOutProviderRecordsWithAStatusOrWithout) {
  const auto manager = ManagerWith({"Test_Plain"});
  cim::Status status;
  CMPIInstanceMI* record = manager->InstanceProvider("Test_Plain", &status);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(manager->InstanceProvider("Test_Plain", nullptr), record);
  EXPECT_EQ(manager->InstanceProvider("Ostrel_PCIDevice", nullptr), nullptr);
  EXPECT_EQ(manager->AssociationProvider("Test_Plain", nullptr), nullptr);
  EXPECT_EQ(manager->AssociationProvider("Ostrel_PCIDevice", &status), nullptr);
  EXPECT_EQ(status, (cim::Status{CMPI_RC_ERR_INVALID_CLASS, "Ostrel_PCIDevice"}));
  EXPECT_EQ(manager->AssociationProvider("Test_Plain", &status), nullptr);
  EXPECT_EQ(status.code, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST(ObjectManager, CarriesInstancesAndQueriesIn) {
  const auto manager = ManagerWith({"Test_Plain"});
  const cim::ObjectPath path = manager->ClassPath("Test_Plain");
  const cim::Instance instance{path,
                               {{"Name", cim::Value("new")}, {"Text", cim::Value("changed")}}};
  Recorder made;
  EXPECT_TRUE(manager->CreateInstance("Test_Plain", path, instance, made).ok());
  EXPECT_EQ(made.paths[0], PathWith("Test_Plain", "Name", cim::Value("new")));
  EXPECT_EQ(manager->ModifyInstance("Test_Plain", path, instance, std::nullopt, made),
            (cim::Status{CMPI_RC_ERR_ACCESS_DENIED, "changed"}));
  EXPECT_TRUE(manager->DeleteInstance("Test_Plain", path, made).ok());
  EXPECT_EQ(manager->ExecQuery("Test_Plain", path, "select *", "WQL", made),
            (cim::Status{CMPI_RC_ERR_INVALID_QUERY, "WQL: select *"}));
}

TEST(ObjectManager, CarriesValuesOfEveryTypeInAndOut) {
  const cim::ObjectPath reference = PathWith("Test_Plain", "Name", cim::Value("one"));
  const cim::Instance embedded{{std::nullopt, "root/cimv2", "Test_Inner", {}},
                               {{"Inner", cim::Value(std::uint8_t{3})}}};
  const cim::Instance instance{
      {"host", "root/cimv2", "Test_Store", {}},
      {{"Boolean", cim::Value(true)},
       {"Char16", cim::Value(u'\u20ac')},
       {"Real32", cim::Value(0.25F)},
       {"Real64", cim::Value(-1e300)},
       {"Uint8", cim::Value(std::uint8_t{255})},
       {"Uint16", cim::Value(std::uint16_t{65535})},
       {"Uint32", cim::Value(std::uint32_t{4294967295U})},
       {"Uint64", cim::Value(std::uint64_t{18446744073709551615U})},
       {"Sint8", cim::Value(std::int8_t{-128})},
       {"Sint16", cim::Value(std::int16_t{-32768})},
       {"Sint32", cim::Value(std::int32_t{-2147483647})},
       {"Sint64", cim::Value(std::int64_t{-9223372036854775807})},
       {"String", cim::Value("text")},
       {"DateTime", cim::Value(cim::DateTime{"20261121120000.250000+060"})},
       {"Reference", cim::Value(reference)},
       {"Embedded", cim::Value(embedded)},
       {"Null", cim::Value::Null(CMPI_sint16)},
       {"Numbers", cim::Value::ArrayOf(
                       CMPI_uint16, {cim::Value(std::uint16_t{1}), cim::Value::Null(CMPI_uint16)})},
       {"Texts", cim::Value::ArrayOf(CMPI_string, {cim::Value("a"), cim::Value("")})},
       {"References", cim::Value::ArrayOf(CMPI_ref, {cim::Value(reference)})},
       {"Empty", cim::Value::ArrayOf(CMPI_dateTime, {})}}};
  const auto manager = ManagerWith({"Test_Store"});
  Recorder unused;
  EXPECT_TRUE(manager->CreateInstance("Test_Store", instance.path, instance, unused).ok());
  const Outcome outcome = Enumerate(*manager, "Test_Store");
  ASSERT_EQ(outcome.found.instances.size(), 1U);
  EXPECT_EQ(outcome.found.instances[0].path, instance.path);
  EXPECT_THAT(outcome.found.instances[0].properties, ElementsAreArray(instance.properties));
  EXPECT_EQ(manager->GetStatistics().clones_alive, 1);
  EXPECT_TRUE(manager->DeleteInstance("Test_Store", instance.path, unused).ok());
  EXPECT_EQ(manager->GetStatistics().clones_alive, 0);
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
}

TEST(ObjectManager, CarriesAssociationFiltersIn) {
  const auto manager = ManagerWith({"Test_Link", "Test_Plain"});
  const cim::ObjectPath source = PathWith("Test_Plain", "Name", cim::Value("one"));
  const AssociationFilter filter{"A", "R", std::nullopt, "RR"};
  Recorder found;
  EXPECT_TRUE(manager->Associators("Test_Link", source, filter, std::nullopt, found).ok());
  EXPECT_EQ(*found.instances[0].Find("Filters"), cim::Value("AR-RR"));
  EXPECT_EQ(*found.instances[0].Find("From"), cim::Value(source));
  EXPECT_TRUE(manager->References("Test_Link", source, filter, std::nullopt, found).ok());
  EXPECT_EQ(*found.instances[1].Find("Filters"), cim::Value("-R--"));
  EXPECT_TRUE(manager->AssociatorNames("Test_Link", source, filter, found).ok());
  EXPECT_TRUE(manager->ReferenceNames("Test_Link", source, filter, found).ok());
  EXPECT_EQ(*found.paths[1].Key("From"), cim::Value(source));
  EXPECT_THAT(manager->AssociationProvidersFor(std::nullopt), ElementsAre("Test_Link"));
  EXPECT_THAT(manager->AssociationProvidersFor("test_link"), ElementsAre("Test_Link"));
}

TEST(ObjectManager, GivesProvidersAContextAPathAndAPropertyList) {
  const auto manager = ManagerWith({"Test_Echo"});
  Recorder found;
  cim::ObjectPath path = PathWith("Test_Echo", "K", cim::Value(std::uint8_t{1}));
  path.name_space.clear();
  EXPECT_TRUE(manager->EnumerateInstances("Test_Echo", path, PropertyList{{"A", "B"}}, found).ok());
  const cim::Instance& echo = found.instances[0];
  EXPECT_EQ(*echo.Find("Path"), cim::Value("root/cimv2:Test_Echo.K=1"));
  EXPECT_EQ(*echo.Find("Listed"), cim::Value("A B "));
  manager->EnumerateInstances("Test_Echo", path, std::nullopt, found);
  EXPECT_EQ(*found.instances[1].Find("Listed"), cim::Value("all"));
}

// ---------------------------------------------------------------------------------------------
// The system class and up-calls

TEST(SystemClass, ServesOneInstanceWithTheNameInLowerCase) {
  ObjectManager manager({.system_name = "HOST.Example"});
  const Outcome outcome = Enumerate(manager, "OMC_UnitaryComputerSystem");
  ASSERT_EQ(outcome.found.instances.size(), 1U);
  EXPECT_EQ(outcome.found.instances[0].path, manager.SystemPath());
  EXPECT_EQ(*manager.SystemPath().Key("Name"), cim::Value("host.example"));
  EXPECT_EQ(*outcome.found.instances[0].Find("CreationClassName"),
            cim::Value("OMC_UnitaryComputerSystem"));
  EXPECT_EQ(*outcome.found.instances[0].Find("ElementName"), cim::Value("host.example"));
  Recorder found;
  EXPECT_TRUE(
      manager.GetInstance("omc_unitarycomputersystem", manager.SystemPath(), std::nullopt, found)
          .ok());
  EXPECT_EQ(found.instances.size(), 1U);
  EXPECT_EQ(manager
                .GetInstance("OMC_UnitaryComputerSystem",
                             PathWith("OMC_UnitaryComputerSystem", "Name", cim::Value("other")),
                             std::nullopt, found)
                .code,
            CMPI_RC_ERR_NOT_FOUND);
}

TEST(SystemClass, IsInTheNamespaceThatIsAsked) {
  ObjectManager manager({.system_name = "h"});
  cim::ObjectPath elsewhere = manager.SystemPath();
  elsewhere.name_space = "root/other";
  Recorder found;
  EXPECT_TRUE(manager.GetInstance(elsewhere.class_name, elsewhere, std::nullopt, found).ok());
  ASSERT_EQ(found.instances.size(), 1U);
  EXPECT_EQ(found.instances[0].path, elsewhere);
}

TEST(SystemClass, GivesTheKeysAndWhatIsListed) {
  ObjectManager manager({.system_name = "h"});
  Recorder found;
  for (const PropertyList& list : {PropertyList{{"elementname"}}, PropertyList{{"Other"}}}) {
    EXPECT_TRUE(
        manager.GetInstance("OMC_UnitaryComputerSystem", manager.SystemPath(), list, found).ok());
  }
  ASSERT_EQ(found.instances.size(), 2U);
  EXPECT_EQ(found.instances[0].properties.size(), 3U);
  EXPECT_EQ(found.instances[1].properties.size(), 2U);
  EXPECT_EQ(found.instances[1].Find("ElementName"), nullptr);
}

TEST(SystemClass, MayHaveAProvider) {
  ObjectManager empty({});
  ReplaceSystemClass(empty, {SystemClassMode::kEmpty, {}});
  EXPECT_THAT(Enumerate(empty, "OMC_UnitaryComputerSystem").found.events,
              ElementsAre(Event::kDone));
  EXPECT_THAT(empty.ProvidersFor("CIM_System"), ElementsAre("OMC_UnitaryComputerSystem"));
  const cim::Status refusal{CMPI_RC_ERR_ACCESS_DENIED, "no"};
  ObjectManager refused({});
  ReplaceSystemClass(refused, {SystemClassMode::kRefused, refusal});
  EXPECT_EQ(Enumerate(refused, "OMC_UnitaryComputerSystem").status, refusal);
}

TEST(SystemClass, IsNotChanged) {
  ObjectManager manager({});
  Recorder found;
  EXPECT_EQ(manager.DeleteInstance("OMC_UnitaryComputerSystem", manager.SystemPath(), found).code,
            CMPI_RC_ERR_NOT_SUPPORTED);
}

Outcome Ask(ObjectManager& manager, const std::string& class_name) {
  Outcome outcome;
  outcome.status = manager.EnumerateInstances(
      "Test_Ask", PathWith("Test_Ask", "Ask", cim::Value(class_name)), std::nullopt, outcome.found);
  outcome.errors = manager.ProviderErrors();
  return outcome;
}

TEST(UpCalls, ReachOtherProvidersAndTheSystemClass) {
  const auto manager = ManagerWith({"Test_Ask", "Test_Plain"}, {.system_name = "h"});
  EXPECT_EQ(Ask(*manager, "Test_Plain").found.instances.size(), 3U);
  EXPECT_EQ(Ask(*manager, "CIM_ComputerSystem").found.instances.size(), 1U);  // below it
  EXPECT_EQ(Ask(*manager, "CIM_PCIPort").found.instances.size(), 0U);  // known, without provider
  EXPECT_EQ(Ask(*manager, "No_Such").status.code, CMPI_RC_ERR_INVALID_CLASS);
  Recorder names;
  EXPECT_TRUE(manager
                  ->EnumerateInstanceNames(
                      "Test_Ask", PathWith("Test_Ask", "Ask", cim::Value("Test_Plain")), names)
                  .ok());
  EXPECT_EQ(names.paths.size(), 3U);
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
}

TEST(UpCalls, CarryTheStatusOfWhomTheyAsk) {
  const auto manager = ManagerWith({"Test_Ask"});
  ReplaceSystemClass(*manager, {.mode = SystemClassMode::kRefused});
  const Outcome outcome = Ask(*manager, "OMC_UnitaryComputerSystem");
  EXPECT_EQ(outcome.status, (cim::Status{CMPI_RC_ERR_FAILED, "system class refused"}));
  EXPECT_THAT(outcome.found.events, IsEmpty());
}

TEST(UpCalls, MayComeBackToTheClassThatAsks) {
  const auto manager = ManagerWith({"Test_Recursive"});
  Recorder found;
  EXPECT_TRUE(
      manager
          ->EnumerateInstances("Test_Recursive",
                               PathWith("Test_Recursive", "Depth", cim::Value(std::uint32_t{20})),
                               std::nullopt, found)
          .ok());
  EXPECT_EQ(found.instances.size(), 21U);
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Factories and cleanup

TEST(Factories, AreCalledWhenFirstAskedAClassAtATime) {
  std::vector<std::string> calls;
  Options options;
  options.around_factory = [&](std::string_view name, ProviderKind kind,
                               const std::function<void()>& call) {
    calls.push_back(std::string(name) + (kind == ProviderKind::kInstance ? " i" : " a"));
    call();
  };
  const auto manager = ManagerWith({"Test_Plain", "Test_Link"}, options);
  EXPECT_THAT(calls, IsEmpty());
  Enumerate(*manager, "Test_Plain");
  Enumerate(*manager, "Test_Plain");
  EXPECT_THAT(calls, ElementsAre("Test_Plain i"));
  Recorder found;
  manager->ReferenceNames("Test_Link", manager->ClassPath("Test_Plain"), {}, found);
  EXPECT_THAT(calls, ElementsAre("Test_Plain i", "Test_Link a"));
  Enumerate(*manager, "Test_Link");
  EXPECT_THAT(calls, ElementsAre("Test_Plain i", "Test_Link a", "Test_Link i"));
}

TEST(Factories, ThatThrowAreTriedAgain) {
  const auto manager = ManagerWith({"Test_ThrowingFactory"});
  const Outcome first = Enumerate(*manager, "Test_ThrowingFactory");
  EXPECT_EQ(first.status.code, CMPI_RC_ERR_FAILED);
  EXPECT_THAT(first.status.message, HasSubstr("the factory is not ready"));
  EXPECT_TRUE(Enumerate(*manager, "Test_ThrowingFactory").status.ok());
}

TEST(Factories, ThatAnswerNullFail) {
  const auto manager = ManagerWith({"Test_NullFactory"});
  EXPECT_EQ(Enumerate(*manager, "Test_NullFactory").status,
            (cim::Status{CMPI_RC_ERR_FAILED, "factory of Test_NullFactory: no provider"}));
}

TEST(Factories, ThatTheLibraryLacksAreNotSupported) {
  const auto manager = ManagerWith({"Test_Absent"});
  EXPECT_EQ(Enumerate(*manager, "Test_Absent").status.code, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST(Factories, MayComeFromTheProcessItself) {
  ObjectManager manager({});
  manager.Register("Some_Class",
                   ProviderLibrary::FromResolver([](const char*) -> void* { return nullptr; }));
  EXPECT_EQ(Enumerate(manager, "Some_Class").status.code, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST(Libraries, ThatDoNotOpenTellWhy) {
  try {
    ProviderLibrary::Open("/nonexistent/library.so");
    ADD_FAILURE() << "opened";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("/nonexistent/library.so"));
  }
}

TEST(Libraries, AreNotSearchedByEveryAssociationRequest) {
  int searches = 0;
  ObjectManager manager({});
  manager.Register("Some_Class", ProviderLibrary::FromResolver([&](const char*) -> void* {
                     ++searches;
                     return nullptr;
                   }));
  const int before = searches;
  EXPECT_THAT(manager.AssociationProvidersFor(std::nullopt), IsEmpty());
  EXPECT_EQ(searches, before);
}

TEST(Cleanup, DropsTheProviderUntilItIsAskedAgain) {
  int factory_calls = 0;
  Options options;
  options.around_factory = [&](std::string_view, ProviderKind, const auto& call) {
    ++factory_calls;
    call();
  };
  const auto manager = ManagerWith({"Test_Plain"}, options);
  EXPECT_EQ(manager->Cleanup("Test_Plain", ProviderKind::kInstance, false).code,
            CMPI_RC_ERR_NOT_FOUND);
  Enumerate(*manager, "Test_Plain");
  EXPECT_TRUE(manager->Cleanup("Test_Plain", ProviderKind::kInstance, false).ok());
  Enumerate(*manager, "Test_Plain");
  EXPECT_EQ(factory_calls, 2);
}

TEST(Cleanup, LeavesAProviderThatMustStay) {
  const auto manager = ManagerWith({"Test_Stay"});
  Recorder found;
  manager->EnumerateInstanceNames("Test_Stay", manager->ClassPath("Test_Stay"), found);
  EXPECT_EQ(manager->Cleanup("Test_Stay", ProviderKind::kInstance, false).code,
            CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(manager->Cleanup("Test_Stay", ProviderKind::kInstance, true).code,
            CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(manager->Cleanup("Test_Stay", ProviderKind::kInstance, true).code,
            CMPI_RC_ERR_NOT_FOUND);
}

TEST(Cleanup, AnExceptionIsTheProvidersError) {
  const auto manager = ManagerWith({"Test_ThrowingCleanup"});
  Enumerate(*manager, "Test_ThrowingCleanup");
  EXPECT_EQ(manager->Cleanup("Test_ThrowingCleanup", ProviderKind::kInstance, false),
            (cim::Status{CMPI_RC_ERR_FAILED, "thrown on cleanup"}));
  const auto errors = manager->ProviderErrors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(ToString(errors[0]),
            "cleanup of Test_ThrowingCleanup: cleanup: an exception left the provider: thrown on "
            "cleanup");
  // The manager's end cleans up once more.
}

class CleaningSink : public ResultSink {
 public:
  explicit CleaningSink(ObjectManager& manager) : manager_(manager) {}
  void OnInstance(cim::Instance&&) override {
    status = manager_.Cleanup("Test_Plain", ProviderKind::kInstance, true);
  }
  cim::Status status;

 private:
  ObjectManager& manager_;
};

TEST(Cleanup, RefusesWhileARequestRuns) {
  const auto manager = ManagerWith({"Test_Plain"});
  CleaningSink sink(*manager);
  EXPECT_TRUE(
      manager
          ->EnumerateInstances("Test_Plain", manager->ClassPath("Test_Plain"), std::nullopt, sink)
          .ok());
  EXPECT_EQ(sink.status, (cim::Status{CMPI_RC_ERR_FAILED, "Test_Plain is in use"}));
}

// ---------------------------------------------------------------------------------------------
// Sinks and memory

class ThrowingSink : public ResultSink {
 public:
  void OnInstance(cim::Instance&&) override {
    ++calls;
    throw std::runtime_error("full");
  }
  int calls = 0;
};

TEST(Sinks, ThatThrowEndTheOperationWithTheirException) {
  const auto manager = ManagerWith({"Test_Plain"});
  ThrowingSink sink;
  EXPECT_THROW(manager->EnumerateInstances("Test_Plain", manager->ClassPath("Test_Plain"),
                                           std::nullopt, sink),
               std::runtime_error);
  EXPECT_EQ(sink.calls, 1);
  EXPECT_TRUE(Enumerate(*manager, "Test_Plain").status.ok());
}

class CountingSink : public ResultSink {
 public:
  void OnInstanceView(const InstanceView& instance) override {
    sum += instance.Unsigned("number").value_or(0);
    same = same && instance.path().class_name() == "Test_Long" &&
           instance.Text("A") == "some text of a usual length";
    wrong = wrong || instance.Unsigned("A") || instance.Text("Number") || instance.Text("Absent") ||
            instance.Unsigned("Absent");
  }
  std::uint64_t sum = 0;
  bool same = true;
  bool wrong = false;
};

std::uint64_t PeakOf(bool mark, std::uint32_t count) {
  const auto manager = ManagerWith({"Test_Long"});
  cim::ObjectPath path = PathWith("Test_Long", "Count", cim::Value(count));
  path.keys.emplace_back("Mark", cim::Value(std::uint32_t{mark ? 1U : 0U}));
  CountingSink sink;
  EXPECT_TRUE(manager->EnumerateInstances("Test_Long", path, std::nullopt, sink).ok());
  EXPECT_EQ(sink.sum, std::uint64_t{count} * (count - 1) / 2);
  EXPECT_TRUE(sink.same);
  EXPECT_FALSE(sink.wrong);
  EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
  return manager->GetStatistics().peak_call_bytes;
}

TEST(Memory, StaysFlatBetweenMarkAndRelease) {
  EXPECT_EQ(PeakOf(true, 10), PeakOf(true, 5000));
  EXPECT_LT(PeakOf(true, 5000), 8192U);
  EXPECT_GT(PeakOf(false, 5000), 1000 * PeakOf(true, 5000) / 10);
}

TEST(Memory, OfAnOlderObjectOutlivesAMark) {
  const auto manager = ManagerWith({"Test_Grow"});
  const Outcome outcome = Enumerate(*manager, "Test_Grow");
  ASSERT_EQ(outcome.found.instances.size(), 1U);
  ASSERT_EQ(outcome.found.instances[0].properties.size(), 101U);
  for (int i = 0; i < 100; ++i) {
    const std::string name = "Property" + std::to_string(i);
    EXPECT_EQ(*outcome.found.instances[0].Find(name), cim::Value(name));
  }
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST(Memory, OfALeakedCloneIsCountedAndFreedAtTheEnd) {
  const auto manager = ManagerWith({"Test_Leak"});
  Enumerate(*manager, "Test_Leak");
  EXPECT_EQ(Enumerate(*manager, "Test_Leak").found.instances.size(), 2U - 1U);
  EXPECT_EQ(manager->GetStatistics().clones_alive, 2);
}

TEST(Providers, OfAClassAreFoundByItsAncestors) {
  ObjectManager manager({});
  const auto none = ProviderLibrary::FromResolver([](const char*) -> void* { return nullptr; });
  for (const char* name : {"Ostrel_PCIDevice", "Ostrel_PCIPort"}) manager.Register(name, none);
  EXPECT_THAT(manager.ProvidersFor("cim_pcidevice"), ElementsAre("Ostrel_PCIDevice"));
  EXPECT_THAT(manager.ProvidersFor("CIM_ManagedElement"),
              ElementsAre("Ostrel_PCIDevice", "Ostrel_PCIPort", "OMC_UnitaryComputerSystem"));
  EXPECT_THAT(manager.ProvidersFor("CIM_Dependency"), IsEmpty());
}

}  // namespace
}  // namespace broker
