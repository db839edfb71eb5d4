// Sources of PCI functions that tests write for the occasion: dumps and sysfs trees.

#ifndef PCI_WRITTEN_SOURCES_H_
#define PCI_WRITTEN_SOURCES_H_

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace pci_test {

// A folder of its own, removed at the end.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string Path(const std::string& name) const { return (path_ / name).string(); }

  // Writes a file, with the folders that it needs, and gives its path.
  std::string Write(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path path_;
};

// One function and its configuration space: 256 bytes of zero until set.
class Function {
 public:
  explicit Function(std::string address) : address_(std::move(address)), bytes_(256) {}

  Function& Set(std::size_t offset, std::initializer_list<unsigned> bytes);
  Function& Ids(unsigned vendor, unsigned device);
  Function& Bridge(unsigned secondary, unsigned subordinate);
  // Puts a capability at `offset`, links it from `from` and turns the chain on. `from` is the place
  // of the pointer: 0x34, or one behind an earlier capability.
  Function& Capability(std::size_t from, std::size_t offset, unsigned id,
                       std::initializer_list<unsigned> rest = {});
  // A PCI Express capability at 0x40, and the only one: of a port that implements a slot with this
  // number where it is not negative.
  Function& Express(unsigned port_type, int slot = -1);
  // All registers read as ones.
  Function& Gone();
  Function& Resize(std::size_t size);

  const std::string& address() const { return address_; }
  std::string Config() const { return {bytes_.begin(), bytes_.end()}; }
  // As lspci -xxx prints it, with this behind the address.
  std::string DumpText(const std::string& text = "Some device: of some maker") const;
  // What the kernel has in "modalias".
  std::string Modalias() const;

 private:
  std::string Digits(std::size_t last_byte, std::size_t count) const;

  std::string address_;
  std::vector<std::uint8_t> bytes_;
};

// A function with ids and nothing else.
inline Function Endpoint(const std::string& address) {
  return Function(address).Ids(0x8086, 0x1234);
}

std::string DumpOf(const std::vector<Function>& functions);

// Writes what sysfs has of the function into `folder`: configuration space and single attributes.
void WriteSysfsFunction(const TempFolder& root, const std::string& folder,
                        const Function& function);

// A tree as the kernel lays it out: folders nested below devices/, links in bus/pci/devices.
class WrittenTree {
 public:
  WrittenTree();

  // Adds a function with its single attributes. `upstream` is the folder below devices/ that holds
  // its own, such as "pci0000:00/0000:00:01.0".
  void Add(const std::string& upstream, const Function& function) const;
  // A link in bus/pci/devices.
  void Link(const std::string& name, const std::string& target) const;
  void AddSlot(const std::string& label, const std::string& address) const;

  // A file of a function, by its link.
  std::string FileOf(const std::string& address, const std::string& name) const {
    return Path("bus/pci/devices/" + address + "/" + name);
  }
  std::string Path(const std::string& name) const { return folder_.Path(name); }
  std::string Write(const std::string& name, const std::string& content) const {
    return folder_.Write(name, content);
  }
  std::string pci() const { return Path("bus/pci"); }

 private:
  TempFolder folder_;
};

// File descriptors that this process has open.
std::size_t OpenDescriptors();

// Random numbers, the same ones at every run.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned Below(std::size_t limit) { return static_cast<unsigned>(engine_() % limit); }

 private:
  std::mt19937 engine_;
};

}  // namespace pci_test

#endif  // PCI_WRITTEN_SOURCES_H_
