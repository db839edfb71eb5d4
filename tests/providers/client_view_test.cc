// What a client sees, whatever object manager stands between: elements with their keys,
// associations with both ends, the hosting system at the end of them, and every element under its
// own name.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "broker/result_sink.h"
#include "cim/schema.h"
#include "cim/wbem_uri.h"
#include "providers/linked_bench.h"
#include "providers/provider_run.h"
#include "providers/varied_hosts.h"
#include "support/object_manager_kind.h"

namespace {

using broker::PropertyList;
using broker::Recorder;
using cim::Instance;
using cim::ObjectPath;
using cim::ToWbemUri;

constexpr const char* kPort = "Ostrel_PCIPort";

// Of the host with every kind of device.
class ClientView : public ::testing::Test {
 protected:
  ClientView() : host_(RichHost()), run_(host_, LinkedBench().start()) {}
  ~ClientView() override { EXPECT_EQ(run_.Faults(host_.devices.size()), ""); }

  std::vector<Instance> Enumerate(const std::string& class_name,
                                  const PropertyList& properties = {}) {
    Recorder found;
    const cim::Status status = manager().EnumerateInstances(
        class_name, manager().ClassPath(class_name), properties, found);
    EXPECT_TRUE(status.ok()) << cim::ToString(status);
    return found.instances;
  }
  std::vector<Instance> Associators(const std::string& association, const ObjectPath& source) {
    Recorder found;
    const cim::Status status = manager().Associators(association, source, {}, {}, found);
    EXPECT_TRUE(status.ok()) << cim::ToString(status);
    return found.instances;
  }
  cim::Status Get(const ObjectPath& path, const PropertyList& properties, Recorder& found) {
    return manager().GetInstance(path.class_name, path, properties, found);
  }

  broker::ObjectManager& manager() { return run_.manager(); }

 private:
  const fake::Host host_;
  ProviderRun run_;
};

// The instance's keys are properties of it, with the values that its path says.
void ExpectKeys(const Instance& instance) {
  const cim::schema::Class* cls = cim::schema::FindClass(instance.path.class_name);
  ASSERT_NE(cls, nullptr);
  for (const std::string_view name : cim::schema::KeyNames(*cls)) {
    const cim::Value* key = instance.path.Key(name);
    const cim::Value* property = instance.Find(name);
    ASSERT_TRUE(key != nullptr && property != nullptr) << name;
    EXPECT_FALSE(property->is_null()) << name;
    EXPECT_EQ(*property, *key) << name;
  }
}

TEST_F(ClientView, EveryInstanceHasItsKeys) {
  for (const char* class_name : kProviderClasses) {
    for (const PropertyList& properties : {PropertyList(), PropertyList({"ElementName"})}) {
      const std::vector<Instance> instances = Enumerate(class_name, properties);
      EXPECT_FALSE(instances.empty()) << class_name;
      for (const Instance& instance : instances) {
        SCOPED_TRACE(ToWbemUri(instance.path));
        ExpectKeys(instance);
      }
    }
  }
}

TEST_F(ClientView, EveryAssociationHasBothEnds) {
  for (int i = kFirstAssociation; i < kProviderClassCount; ++i) {
    for (const Instance& association : Enumerate(kProviderClasses[i])) {
      SCOPED_TRACE(ToWbemUri(association.path));
      ASSERT_EQ(association.properties.size(), 2U);
      for (const cim::Property& end : association.properties) {
        ASSERT_NE(end.value.reference(), nullptr) << end.name;
        EXPECT_FALSE(end.value.reference()->keys.empty()) << end.name;
      }
    }
  }
}

TEST_F(ClientView, TheHostingSystemIsThere) {
  const std::map<std::string, std::string> association_of = {
      {"Ostrel_PCIDevice", "Ostrel_PCISystemDevice"},
      {kPort, "Ostrel_PCISystemDevice"},
      {"Ostrel_PCIPortGroup", "Ostrel_PCIHostedCollection"}};
  for (const auto& [class_name, association] : association_of) {
    for (const Instance& element : Enumerate(class_name)) {
      const std::vector<Instance> systems = Associators(association, element.path);
      ASSERT_EQ(systems.size(), 1U) << ToWbemUri(element.path);
      EXPECT_EQ(systems.front().path, manager().SystemPath());
    }
  }
}

// The providers return both ports of a bridge whichever was asked for. A client of the built-in
// object manager picks the one it wants itself.
TEST_F(ClientView, EveryPortHasItsOwnName) {
  const PropertyList some({"PortType"});
  for (const Instance& port : Enumerate(kPort)) {
    SCOPED_TRACE(ToWbemUri(port.path));
    for (const PropertyList& properties : {PropertyList(), some}) {
      Recorder found;
      const cim::Status status = Get(port.path, properties, found);
      EXPECT_TRUE(status.ok()) << cim::ToString(status);
      if (OnServer()) {
        EXPECT_EQ(found.instances.size(), 1U);
      }
      EXPECT_EQ(std::count_if(found.instances.begin(), found.instances.end(),
                              [&](const Instance& instance) { return instance.path == port.path; }),
                1);
      for (const Instance& instance : found.instances) ExpectKeys(instance);
    }
    Recorder whole;
    Get(port.path, {}, whole);
    EXPECT_EQ(std::count(whole.instances.begin(), whole.instances.end(), port), 1);
  }
}

TEST_F(ClientView, WhatIsNotThereIsNotFound) {
  for (const Instance& port : Enumerate(kPort)) {
    ObjectPath path = port.path;
    for (auto& [name, value] : path.keys) {
      if (name == "DeviceID") value = cim::Value("no such port");
    }
    Recorder found;
    EXPECT_EQ(Get(path, {}, found).code, OnServer() ? CMPI_RC_ERR_NOT_FOUND : CMPI_RC_OK);
    EXPECT_TRUE(found.instances.empty());
  }
}

// What a state is that the library does not know it says itself; the classes' defaults stand for
// something else.
TEST_F(ClientView, StatesAreUnknownWhateverTheClassDefaultsAre) {
  for (const char* class_name : {"Ostrel_PCIDevice", "Ostrel_PCIBridge", "Ostrel_PCIeSwitch"}) {
    for (const Instance& element : Enumerate(class_name)) {
      for (const char* state : {"EnabledState", "RequestedState"}) {
        ASSERT_NE(element.Find(state), nullptr) << state;
        EXPECT_EQ(*element.Find(state), cim::Value(std::uint16_t{0})) << state;
      }
      EXPECT_EQ(element.Find("EnabledDefault") != nullptr, OnServer());
    }
  }
}

}  // namespace
