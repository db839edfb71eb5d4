// What is read out of configuration space, and how much of it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <utility>
#include <vector>

#include "pci/config_space.h"
#include "pci/file.h"
#include "pci/hosts.h"
#include "pci/written_sources.h"

namespace {

// Position and size of each piece that is read of a file.
std::vector<std::pair<long, std::size_t>> pieces;

}  // namespace

// Stands in front of the C library's.
extern "C" ssize_t pread(int file, void* buffer, std::size_t size, off_t position) {
  pieces.emplace_back(position, size);
  return syscall(SYS_pread64, file, buffer, size, position);
}

namespace pci_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using Fetch = pci::ConfigSpace::Fetch;

struct Described {
  pci::Function function;
  std::vector<pci::Capability> chain;
};

Described DescribedBy(pci::ConfigSpace registers) {
  Described described;
  registers.Identify(described.function);
  registers.Describe(described.function, described.chain);
  registers.FindSubsystem(described.function, described.chain);
  return described;
}

Described DescribedInFile(const Function& function, Fetch fetch) {
  const TempFolder folder;
  const std::string path = folder.Write("config", function.Config());
  const pci::File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return DescribedBy(pci::ConfigSpace(file.descriptor(), fetch));
}

// The host of this function alone, once it has been seen that all ways to read it tell the same.
pci::Host Read(const Function& function) {
  pci::Host host = ReadDumpOf({function});
  for (const Fetch fetch : {Fetch::kAtOnce, Fetch::kAsWanted}) {
    const Described read = DescribedInFile(function, fetch);
    const pci::Function& expected = host.functions().at(0);
    EXPECT_EQ(read.function.ids, expected.ids);
    EXPECT_EQ(read.function.class_code, expected.class_code);
    EXPECT_EQ(read.function.status, expected.status);
    EXPECT_EQ(read.function.buses.secondary, expected.buses.secondary);
    EXPECT_EQ(read.function.pcie_port_type, expected.pcie_port_type);
    EXPECT_EQ(read.function.link.possible, expected.link.possible);
    EXPECT_EQ(read.function.slot_capabilities, expected.slot_capabilities);
    EXPECT_EQ(read.function.cut_off, expected.cut_off);
    EXPECT_THAT(host.CapabilitiesOf(expected), ::testing::ElementsAreArray(read.chain));
  }
  return host;
}

const pci::Function& Only(const pci::Host& host) { return host.functions().at(0); }

Function AnyFunction() { return Endpoint("0000:00:01.0"); }

TEST(ConfigSpace, TheChainTellsIdsAndPositions) {
  const pci::Host host =
      Read(AnyFunction().Capability(0x34, 0x80, 0x09).Capability(0x81, 0x50, 0xfe));
  EXPECT_THAT(host.CapabilitiesOf(Only(host)),
              ElementsAre(pci::Capability{0x09, 0x80}, pci::Capability{0xfe, 0x50}));
}

// The two low bits of a pointer are reserved (PCI Local Bus 3.0, 6.7).
TEST(ConfigSpace, PointersAreMasked) {
  const pci::Host host = Read(AnyFunction()
                                  .Capability(0x34, 0x40, 0x01)
                                  .Capability(0x41, 0x50, 0x05)
                                  .Set(0x34, {0x43})
                                  .Set(0x41, {0x52}));
  EXPECT_THAT(CapabilitiesOf(host, Only(host)), ElementsAre(0x01, 0x05));
}

TEST(ConfigSpace, TellsTheLink) {
  const pci::Host host = Read(AnyFunction()
                                  .Express(6)
                                  .Set(0x4c, {0x04, 0x01, 0x10})  // 16 GT/s, 16 lanes, reports
                                  .Set(0x52, {0x83, 0x20})        // 8 GT/s, 8 lanes, active
                                  .Set(0x6c, {0x1e}));
  const pci::Link& link = Only(host).link;
  EXPECT_EQ(link.possible, (pci::LinkRate{4, 16}));
  EXPECT_EQ(link.now, (pci::LinkRate{3, 8}));
  EXPECT_EQ(link.speeds, 0x1e);
  EXPECT_TRUE(link.reports_active);
  EXPECT_TRUE(link.active);
}

