// What the ten provider classes must answer on a fake host: a second statement of all their
// operations, slow and plain, sharing no code with src/ but the object manager's value types. Tests
// compare the real providers with it over many hosts and requests.
//
// Like the model of the cache it asks the host the same questions in the same order as the
// providers must, so that it can also tell what an operation answers when the n-th of them fails.
//
// Each class stands in a file of its own, below naive/.
// Thread rule: values; no shared state.

#ifndef SUPPORT_NAIVE_PROVIDERS_H_
#define SUPPORT_NAIVE_PROVIDERS_H_

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "broker/object_manager.h"
#include "cim/value.h"
#include "support/fake_host.h"
#include "support/log_capture.h"
#include "support/naive_topology.h"
#include "support/system_class.h"

namespace naive {

enum class Operation {
  kEnumInstanceNames,
  kEnumInstances,
  kGetInstance,
  kAssociators,
  kAssociatorNames,
  kReferences,
  kReferenceNames,
};

struct Request {
  std::string class_name;  // of the provider: "Ostrel_PCIPort"
  Operation operation = Operation::kEnumInstanceNames;
  cim::ObjectPath path;
  broker::PropertyList properties;   // where the operation takes them
  broker::AssociationFilter filter;  // of an association operation; only its result class counts
};

struct Done {
  bool operator==(const Done&) const = default;
};
using Event = std::variant<cim::Instance, cim::ObjectPath, Done>;

struct Answer {
  std::vector<Event> events;
  CMPIrc code = CMPI_RC_OK;
  std::optional<std::string> message;  // nothing: whatever the wrapper says
  std::vector<LogLine> log;
};

// The hosting system's class, as the object manager serves it.
struct SystemClass {
  std::string name;  // of its one instance
  SystemClassMode mode = SystemClassMode::kServed;
};

// The namespace that requests are made in, and a class that is a subclass for the tests alone:
// "Sub_Ostrel_PCIPort" is one of "Ostrel_PCIPort".
inline constexpr const char* kNameSpace = "root/cimv2";
inline constexpr const char* kSubclassPrefix = "Sub_";

// The providers of one process, from the first factory call on.
class Providers {
 public:
  Providers(fake::Host host, SystemClass system);

  // From now on the host's calls of these numbers fail, 1 being the next one. A build forgets them
  // when it ends.
  void FailAt(const Failures& from_now);

  // Answers a request. The first one builds the cache, and so does the next after a build that was
  // left by an exception; the answer's log has the build's lines then.
  Answer Ask(const Request& request);

  // What the last build left behind, without its log. The calls are those since it started.
  const Topology& topology() const { return model_.topology(); }

 private:
  using Path = cim::ObjectPath;
  using Instance = cim::Instance;
  using Properties = broker::PropertyList;

  void StartAnew();
  void Dispatch(const Request& request);
  void DispatchAssociation(const Request& request);

  // Paths.
  Path DevicePath(const fake::Device& device, const std::string& class_name);
  Path DevicePath(const fake::Device& device, const std::string& class_name,
                  const std::string& creation_class_name);
  Path PortPath(const std::string& port_name) const;
  Path SystemPath() const;
  static Path GroupPath(int bus);
  static Path AssociationPath(const std::string& class_name, const std::string& first_key,
                              const Path& first, const std::string& second_key, const Path& second);

  // Results.
  void ReturnPath(Path path);
  void ReturnInstance(Instance instance);
  void ReturnDone();
  void Log(int priority, const std::string& text) { model_.Log(priority, text); }

  // Lookups in the cache.
  std::size_t DeviceCount() const { return topology().devices.size(); }
  const fake::Device& DeviceAt(Position position) const { return host_.devices[position]; }
  const fake::Device& DeviceOf(const Port& port) const { return host_.devices[port.device]; }
  const Port* FindPort(const std::string& port_name) const;
  std::string AskNameOfParent(const std::string& parent);
  std::optional<std::string> AskParentName(const fake::Device& device);

  // Devices.
  void PopulateDeviceDetails(const fake::Device& device, Instance& instance);
  bool IsPlainDevice(const fake::Device& device);
  void DeviceList(const Properties& properties);
  void DeviceListRef();
  void DeviceEnumInstanceNames();
  void DeviceEnumInstances(const Properties& properties);
  void DeviceGetInstance(const Path& path, const Properties& properties);

  // Bridges.
  Instance MakeBridge(const fake::Device& device, const Properties& properties);
  void BridgeEnumInstanceNames();
  void BridgeEnumInstances(const Properties& properties);
  void BridgeGetInstance(const Path& path, const Properties& properties);

  // Switches.
  bool IsChildOf(const fake::Device& parent, const fake::Device& device);
  int DownstreamPortsCount(const fake::Device& device);
  Instance MakeSwitch(const fake::Device& device, const Properties& properties);
  void SwitchEnumInstanceNames();
  void SwitchEnumInstances(const Properties& properties);
  void SwitchGetInstance(const Path& path, const Properties& properties);

