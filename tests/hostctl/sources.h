// Sources for the host control library in tests: the recorded host, dumps and sysfs trees written
// for the occasion.

#ifndef HOSTCTL_SOURCES_H_
#define HOSTCTL_SOURCES_H_

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "cache/hostctl.h"

namespace hostctl_test {

using Devices = std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>>;

std::string RecordedDump();   // the file
std::string RecordedSysfs();  // the folder with devices/ and slots/

// Sets one environment variable for as long as it lives, and unsets the library's other ones.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const std::string& value);
  ~ScopedVariable();

 private:
  const char* name_;
};

// The functions that the library finds in a source. Throw HostCtlException.
Devices ReadLiveHost();
Devices ReadDump(const std::string& path);
Devices ReadSysfs(const std::string& path);

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
  Function& Resize(std::size_t size);

  const std::string& address() const { return address_; }
  std::string Config() const { return {bytes_.begin(), bytes_.end()}; }
  std::string DumpText() const;  // as lspci -xxx prints it

 private:
  std::string address_;
  std::vector<std::uint8_t> bytes_;
};

// A function with ids and nothing else.
inline Function Endpoint(const std::string& address) {
  return Function(address).Ids(0x8086, 0x1234);
}

// Functions as the library sees them in a dump of them.
Devices ReadDumpOf(const std::vector<Function>& functions);

// Writes what sysfs has of the function into `folder`.
void WriteSysfsFunction(const TempFolder& root, const std::string& folder,
                        const Function& function);

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

}  // namespace hostctl_test

#endif  // HOSTCTL_SOURCES_H_