TEST(ConfigSpace, VersionOneHasNoSpeedsVector) {
  const pci::Host endpoint =
      Read(AnyFunction().Express(0).Set(0x42, {0x01}).Set(0x4c, {0x11}).Set(0x6c, {0x0e}));
  EXPECT_EQ(Only(endpoint).link.speeds, 0);
  EXPECT_EQ(Only(endpoint).link.possible, (pci::LinkRate{1, 1}));
}

TEST(ConfigSpace, FunctionsOfTheRootComplexHaveNoLink) {
  for (const unsigned type : {9u, 10u}) {
    for (const unsigned version : {1u, 2u}) {
      const pci::Host host = Read(AnyFunction()
                                      .Express(type)
                                      .Set(0x42, {type << 4 | version})
                                      .Set(0x4c, {0x13})
                                      .Set(0x6c, {0x0e}));
      EXPECT_EQ(Only(host).link.possible, pci::LinkRate{}) << type;
      EXPECT_EQ(Only(host).link.speeds, 0) << type;
    }
  }
}

TEST(ConfigSpace, PortTypeIsTheFieldOfTheExpressCapability) {
  for (unsigned type = 0; type < 16; ++type) {
    EXPECT_EQ(Only(Read(AnyFunction().Express(type))).pcie_port_type, static_cast<int>(type));
  }
  EXPECT_EQ(Only(Read(AnyFunction())).pcie_port_type, -1);
}

TEST(ConfigSpace, TheFirstExpressCapabilityCounts) {
  const pci::Host host = Read(AnyFunction()
                                  .Capability(0x34, 0x40, 0x10, {0x52, 0})
                                  .Capability(0x41, 0x80, 0x10, {0x02, 0}));
  EXPECT_THAT(CapabilitiesOf(host, Only(host)), ElementsAre(0x10, 0x10));
  EXPECT_EQ(Only(host).pcie_port_type, 5);
}

TEST(ConfigSpace, OnlyAPortWithALinkBelowHasASlot) {
  for (unsigned type = 0; type < 16; ++type) {
    const pci::Host host = Read(AnyFunction().Express(type, 5000));
    const bool has_slot = type == 4 || type == 6 || type == 8;
    EXPECT_EQ(Only(host).has_slot, has_slot) << type;
    EXPECT_EQ(Only(host).slot_capabilities >> 19, has_slot ? 5000u : 0u) << type;
  }
  EXPECT_FALSE(Only(Read(AnyFunction().Express(6))).has_slot);
}

TEST(ConfigSpace, WithoutTheStatusBitThereIsNoChain) {
  const pci::Host host = Read(AnyFunction().Capability(0x34, 0x40, 0x01).Set(6, {0}));
  EXPECT_THAT(CapabilitiesOf(host, Only(host)), IsEmpty());
}

TEST(ConfigSpace, LoopsInTheChainEnd) {
  const pci::Host to_itself = Read(AnyFunction().Capability(0x34, 0x40, 0x01).Set(0x41, {0x40}));
  EXPECT_THAT(CapabilitiesOf(to_itself, Only(to_itself)), ElementsAre(0x01));
  const pci::Host of_two = Read(
      AnyFunction().Capability(0x34, 0x40, 0x01).Capability(0x41, 0x50, 0x05).Set(0x51, {0x40}));
  EXPECT_THAT(CapabilitiesOf(of_two, Only(of_two)), ElementsAre(0x01, 0x05));
  EXPECT_FALSE(Only(of_two).cut_off);
}

