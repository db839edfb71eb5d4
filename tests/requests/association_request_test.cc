// Association requests over all providers, and a plain statement beside them of what belongs to the
// answer.

#include "requests/association_request.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "cim/text.h"
#include "cim/wbem_uri.h"
#include "requests/operations.h"
#include "support/provider_test.h"
#include "support/sample_hosts.h"
#include "support/sanitizers.h"

namespace requests {
namespace {

using Text = std::optional<std::string>;

// ---------------------------------------------------------------------------------------------
// The statement: who may stand at the ends of each association, and the classes above each class.

const std::set<std::string> kSystem = {"OMC_UnitaryComputerSystem"};
const std::set<std::string> kFunctions = {"Ostrel_PCIDevice", "Ostrel_PCIBridge",
                                          "Ostrel_PCIeSwitch"};
const std::set<std::string> kPort = {"Ostrel_PCIPort"};
const std::set<std::string> kDevices = {"Ostrel_PCIDevice", "Ostrel_PCIBridge", "Ostrel_PCIeSwitch",
                                        "Ostrel_PCIPort"};
const std::set<std::string> kGroup = {"Ostrel_PCIPortGroup"};

const std::map<std::string, std::map<std::string, std::set<std::string>>> kEnds = {
    {"Ostrel_PCISystemDevice", {{"GroupComponent", kSystem}, {"PartComponent", kDevices}}},
    {"Ostrel_PCIDeviceConnection", {{"Antecedent", kPort}, {"Dependent", kPort}}},
    {"Ostrel_PCIControlledBy", {{"Antecedent", kFunctions}, {"Dependent", kPort}}},
    {"Ostrel_PCIHostedCollection", {{"Antecedent", kSystem}, {"Dependent", kGroup}}},
    {"Ostrel_PCIMemberOfCollection", {{"Collection", kGroup}, {"Member", kPort}}},
};

const std::map<std::string, std::set<std::string>> kBelow = {
    {"CIM_SystemDevice", {"Ostrel_PCISystemDevice"}},
    {"CIM_Dependency",
     {"Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy", "Ostrel_PCIHostedCollection"}},
    {"CIM_Collection", kGroup},
    {"CIM_LogicalDevice", kDevices},
    {"CIM_ManagedElement",
     {"OMC_UnitaryComputerSystem", "Ostrel_PCIDevice", "Ostrel_PCIBridge", "Ostrel_PCIeSwitch",
      "Ostrel_PCIPort", "Ostrel_PCIPortGroup"}},
};

bool Is(const std::string& class_name, const Text& wanted) {
  if (!wanted || class_name == *wanted) return true;
  const auto below = kBelow.find(*wanted);
  return below != kBelow.end() && below->second.contains(class_name);
}

bool HasName(const std::string& name, const Text& wanted) {
  return !wanted || cim::EqualIgnoringCase(name, *wanted);
}

bool BelongsToAssociators(const AssociationRequest& request, const std::string& association,
                          const std::string& element_class) {
  if (!Is(element_class, request.result_class)) return false;
  for (const auto& [source_end, sources] : kEnds.at(association)) {
    for (const auto& [result_end, results] : kEnds.at(association)) {
      if (source_end != result_end && HasName(source_end, request.role) &&
          HasName(result_end, request.result_role) && sources.contains(request.source.class_name) &&
          results.contains(element_class)) {
        return true;
      }
    }
  }
  return false;
}

std::set<std::string> KeyTexts(const cim::ObjectPath& path) {
  std::set<std::string> texts = {path.class_name};
  for (const auto& [name, value] : path.keys) texts.insert(name + "=" + *value.text());
  return texts;
}

bool BelongsToReferences(const AssociationRequest& request, const cim::ObjectPath& association) {
  return std::any_of(association.keys.begin(), association.keys.end(), [&](const auto& key) {
    return HasName(key.first, request.role) &&
           KeyTexts(*key.second.reference()) == KeyTexts(request.source);
  });
}

// ---------------------------------------------------------------------------------------------

class AssociationRequestTest : public ProviderTest {
 protected:
  // All elements of the host, the system, and a device that is not there.
  std::vector<cim::ObjectPath> Sources() {
    std::vector<cim::ObjectPath> sources = {SystemPath(), DevicePath("none")};
    for (const char* cls : {"PCIDevice", "PCIBridge", "PCIeSwitch", "PCIPort", "PCIPortGroup"}) {
      for (cim::ObjectPath& path : EnumNames(cls).paths) sources.push_back(std::move(path));
    }
    return sources;
  }

  // What the providers of each association return of a source when nothing narrows them:
  // associators, their names, references, their names.
  using Raw = std::map<std::string, std::array<std::vector<cim::ObjectPath>, 4>>;

  Raw AskUnfiltered(const cim::ObjectPath& source) {
    Raw raw;
    for (const auto& [association, ends] : kEnds) {
      std::array<std::vector<cim::ObjectPath>, 4>& paths = raw[association];
      std::size_t i = 0;
      for (const Answer& answer : AssociationRequests(association.substr(7), source)) {
        paths.at(i++) = Paths(answer);
      }
    }
    return raw;
  }