  // Ports.
  enum class PortKind { kDownstream, kUpstream, kBridge, kEndpoint, kNone };
  PortKind KindOf(const fake::Device& device);
  Instance MakePort(const Properties& properties, const std::string& port_name,
                    const std::string& controller, const fake::Device& device, int port_type,
                    int bus);
  void MakeUpstreamPort(const fake::Device& device, const Properties& properties);
  void MakeDownstreamPort(const fake::Device& device, const Properties& properties);
  void MakeEndpointPort(const fake::Device& device, const Properties& properties);
  void MakeBridgePorts(const fake::Device& device, std::set<std::string>& seen,
                       const Properties& properties);
  void MakeBridgePortsRef(const fake::Device& device, std::set<std::string>& seen);
  void MakePortsForDevice(const fake::Device& device, std::set<std::string>& seen,
                          const Properties& properties);
  void MakePortsForDeviceRef(const fake::Device& device, std::set<std::string>& seen);
  void PortList(const Properties& properties);
  void PortListRef();
  void PortEnumInstanceNames();
  void PortEnumInstances(const Properties& properties);
  void PortGetInstance(const Path& path, const Properties& properties);

  // Port groups.
  static Instance MakePortGroup(int bus);
  static std::optional<int> ParseBusId(const Path& path);
  bool PortGroupExists(int bus) const;
  void GroupEnumInstanceNames();
  void GroupEnumInstances(const Properties& properties);
  void GroupGetInstance(const Path& path, const Properties& properties);

  // System and device.
  void ReturnSystemDevice(const Path& part, const Properties& properties);
  void ReturnSystemDeviceRef(const Path& part);
  void LoadSysDevices(const Properties& properties);
  void LoadSysPorts(const Properties& properties);
  void LoadSysDevicesRef();
  void LoadSysPortsRef();
  void LoadDevicesAndPortsRef();
  bool FindDevicePort(const Path& path, const Properties& properties);
  void SystemDeviceEnumInstanceNames();
  void SystemDeviceEnumInstances(const Properties& properties);
  void SystemDeviceGetInstance(const Path& path, const Properties& properties);
  void SystemDeviceAssociators(const Request& request);
  void SystemDeviceAssociatorNames(const Request& request);
  void SystemDeviceReferences(const Request& request);
  void SystemDeviceReferenceNames(const Request& request);
  void ReturnSystemOfObjectManager(const Properties& properties);
  void ReturnSystemNameOfObjectManager();

  // Port and connected port.
  using Connection = std::optional<std::pair<std::string, std::string>>;
  Connection ConnectionOfDevice(const fake::Device& device);
  Connection ConnectionOfPort(const Path& path);
  const Port* PortAbove(const Path& path, const Port** asked);
  void ReturnConnection(const Connection& connection, const Properties& properties);
  void ReturnConnectionRef(const Connection& connection);
  void ConnectionEnumInstanceNames();
  void ConnectionEnumInstances(const Properties& properties);
  void ConnectionGetInstance(const Path& path, const Properties& properties);
  void ConnectionAssociators(const Request& request);
  void ConnectionAssociatorNames(const Request& request);
  void ConnectionReferences(const Request& request);
  void ConnectionReferenceNames(const Request& request);

  // Controller and port.
  struct Source {
    std::string id;
    const ControlledBy* port_record = nullptr;
    const ControlledBy* device_record = nullptr;
    std::string class_name;  // where the identifier is empty: the one it is tested to be
  };
  Source ReadSource(const Path& path) const;
  Path ControllerPath(const ControlledBy& record);
  const Port& PortOf(const ControlledBy& record) const { return topology().ports[record.port]; }
  void ReturnControlledBy(const Path& controller, const std::string& port_name,
                          const Properties& properties);
  void ReturnControlledByRef(const Path& controller, const std::string& port_name);
  std::vector<std::string> PortsOfBridge(const Path& path);
  std::vector<std::string> PortsOfSwitch(const Path& path);
  std::vector<std::string> PortsOfDevice(const Path& path);
  void ControlledByEnumInstanceNames();
  void ControlledByEnumInstances(const Properties& properties);
  void ControlledByGetInstance(const Path& path, const Properties& properties);
  void ControlledByAssociators(const Request& request);
  void ControlledByAssociatorNames(const Request& request);
  void ControlledByReferences(const Request& request);
  void ControlledByReferenceNames(const Request& request);

  // System and port group.
  void ReturnHosted(int bus, const Properties& properties);
  void ReturnHostedRef(int bus);
  void HostedEnumInstanceNames();
  void HostedEnumInstances(const Properties& properties);
  void HostedGetInstance(const Path& path, const Properties& properties);
  void HostedAssociators(const Request& request);
  void HostedAssociatorNames(const Request& request);
  void HostedReferences(const Request& request);
  void HostedReferenceNames(const Request& request);

  // Port group and port.
  void ReturnMember(int bus, const std::string& port_name, const Properties& properties);
  void ReturnMemberRef(int bus, const std::string& port_name);
  std::optional<Positions> DevicesOfGroup(const Path& path);
  void MemberEnumInstanceNames();
  void MemberEnumInstances(const Properties& properties);
  void MemberGetInstance(const Path& path, const Properties& properties);
  void MemberAssociators(const Request& request);
  void MemberAssociatorNames(const Request& request);
  void MemberReferences(const Request& request);
  void MemberReferenceNames(const Request& request);

  fake::Host host_;
  SystemClass system_;
  Model model_;
  bool fresh_ = true;  // no build has started
  Answer answer_;
};

// What becomes of a provider's answer to GetInstance in an object manager that takes one instance:
// the one whose keys are those of the request, the first where none has them, or NOT_FOUND.
Answer DeliveredByOne(const Request& request, const Answer& returned);

// One line per event, log line and fact, for people.
std::vector<std::string> Describe(const Answer& answer);
std::string Describe(const Request& request);

// Whether the real answer is the expected one. A status text is only looked at where one is
// expected.
bool IsAsExpected(const Answer& expected, const Answer& actual);

}  // namespace naive

#endif  // SUPPORT_NAIVE_PROVIDERS_H_
