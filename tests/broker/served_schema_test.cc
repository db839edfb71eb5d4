// The properties that the provider library sets, over a host with every kind of device.

#include "broker/served_schema.h"

#include <gtest/gtest.h>

#include "cim/schema.h"
#include "support/fake_host.h"

namespace {

fake::Host EveryKindOfDevice() {
  return fake::Host()
      .Add(fake::HostBridge("host-bridge"))
      .Add(fake::Endpoint("endpoint").At(0, 2, 0).Ids(0x8086, 0x1234).Slot(3).Capabilities({6, 7}))
      .Add(fake::PciBridge("bridge").At(0, 3, 0).Secondary(1).Slot(4))
      .Add(fake::PciXEndpoint("pci-x").At(1, 0, 0).Parent("bridge"))
      .Add(fake::PciBridge("semi-transparent").At(1, 1, 0).ClassCode(0x060a).Parent("bridge"))
      .Add(fake::RootPort("root-port").At(0, 4, 0).Secondary(2))
      .Add(fake::SwitchUpstream("upstream").At(2, 0, 0).Secondary(3).Slot(5).Parent("root-port"))
      .Add(fake::SwitchDownstream("downstream").At(3, 0, 0).Secondary(4).Parent("upstream"))
      .Add(fake::PcieEndpoint("pcie").At(4, 0, 0).Parent("downstream"))
      // Named as a port is: the one way into the enumeration of connections.
      .Add(fake::PciBridge("child").At(5, 0, 0).Secondary(6).Parent("bridge-pri"));
}

TEST(ServedSchema, DeclaresAllThatTheLibrarySetsOnAHostWithEveryKindOfDevice) {
  fake::Use(EveryKindOfDevice());
  const SetProperties set = ExpectServedAsDeclared(PROVIDER_LIBRARY);

  // And the other way round: our own classes declare nothing that is never set.
  for (const cim::schema::Class& cls : cim::schema::AllClasses()) {
    if (!cls.name.starts_with("Ostrel_")) continue;
    const auto found = set.find(std::string(cls.name));
    ASSERT_NE(found, set.end()) << "no instance of " << cls.name;
    for (const cim::schema::Property& property : cls.properties) {
      EXPECT_TRUE(found->second.contains(std::string(property.name)))
          << cls.name << '.' << property.name << " is declared and never set";
    }
  }
}

}  // namespace
