// Tests of the providers on the in-process object manager: a host in a few lines, one request, the
// expected answer as one line of text.
//
//   TEST_F(PciDeviceTest, LeavesBridgesOut) {
//     Use(fake::Host().Add(fake::Endpoint("e")).Add(fake::PciBridge("b")));
//     EXPECT_EQ(EnumNames("PCIDevice"), "PCIDevice e, done, OK");
//   }
//
// An answer reads, in the order of events: the elements returned, "done" for each returnDone, and
// the status. An element is its class (without "Ostrel_") and its identifier; an association shows
// its two ends. Instances stand in brackets, object paths do not:
//
//   [PCIPort e-ep], done, OK
//   PCIControlledBy(PCIDevice e, PCIPort e-ep), done, OK
//   done, NOT_FOUND
//
// Classes are named without "Ostrel_" throughout.
//
// The tests run on several object managers (support/object_manager_kind.h) and read the same on all
// of them. What a server adds to every instance is left out of answers.
//
// Thread rule: on the test's own thread.

#ifndef SUPPORT_PROVIDER_TEST_H_
#define SUPPORT_PROVIDER_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "broker/object_manager.h"
#include "broker/result_sink.h"
#include "cache/cache_state.h"
#include "cim/value.h"
#include "platform/ostint/cmpi_broker.h"
#include "support/cache_reset.h"
#include "support/fake_host.h"
#include "support/log_capture.h"
#include "support/system_class.h"

// What a request was answered with.
struct Answer : broker::Recorder {
  cim::Status status;
  std::string asked;  // of GetInstance: the element that was asked for, as text

  std::string Text() const;
  // Whether this is the answer that the text tells. Of GetInstance the text tells what the provider
  // returns, of which some object managers deliver one instance, or NOT_FOUND.
  bool Is(std::string_view text) const;
  // The texts of the elements alone, sorted: where the order is nobody's business.
  std::vector<std::string> Elements() const;
  // The one instance. Throws std::logic_error when there are none or several.
  cim::Instance Only() const;
};

inline bool operator==(const Answer& answer, std::string_view text) { return answer.Is(text); }
std::ostream& operator<<(std::ostream& out, const Answer& answer);

// An element's text: "PCIDevice e", "PCIPortGroup bus-3", "System fake-host".
std::string Brief(const cim::ObjectPath& path);

// How failing tests show them.
namespace cim {
inline void PrintTo(const ObjectPath& path, std::ostream* out) {
  *out << path.class_name;
  for (const auto& [name, value] : path.keys) *out << ' ' << name << '=' << ToText(value);
}
inline void PrintTo(const Instance& instance, std::ostream* out) { PrintTo(instance.path, out); }
}  // namespace cim

// The properties of an instance that are no keys, in order: "BusNumber uint8 1"; a null is
// "PhysicalSlot uint8 NULL".
std::vector<std::string> Properties(const cim::Instance& instance);
// The same for one property; "no property NAME" where there is none.
std::string PropertyText(const cim::Instance& instance, std::string_view name);

// Paths as requests carry them, with all keys of their class.
cim::ObjectPath ElementPath(const std::string& class_name, const std::string& identifier);
inline cim::ObjectPath DevicePath(const std::string& id) { return ElementPath("PCIDevice", id); }
inline cim::ObjectPath BridgePath(const std::string& id) { return ElementPath("PCIBridge", id); }
inline cim::ObjectPath SwitchPath(const std::string& id) { return ElementPath("PCIeSwitch", id); }
inline cim::ObjectPath PortPath(const std::string& name) { return ElementPath("PCIPort", name); }
cim::ObjectPath GroupPath(const std::string& instance_id);
cim::ObjectPath SystemPath(const std::string& name = "fake-host");
// An association of the class with its two reference keys.
cim::ObjectPath AssociationPath(const std::string& class_name, const cim::ObjectPath& first,
                                const cim::ObjectPath& second);

// The path with a key set, and without a key.
cim::ObjectPath With(cim::ObjectPath path, const std::string& key, cim::Value value);
cim::ObjectPath Without(cim::ObjectPath path, const std::string& key);

// A class of the hosting system that has no instances, or is refused.
SystemClassAnswer WithoutSystem();
SystemClassAnswer RefusingSystem(CMPIrc code, const std::string& message);

