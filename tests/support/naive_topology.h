// What the topology of a fake host must look like: a second statement of the classification, the
// port model, the cache and its indexes, slow and plain, sharing no code with src/. Tests compare
// the real cache with it over many hosts.
//
// The model asks the host the same questions in the same order as the build must, so that it can
// also tell what survives when the n-th of them fails.
//
// Thread rule: values; no shared state.

#ifndef SUPPORT_NAIVE_TOPOLOGY_H_
#define SUPPORT_NAIVE_TOPOLOGY_H_

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_host.h"
#include "support/log_capture.h"

namespace naive {

// Devices, ports and records are named by their position in their list.
using Position = std::size_t;
using Positions = std::vector<Position>;

struct Port {
  std::string parent;  // name of the hosting device
  std::string name;
  std::string peer;
  std::string device_name;
  int bus = 0;
  Position device = 0;

  bool operator==(const Port&) const = default;
};

struct ControlledBy {
  Position device = 0;
  std::string class_name;
  Position port = 0;

  bool operator==(const ControlledBy&) const = default;
};

// Everything that a build leaves behind.
struct Topology {
  bool built = false;  // false: the build was left by an exception
  std::string system_name;
  std::vector<std::string> devices;
  std::map<std::string, Position> device_index;
  std::vector<Port> ports;
  std::map<std::string, Position> port_index;
  std::set<std::string> port_names;
  std::vector<int> bus_numbers;
  std::map<int, Positions> bus_members;          // devices
  std::map<std::string, Position> device_ports;  // ports, by device
  Positions switches;
  Positions bridges;
  std::map<std::string, Positions> bridge_ports;
  std::map<std::string, Positions> switch_ports;
  std::vector<ControlledBy> controlled_by;
  std::map<std::string, Position> controlled_by_port;
  std::map<std::string, Position> controlled_by_device;
  std::vector<LogLine> log;
  std::size_t calls = 0;

  bool operator==(const Topology&) const = default;
};

// The calls of the build that fail (later ones never do), by number from 1, and how.
struct Failures {
  std::set<std::size_t> calls;
  fake::Thrown thrown = fake::Thrown::kHostCtlException;
};

// A host read by the rules of this system.
class Model {
 public:
  // Keeps a copy of the host. `dump_file`: whether /tmp/dump_pci is readable.
  explicit Model(fake::Host host, Failures failures = {}, bool dump_file = false);

  // Builds and returns the topology; once per model.
  const Topology& Build();
  const Topology& topology() const { return topology_; }

  // Kinds of devices. A failing operation throws Failure where the rule says that it passes.
  bool IsPortOnSwitch(const fake::Device& device);
  bool IsUpstreamPortOnSwitch(const fake::Device& device);
  bool IsBridge(const fake::Device& device);
  std::string ClassName(const fake::Device& device);

  // The ports of the device at that position of the device list, appended to `ports`.
  void AppendPorts(Position position, std::vector<Port>& ports);

  // Questions to the built topology. Nothing where there is no answer.
  std::optional<Position> FindConnectedPort(const std::string& name);
  std::string PortOfDevice(const std::string& name);

  // The lines written since the build started or they were last taken.
  const std::vector<LogLine>& log() const { return topology_.log; }
  std::vector<LogLine> TakeLog() { return std::exchange(topology_.log, {}); }

  // What a host operation of the model throws when it fails.
  struct Failure {
    std::string text;
    fake::Thrown thrown;
  };

  // One call of the host control library: counted, and made to fail where it has to.
  void Call(const char* operation, const fake::Faults& faults);
  // The same on a device: the fact that the operation answers with.
  template <typename Value>
  const Value& Ask(const char* operation, const fake::Device& device, const Value& value) {
    Call(operation, device.faults);
    return value;
  }
  // From now on the calls of these numbers fail, 1 being the next one.
  void FailAt(const Failures& from_now);
  void Log(int priority, const std::string& text);

 private:
  void FetchSystemName();
  void BuildWithinGuard();
  void IndexDevices();
  void IndexPorts();
  void FilePort(Position position);
  void IndexControlledBy();
  Port MakePort(Position position, const std::string& suffix, const std::string& parent);

  fake::Host host_;
  Failures failures_;
  std::size_t first_call_ = 0;  // failures are numbered from here
  int progress_;
  std::set<std::string> bridge_names_;
  std::set<std::string> switch_names_;
  Topology topology_;
};

// One line per fact, for people.
std::vector<std::string> Describe(const Topology& topology);
std::string Describe(const fake::Host& host);

// The lines of the two that differ, "-" expected and "+" actual; empty when they are equal.
std::string Difference(const std::vector<std::string>& expected,
                       const std::vector<std::string>& actual);

}  // namespace naive

#endif  // SUPPORT_NAIVE_TOPOLOGY_H_