TEST(ConfigSpace, TheChainEndsWhereItLeavesTheCapabilities) {
  const pci::Host into_header = Read(AnyFunction().Capability(0x34, 0x40, 0x01).Set(0x41, {0x08}));
  EXPECT_THAT(CapabilitiesOf(into_header, Only(into_header)), ElementsAre(0x01));
  const pci::Host broken = Read(AnyFunction().Capability(0x34, 0x40, 0xff).Set(0x41, {0x50}));
  EXPECT_THAT(CapabilitiesOf(broken, Only(broken)), IsEmpty());
  const pci::Host at_the_end = Read(AnyFunction().Capability(0x34, 0xfc, 0x10, {0x52, 0}));
  EXPECT_EQ(Only(at_the_end).pcie_port_type, 5);
}

TEST(ConfigSpace, IsCutOffWhereTheChainGoesOnBehindTheBytes) {
  const pci::Host cut_off = Read(AnyFunction().Capability(0x34, 0x40, 0x01).Resize(64));
  EXPECT_THAT(CapabilitiesOf(cut_off, Only(cut_off)), IsEmpty());
  EXPECT_TRUE(Only(cut_off).cut_off);
  EXPECT_FALSE(Only(Read(AnyFunction().Resize(64))).cut_off);
}

// As tar copies it without root: the file is as long as ever, and zeros from byte 64 on.
TEST(ConfigSpace, IsCutOffWhereTheFirstCapabilityIsZeros) {
  const pci::Host padded = Read(AnyFunction().Capability(0x34, 0x40, 0x01).Resize(64).Resize(256));
  EXPECT_THAT(CapabilitiesOf(padded, Only(padded)), IsEmpty());
  EXPECT_TRUE(Only(padded).cut_off);
  EXPECT_EQ(padded.cut_off_functions(), 1u);
  // A capability without meaning leads on to the next.
  const pci::Host null = Read(AnyFunction().Capability(0x34, 0x40, 0).Capability(0x41, 0x50, 0x05));
  EXPECT_THAT(CapabilitiesOf(null, Only(null)), ElementsAre(0x00, 0x05));
  EXPECT_FALSE(Only(null).cut_off);
}

TEST(ConfigSpace, AFunctionThatHasGoneTellsNothing) {
  const pci::Host host = Read(Function("0000:00:01.0").Gone());
  EXPECT_EQ(
      Describe(host, Only(host)),
      "0000:00:01.0 id ffff:ffff subsystem 0000:0000 class ffffff rev ff header 0 status 0000 "
      "buses 00-00 parent none physical none port -1 link 0x0/0x0 speeds 00 slot none below "
      "none capabilities");
  EXPECT_EQ(host.DeviceName(Only(host)), "Device ffff");
}

// Of a virtual function only the id registers read as ones (PCI Express Base, 9.3.4.1).
TEST(ConfigSpace, AVirtualFunctionTellsAllButItsIds) {
  const pci::Host host = Read(Function("0000:00:01.1").Ids(0xffff, 0xffff).Express(0).Set(8, {2}));
  EXPECT_EQ(Only(host).pcie_port_type, 0);
  EXPECT_EQ(Only(host).revision, 2);
  EXPECT_THAT(CapabilitiesOf(host, Only(host)), ElementsAre(0x10));
}

TEST(ConfigSpace, OnlyBridgesHaveBusesBehindThem) {
  const auto buses = [](unsigned header_type) {
    const pci::Host host = Read(AnyFunction().Set(0x0e, {header_type}).Set(0x19, {7, 9}));
    return std::pair(Only(host).buses.secondary, Only(host).buses.subordinate);
  };
  EXPECT_THAT(buses(0x01), Pair(7, 9));
  EXPECT_THAT(buses(0x81), Pair(7, 9)) << "of several functions";
  EXPECT_THAT(buses(0x02), Pair(7, 9)) << "CardBus";
  EXPECT_THAT(buses(0x00), Pair(0, 0));
  EXPECT_THAT(buses(0x7f), Pair(0, 0));
}

