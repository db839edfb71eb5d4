// What the system has made of a function.

#include <gmock/gmock.h>

#include <filesystem>

#include "pci/hosts.h"

namespace pci_test {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Details : public ::testing::Test {
 protected:
  Details() { tree_.Add("pci0000:00", Endpoint("0000:00:01.0")); }

  pci::Detail Read() const {
    const pci::Host host = ReadSysfs(tree_.pci(), true);
    EXPECT_THAT(host.functions(), SizeIs(1));
    return host.DetailOf(host.functions().at(0));
  }

  std::string Place(const std::string& name) const {
    return tree_.Path("devices/pci0000:00/0000:00:01.0/" + name);
  }
  void Folder(const std::string& name) const { fs::create_directories(Place(name)); }
  void Link(const std::string& name, const std::string& target) const {
    fs::create_symlink(target, Place(name));
  }

  const WrittenTree tree_;
};

TEST_F(Details, AreNoneWhereTheKernelTellsNone) {
  const pci::Detail detail = Read();
  EXPECT_EQ(detail.driver, "");
  EXPECT_EQ(detail.numa_node, -1);
  EXPECT_EQ(detail.iommu_group, std::nullopt);
  EXPECT_THAT(detail.system_devices, IsEmpty());
}

TEST_F(Details, AreNotReadUnlessWanted) {
  Link("driver", "../../../bus/pci/drivers/nvme");
  const pci::Host host = ReadSysfs(tree_.pci());
  EXPECT_EQ(host.DetailOf(host.functions().at(0)).driver, "");
}

TEST_F(Details, TellDriverNodeAndGroup) {
  Link("driver", "../../../bus/pci/drivers/nvme");
  Link("iommu_group", "../../../kernel/iommu_groups/17");
  tree_.Write("devices/pci0000:00/0000:00:01.0/numa_node", "1\n");
  const pci::Detail detail = Read();
  EXPECT_EQ(detail.driver, "nvme");
  EXPECT_EQ(detail.numa_node, 1);
  EXPECT_EQ(detail.iommu_group, 17u);
}

TEST_F(Details, GarbageIsNothing) {
  Link("iommu_group", "../x17");
  tree_.Write("devices/pci0000:00/0000:00:01.0/numa_node", "one\n");
  EXPECT_EQ(Read().numa_node, -1);
  EXPECT_EQ(Read().iommu_group, std::nullopt);
}

TEST_F(Details, TellDevicesByTheNamesThatAdministratorsKnow) {
  Link("driver", "../some");
  for (const char* folder :
       {"net/eth0/queues", "virtio0/net/eth1", "virtio0/block/vda/vda1",
        "nvme/nvme0/nvme0n1/nvme0n1p1", "nvme/nvme1/nvme1c3n2", "nvme/nvme1/hwmon2",
        "drm/card0/card0-DP-1", "drm/renderD128", "infiniband/mlx5_0/ports", "sound/card1/pcmC1D0p",
        "usb1/1-1/1-1:1.0/net/usb0", "tty/ttyS4", "ata1/host0/target0:0:0/0:0:0:0/block/sda/sda1",
        "host1/port-1:0/expander-1:0/port-1:0:3/end_device-1:0:3/target1:0:2/1:0:2:0/block/sdb",
        "power/net/none", "msi_irqs"}) {
    Folder(folder);
  }
  EXPECT_THAT(Read().system_devices,
              ElementsAre("card0", "card1", "eth0", "eth1", "mlx5_0", "nvme0", "nvme0n1", "nvme1",
                          "nvme1n2", "sda", "sdb", "ttyS4", "usb1", "vda"));
}

// They are other functions', a bridge or a controller of a domain has none.
TEST_F(Details, OfFunctionsBelowAreNotThoseAbove) {
  Link("driver", "../some");
  Folder("0000:01:00.0/net/eth0");
  Folder("pci10000:00/10000:00:00.0/net/eth2");
  EXPECT_THAT(Read().system_devices, IsEmpty());
}

// It is not even looked below: a bridge's services have folders of their own.
TEST_F(Details, AreNoDevicesOfBridgesAndOfWhatHasNoDriver) {
  Folder("net/eth0");
  EXPECT_THAT(Read().system_devices, IsEmpty());
  Folder("driver");
  EXPECT_THAT(Read().system_devices, ElementsAre("eth0"));
  WrittenTree bridges;
  bridges.Add("pci0000:00", Endpoint("0000:00:01.0").Bridge(1, 1));
  const std::string bridge = bridges.Path("devices/pci0000:00/0000:00:01.0");
  fs::create_directories(bridge + "/net/eth0");
  fs::create_symlink("../pcieport", bridge + "/driver");
  const pci::Host host = ReadSysfs(bridges.pci(), true);
  EXPECT_EQ(host.DetailOf(host.functions().at(0)).driver, "pcieport");
  EXPECT_THAT(host.DetailOf(host.functions().at(0)).system_devices, IsEmpty());
}

TEST_F(Details, LinksAreNotFollowed) {
  Link("driver", "../some");
  Link("up", "..");
  Link("net", "/sys/class/net");
  Folder("virtio0");
  Link("virtio0/block", "/sys/class/block");
  EXPECT_THAT(Read().system_devices, IsEmpty());
}

TEST_F(Details, FoldersWithoutEndAreLeft) {
  Link("driver", "../some");
  std::string deep = "a";
  for (int i = 0; i < 40; ++i) deep += "/a";
  Folder(deep + "/net/eth0");
  for (int i = 0; i < 2000; ++i) Folder("wide" + std::to_string(i));
  EXPECT_THAT(Read().system_devices, IsEmpty());
}

TEST_F(Details, DumpsHaveNone) {
  const pci::Host host = ReadDumpOf({Endpoint("0000:00:01.0")});
  EXPECT_EQ(host.DetailOf(host.functions().at(0)).driver, "");
}

}  // namespace
}  // namespace pci_test
