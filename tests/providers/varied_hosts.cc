#include "providers/varied_hosts.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

constexpr std::size_t kMostDevices = 30;

std::vector<std::uint32_t> DrawCapabilities(Dice& dice) {
  const int count = dice.OneIn(30) ? 250 + dice.Draw(300) : dice.Draw(5);
  std::vector<std::uint32_t> codes;
  codes.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    codes.push_back(
        static_cast<std::uint32_t>(dice.OneIn(4) ? 0x1fff0 + dice.Draw(64) : dice.Draw(16)));
  }
  return codes;
}

// Grows a hierarchy from the root down.
class Tree {
 public:
  explicit Tree(std::uint32_t seed) : dice_(seed), next_bus_(dice_.OneIn(4) ? 250 : 1) {}

  fake::Host Grow() {
    if (dice_.OneIn(2)) Add(fake::HostBridge(NextName()), 0, {});
    Bus(0, {}, 1 + dice_.Draw(5), 0);
    Spoil();
    return std::move(host_);
  }

 private:
  // Names of one hierarchy differ, and some hold one another or a dash.
  std::string NextName() {
    constexpr const char* kForms[] = {"n", "n1", "a-b", "0000:00:0", "x-pri", "p-sec-"};
    return dice_.OneOf(kForms) + std::to_string(host_.devices.size());
  }

  std::string Add(fake::Device device, int bus, const std::string& parent) {
    if (!parent.empty()) device.Parent(parent);
    host_.Add(device.Bus(bus));
    return host_.devices.back().name;
  }

  // A bus of its own behind a device; past 255 the numbers start again.
  int NewBus() { return next_bus_++ % 256; }

  void Bus(int bus, const std::string& parent, int devices, int depth) {
    for (int i = 0; i < devices && host_.devices.size() < kMostDevices; ++i) {
      const int kind = depth > 4 ? 0 : dice_.Draw(6);
      if (kind <= 1) Add(AnyEndpoint(), bus, parent);
      if (kind == 2 || kind == 3) Bridge(bus, parent, depth);
      if (kind >= 4) Switch(bus, parent, depth);
    }
  }

  fake::Device AnyEndpoint() {
    switch (dice_.Draw(4)) {
      case 0: return fake::PcieEndpoint(NextName());
      case 1: return fake::PciXEndpoint(NextName());
      case 2: return fake::PcieEndpoint(NextName()).Capability(0x07);
      default: return fake::Endpoint(NextName());
    }
  }

  void Bridge(int bus, const std::string& parent, int depth) {
    constexpr int kSubclasses[] = {0x00, 0x01, 0x04, 0x04, 0x04, 0x07, 0x09, 0x0a, 0x0b, 0x80};
    const int secondary = NewBus();
    fake::Device device = dice_.OneIn(2) ? fake::RootPort(NextName()) : fake::PciBridge(NextName());
    device.ClassCode(0x0600 + dice_.OneOf(kSubclasses)).Secondary(secondary);
    const std::string name = Add(std::move(device), bus, parent);
    Bus(secondary, name, dice_.Draw(3), depth + 1);
  }

  void Switch(int bus, const std::string& parent, int depth) {
    const int inner = NewBus();
    const std::string upstream =
        Add(fake::SwitchUpstream(NextName()).Secondary(inner), bus, parent);
    for (int ports = dice_.Draw(4); ports > 0 && host_.devices.size() < kMostDevices; --ports) {
      const int secondary = NewBus();
      const std::string port =
          Add(fake::SwitchDownstream(NextName()).Secondary(secondary), inner, upstream);
      Bus(secondary, port, dice_.Draw(2), depth + 1);
    }
  }

  void Spoil() {
    auto& devices = host_.devices;
    if (devices.empty()) return;
    if (dice_.OneIn(3)) {
      for (std::size_t i = devices.size() - 1; i > 0; --i) {
        std::swap(devices[i],
                  devices[static_cast<std::size_t>(dice_.Draw(static_cast<int>(i + 1)))]);
      }
    }
    if (dice_.OneIn(4)) host_.Add(dice_.OneOf(devices));
    if (dice_.OneIn(4)) devices[Any()].name = devices[Any()].name;
    if (dice_.OneIn(4)) devices[Any()].NoParent();
    if (dice_.OneIn(6)) devices[Any()].name.clear();
    // A device below a port's name: only then does the port appear as a parent.
    if (dice_.OneIn(3)) devices[Any()].Parent(devices[Any()].name + "-pri");
    if (dice_.OneIn(3)) devices[Any()].name = devices[Any()].parent.value_or("n") + "-ep";
  }
  std::size_t Any() {
    return static_cast<std::size_t>(dice_.Draw(static_cast<int>(host_.devices.size())));
  }

  Dice dice_;
  int next_bus_;
  fake::Host host_;
};

}  // namespace

void Vary(fake::Host& host, std::uint32_t seed) {
  Dice dice(seed);
  if (dice.OneIn(2)) host.SystemName("Host.Example-" + std::to_string(seed));
  for (fake::Device& device : host.devices) {
    device.Segment(dice.Draw(65536)).Number(dice.Draw(256)).Function(dice.Draw(8));
    device.Ids(dice.Draw(65536), dice.Draw(65536)).Revision(dice.Draw(256));
    device.SubsystemIds(dice.Draw(65536), dice.Draw(65536));
    device.VendorName(dice.OneIn(5) ? "" : "Vendor " + std::to_string(dice.Draw(100)));
    device.DeviceName(dice.OneIn(5) ? "" : "Device #" + std::to_string(dice.Draw(100)));
    device.Slot(dice.OneIn(2) ? -1 : dice.Draw(600) - 2);
    device.Capabilities(DrawCapabilities(dice));
  }
}

fake::Host TreeHost(std::uint32_t seed) {
  fake::Host host = Tree(seed).Grow();
  Vary(host, seed);
  return host;
}

fake::Host RichHost() {
  fake::Host host;
  host.SystemName("Rich.Example")
      .Add(fake::HostBridge("h"))
      .Add(fake::PciBridge("b").Secondary(1))
      .Add(fake::PciXEndpoint("e").Bus(1).Parent("b").Slot(3).Capabilities({5, 6}))
      .Add(fake::SwitchUpstream("U").Bus(2).Secondary(3).Parent("b"))
      .Add(fake::SwitchDownstream("D").Bus(3).Secondary(4).Parent("U"))
      .Add(fake::SwitchDownstream("d").Bus(1).Parent("b"))
      .Add(fake::PcieEndpoint("x").Bus(4).Parent("b-sec"));  // a connection is enumerated for it
  return host;
}