TEST(ConfigSpace, TheSubsystemIsWhereTheHeaderTypeHasIt) {
  const auto subsystem = [](const Function& function) {
    const pci::Host host = Read(function);
    return std::pair(Only(host).ids.subsystem_vendor, Only(host).ids.subsystem);
  };
  EXPECT_THAT(subsystem(AnyFunction().Set(0x2c, {0xf4, 0x1a, 0x00, 0x11})), Pair(0x1af4, 0x1100));
  EXPECT_THAT(subsystem(AnyFunction().Bridge(1, 1).Capability(0x34, 0x40, 0x0d,
                                                              {0, 0, 0xf4, 0x1a, 0x00, 0x11})),
              Pair(0x1af4, 0x1100));
  EXPECT_THAT(subsystem(AnyFunction().Set(0x0e, {2}).Set(0x40, {0xf4, 0x1a, 0x00, 0x11})),
              Pair(0x1af4, 0x1100));
  EXPECT_THAT(subsystem(AnyFunction().Set(0x2c, {0xff, 0xff, 0xff, 0xff})), Pair(0, 0));
  EXPECT_THAT(subsystem(AnyFunction().Bridge(1, 1).Set(0x2c, {0xf4, 0x1a})), Pair(0, 0));
}

TEST(ConfigSpace, AllWaysToReadRandomBytesTellTheSame) {
  Random random(17);
  for (int round = 0; round < 300; ++round) {
    Function function("0000:00:01.0");
    for (std::size_t i = 0; i < 256; ++i) function.Set(i, {random.Below(256)});
    function.Set(6, {0x10}).Set(0x0e, {random.Below(3)});
    if (round % 3 == 0) function.Resize(64 + 16 * random.Below(12));
    EXPECT_EQ(Complaints(Read(function)), "");
  }
}

// ---------------------------------------------------------------------------------------------
// What is read: every register of the running kernel costs a cycle of the bus.

Function Port() {
  return AnyFunction()
      .Bridge(1, 1)
      .Capability(0x34, 0x40, 0x01)
      .Capability(0x41, 0x80, 0x10, {0x42, 0x01})
      .Capability(0x81, 0xc0, 0x0d);
}

std::vector<std::pair<long, std::size_t>> PiecesOf(const Function& function, Fetch fetch) {
  const TempFolder folder;
  const std::string path = folder.Write("config", function.Config());
  const pci::File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  pieces.clear();
  pci::ConfigSpace registers(file.descriptor(), fetch);
  Described described;
  registers.Describe(described.function, described.chain);
  return pieces;
}

TEST(ConfigSpace, OfACopyAllIsReadInOnePiece) {
  EXPECT_THAT(PiecesOf(Port(), Fetch::kAtOnce), ElementsAre(Pair(0, 256)));
}

TEST(ConfigSpace, OfTheRunningKernelOnlyWhatIsWantedIsRead) {
  EXPECT_THAT(PiecesOf(AnyFunction(), Fetch::kAsWanted), ElementsAre(Pair(0, 16)));
  EXPECT_THAT(PiecesOf(Port(), Fetch::kAsWanted),
              ElementsAre(Pair(0, 16),                                   // identity, status
                          Pair(0x18, 4),                                 // buses
                          Pair(0x34, 4),                                 // the chain begins
                          Pair(0x40, 4),                                 // power management
                          Pair(0x80, 4), Pair(0x8c, 12), Pair(0xac, 4),  // PCI Express
                          Pair(0xc0, 4)));                               // subsystem
}

TEST(ConfigSpace, OfAFunctionThatHasGoneNoMoreIsRead) {
  EXPECT_THAT(PiecesOf(Function("0000:00:01.0").Gone(), Fetch::kAsWanted),
              ElementsAre(Pair(0, 16)));
}

}  // namespace
}  // namespace pci_test
