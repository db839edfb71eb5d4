#include "support/sample_hosts.h"

#include <random>
#include <string>
#include <utility>

namespace fake {
namespace {

void Extend(Host& host, std::size_t size, const std::function<void(const Host&)>& use) {
  use(host);
  if (host.devices.size() == size) return;
  for (const Device& kind : SampleKinds()) {
    host.devices.push_back(kind);
    Extend(host, size, use);
    host.devices.pop_back();
  }
}

// Draws from 0 to n - 1; plain modulo, so that every standard library draws the same.
class Dice {
 public:
  explicit Dice(std::uint32_t seed) : engine_(seed) {}
  int Draw(int n) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(n)); }
  bool OneIn(int n) { return Draw(n) == 0; }

 private:
  std::mt19937 engine_;
};

std::string RandomName(Dice& dice, std::size_t pool) {
  const int n = dice.Draw(static_cast<int>(pool));
  if (n % 10 == 9) return "n" + std::to_string(n / 10) + "-pri";
  return "n" + std::to_string(n);
}

Device RandomDevice(Dice& dice, std::size_t pool, bool with_faults) {
  constexpr int kClassCodes[] = {0x0600, 0x0601, 0x0604, 0x0604, 0x0604, 0x060a,
                                 0x060b, 0x0607, 0x0200, 0x0104, 0x0004};
  Device device = Named(RandomName(dice, pool));
  device.ClassCode(kClassCodes[dice.Draw(11)]).Bus(dice.Draw(6)).Secondary(dice.Draw(256));
  if (dice.OneIn(20)) device.Bus(dice.Draw(256));
  if (!dice.OneIn(3)) device.Capability(0x10);
  if (dice.OneIn(6)) device.Capability(0x07);
  device.PcieType(dice.OneIn(3) ? dice.Draw(10) : 5 + dice.Draw(2));
  if (!dice.OneIn(4)) device.Parent(dice.OneIn(15) ? "elsewhere" : RandomName(dice, pool));
  if (with_faults && dice.OneIn(10)) device.Throws("GetPcieDeviceType", "no type");
  if (with_faults && dice.OneIn(80)) device.Throws("HasCapability", "no capabilities");
  constexpr const char* kFatal[] = {"GetName", "GetBus", "GetClassCode", "GetParent"};
  if (with_faults && dice.OneIn(120)) {
    device.Throws(kFatal[dice.Draw(4)], "fails", static_cast<Thrown>(dice.Draw(3)));
  }
  return device;
}

}  // namespace

const std::vector<Device>& SampleKinds() {
  static const std::vector<Device> kinds = {
      Endpoint("e").Bus(3),
      Endpoint("b").Bus(1),  // shares its name with the bridge
      PciBridge("b").Bus(0).Secondary(1),
      HostBridge("h").Bus(0),
      PciBridge("b-pri").ClassCode(0x060a).Bus(1),
      PciBridge("x-y").ClassCode(0x060b).Bus(2),
      RootPort("r").Bus(0),
      SwitchUpstream("U").Bus(2).Parent("r"),
      SwitchDownstream("U-d").Bus(3).Parent("U"),
      SwitchDownstream("d").Bus(1).Parent("b"),
      SwitchDownstream("o").Bus(1),
      SwitchUpstream("U").Bus(4).Throws("GetPcieDeviceType", "no type"),
  };
  return kinds;
}

void ForEachHost(std::size_t first_kind, std::size_t size,
                 const std::function<void(const Host&)>& use) {
  Host host;
  if (first_kind == 0) use(host);
  if (size == 0) return;
  host.Add(SampleKinds().at(first_kind));
  Extend(host, size, use);
}

Host RandomHost(std::uint32_t seed, std::size_t max_size, bool with_faults) {
  Dice dice(seed);
  Host host;
  host.SystemName("Random-" + std::to_string(seed));
  const auto size = static_cast<std::size_t>(dice.Draw(static_cast<int>(max_size) + 1));
  while (host.devices.size() < size) host.Add(RandomDevice(dice, 2 * size + 1, with_faults));
  return host;
}

Host Shrink(Host host, const std::function<bool(const Host&)>& fails) {
  for (std::size_t position = 0; position < host.devices.size();) {
    Host smaller = host;
    smaller.devices.erase(smaller.devices.begin() + static_cast<std::ptrdiff_t>(position));
    if (fails(smaller)) {
      host = std::move(smaller);
      position = 0;
    } else {
      ++position;
    }
  }
  return host;
}

}  // namespace fake