  static std::vector<std::string> Expected(const AssociationRequest& request, const Raw& raw,
                                           std::size_t operation) {
    std::vector<std::string> texts;
    for (const auto& [association, answers] : raw) {
      if (!Is(association, request.association_class)) continue;
      for (const cim::ObjectPath& path : answers.at(operation)) {
        const bool belongs = operation < 2
                                 ? BelongsToAssociators(request, association, path.class_name)
                                 : BelongsToReferences(request, path);
        if (belongs) texts.push_back(ToWbemUri(path));
      }
    }
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  static std::vector<cim::ObjectPath> Paths(const broker::Recorder& found) {
    std::vector<cim::ObjectPath> paths = found.paths;
    for (const cim::Instance& instance : found.instances) paths.push_back(instance.path);
    return paths;
  }

  // Asks all four ways.
  void Compare(const AssociationRequest& request, const Raw& raw) {
    const Operations operations(manager(), AfterFailure::kAskTheOthers);
    std::array<broker::Recorder, 4> found;
    // A source that an association does not serve is a failure for some providers.
    (void)operations.Associators(request, {}, found[0]);
    (void)operations.AssociatorNames(request, found[1]);
    (void)operations.References(request, {}, found[2]);
    (void)operations.ReferenceNames(request, found[3]);
    for (std::size_t i = 0; i < found.size(); ++i) {
      std::vector<std::string> texts;
      for (const cim::ObjectPath& path : Paths(found.at(i))) texts.push_back(ToWbemUri(path));
      std::sort(texts.begin(), texts.end());
      ASSERT_EQ(texts, Expected(request, raw, i))
          << "operation " << i << " of " << ToWbemUri(request.source) << " class "
          << request.association_class.value_or("-") << " result "
          << request.result_class.value_or("-") << " role " << request.role.value_or("-")
          << " result role " << request.result_role.value_or("-");
      found_ += texts.size();
      empty_ += texts.empty() ? 1U : 0U;
    }
  }

  std::size_t found_ = 0;
  std::size_t empty_ = 0;
};

const std::vector<Text> kAssociationClasses = {{},
                                               "Ostrel_PCISystemDevice",
                                               "Ostrel_PCIDeviceConnection",
                                               "Ostrel_PCIControlledBy",
                                               "Ostrel_PCIHostedCollection",
                                               "Ostrel_PCIMemberOfCollection",
                                               "CIM_SystemDevice",
                                               "CIM_Dependency",
                                               "CIM_LogicalDevice"};
const std::vector<Text> kResultClasses = {{},
                                          "Ostrel_PCIPort",
                                          "Ostrel_PCIBridge",
                                          "OMC_UnitaryComputerSystem",
                                          "CIM_Collection",
                                          "CIM_LogicalDevice",
                                          "CIM_ManagedElement"};
const std::vector<Text> kRoles = {{},          "GroupComponent", "partcomponent", "Antecedent",
                                  "Dependent", "Collection",     "Member",        "NoSuchRole"};

TEST_F(AssociationRequestTest, EveryRoleClassAndSourceIsAnsweredAsStated) {
  Use(MixedHost());
  constexpr std::size_t kEvery = kSanitized ? 31 : 7;
  std::size_t number = 0;
  for (const cim::ObjectPath& source : Sources()) {
    const Raw raw = AskUnfiltered(source);
    for (const Text& association_class : kAssociationClasses) {
      for (const Text& result_class : kResultClasses) {
        for (const Text& role : kRoles) {
          for (const Text& result_role : kRoles) {
            const bool narrow = result_class && (role || result_role);
            if (narrow && ++number % kEvery != 0) continue;
            Compare({source, association_class, result_class, role, result_role}, raw);
            if (HasFatalFailure()) return;
          }
        }
      }
    }
  }
  EXPECT_GT(found_, 1000U);
  EXPECT_GT(empty_, 1000U);
}

TEST_F(AssociationRequestTest, SmallHostsAreAnsweredAsStated) {
  std::mt19937 random(7);
  const auto any = [&](const std::vector<Text>& texts) { return texts[random() % texts.size()]; };
  for (std::size_t kind = 0; kind < fake::SampleKinds().size(); ++kind) {
    fake::ForEachHost(kind, 2, [&](const fake::Host& host) {
      if (HasFatalFailure()) return;
      Use(host);
      for (const cim::ObjectPath& source : Sources()) {
        const Raw raw = AskUnfiltered(source);
        for (int i = 0; i < (kSanitized ? 2 : 8) && !HasFatalFailure(); ++i) {
          Compare({source, any(kAssociationClasses), i % 2 == 0 ? Text() : any(kResultClasses),
                   any(kRoles), i % 3 == 0 ? Text() : any(kRoles)},
                  raw);
        }
      }
    });
  }
  EXPECT_GT(found_, 100U);
}

TEST_F(AssociationRequestTest, AnAssociationThatTheSourceIsNoEndOfIsLeftOut) {
  Use(MixedHost());
  const Operations operations(manager(), AfterFailure::kStop);
  broker::Recorder found;
  ASSERT_FALSE(operations.ReferenceNames({PortPath("e-ep"), {}, {}, {}, {}}, found));
  // The provider of the class returns those of all devices.
  EXPECT_GT(ReferenceNames("PCISystemDevice", PortPath("e-ep")).paths.size(), 1U);
  std::vector<std::string> texts;
  for (const cim::ObjectPath& path : found.paths) texts.push_back(path.class_name);
  EXPECT_THAT(texts, testing::UnorderedElementsAre(
                         "Ostrel_PCISystemDevice", "Ostrel_PCIDeviceConnection",
                         "Ostrel_PCIControlledBy", "Ostrel_PCIMemberOfCollection"));
}

}  // namespace
}  // namespace requests