// Filters by the result class alone.
broker::AssociationFilter ResultClass(const std::string& class_name);

// A host with devices of every kind, and its port names, buses and hosts of ports:
//
//   h   host bridge            bus 0   no ports
//   b   PCI bridge             bus 0   b-pri, b-sec   (secondary bus 1)
//   e   endpoint below b       bus 1   e-ep
//   r   root port              bus 0   r-pri, r-sec   (secondary bus 2)
//   U   switch upstream port   bus 2   U-up
//   D1  its downstream port    bus 3   D1-ep          (hosted by U)
//   D2  its downstream port    bus 3   D2-ep          (hosted by U)
//   x   PCI Express endpoint   bus 4   x-ep
fake::Host MixedHost();

class ProviderTest : public ::testing::Test {
 protected:
  using Filter = broker::AssociationFilter;
  using PropertyList = broker::PropertyList;

  ProviderTest();
  ~ProviderTest() override;

  // Every test ends with providers that the object manager has nothing to say against, and without
  // host objects that nobody freed.
  void TearDown() override;

  // Starts anew on the host: nothing built, no provider object made. Builds the cache at once, so
  // that failures injected afterwards strike the requests alone; the build's lines are not in
  // `log`.
  void Use(const fake::Host& host, const SystemClassAnswer& system = {});

  Answer EnumNames(const std::string& class_name);
  Answer EnumInstances(const std::string& class_name, const PropertyList& properties = {});
  Answer Get(const std::string& class_name, const cim::ObjectPath& path,
             const PropertyList& properties = {});
  Answer Associators(const std::string& class_name, const cim::ObjectPath& source,
                     const Filter& filter = {}, const PropertyList& properties = {});
  Answer AssociatorNames(const std::string& class_name, const cim::ObjectPath& source,
                         const Filter& filter = {});
  Answer References(const std::string& class_name, const cim::ObjectPath& source,
                    const Filter& filter = {}, const PropertyList& properties = {});
  Answer ReferenceNames(const std::string& class_name, const cim::ObjectPath& source,
                        const Filter& filter = {});

  // The four association requests from one source, in the order associators, associatorNames,
  // references, referenceNames.
  std::vector<Answer> AssociationRequests(const std::string& class_name,
                                          const cim::ObjectPath& source, const Filter& filter = {});

  // Runs body(result, path) inside a provider call: where functions are tested that no request can
  // reach. A body that answers no status stands for OK. The object manager takes instances in the
  // one call, object paths in the other.
  template <typename Body>
  Answer Inside(const cim::ObjectPath& path, const Body& body) {
    return RunProbe(path, Operation(body), false);
  }
  template <typename Body>
  Answer InsideRef(const cim::ObjectPath& path, const Body& body) {
    return RunProbe(path, Operation(body), true);
  }

  // Makes `subclass` a subclass of `class_name` for the providers, until the next Use. Both with
  // their whole names.
  void AddSubclass(const std::string& subclass, const std::string& class_name);

  // New instances hold kPreset in every number of their class, until the next Use: as object
  // managers put in the defaults of the class.
  void PresetInstances();
  static constexpr std::uint8_t kPreset = 222;

  broker::ObjectManager& manager() { return *manager_; }

  LogCapture log;

 private:
  class BrokerExtension;
  using ProbeOperation = std::function<ostInt::CmpiStatus(ostInt::CmpiResult& result,
                                                          const ostInt::CmpiObjectPath& path)>;

  template <typename Body>
  static ProbeOperation Operation(const Body& body) {
    return [&body](ostInt::CmpiResult& result, const ostInt::CmpiObjectPath& path) {
      if constexpr (std::is_void_v<decltype(body(result, path))>) {
        body(result, path);
        return ostInt::CmpiStatus(CMPI_RC_OK);
      } else {
        return body(result, path);
      }
    };
  }

  BrokerExtension& ExtendBroker();
  Answer RunProbe(const cim::ObjectPath& path, ProbeOperation operation, bool refs);
  Answer Request(const std::function<cim::Status(broker::ResultSink&)>& request);

  std::unique_ptr<broker::ObjectManager> manager_;
  std::unique_ptr<BrokerExtension> extension_;
};

#endif  // SUPPORT_PROVIDER_TEST_H_
