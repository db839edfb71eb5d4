// A sysfs tree that the input describes, a line for each thing in it:
//
//   function pci0000:00/0000:00:01.0 0000:01:00.0 8680d310   a function below that folder, and its
//                                                            configuration space (then zeros)
//   function - 0000:00:02.0 8680                             a folder in place of the kernel's link
//   file bus/pci/slots/3/address 0000:01:00                  a file with a line of text
//   bytes devices/pci0000:00/0000:00:01.0/config 8680d310    a file with these bytes
//   size devices/pci0000:00/0000:00:01.0/class 1000000       a file of that size
//   folder, pipe, remove PATH
//   link bus/pci/devices/0000:00:03.0 ../../../devices/pci0000:00/0000:00:03.0
//
// A line replaces what earlier ones put in its place. Other lines, and those that would reach out
// of the tree, do nothing.

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "fuzz_target.h"
#include "pci_oracle.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostLines = 100;
constexpr std::size_t kMostBytes = 1024;           // of a configuration space, or another file
constexpr std::size_t kLargestFile = 1 << 30;      // with nothing written in it
constexpr std::size_t kDeepestPath = 12;           // components
constexpr std::size_t kConfigurationSpace = 4096;  // PCI Express Base, 7.2.2

// Pairs of hexadecimal digits, up to the first that is none.
std::string BytesIn(std::string_view hex) {
  const auto value = [](char digit) {
    const std::string_view digits = "0123456789abcdef";
    return static_cast<unsigned>(digits.find(digit));
  };
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size() && bytes.size() < kMostBytes; i += 2) {
    const unsigned high = value(hex[i]), low = value(hex[i + 1]);
    if (high > 15 || low > 15) break;
    bytes += static_cast<char>(high << 4 | low);
  }
  return bytes;
}

class Tree {
 public:
  Tree() { fs::create_directories(Place("bus/pci/devices")); }
  ~Tree() { fs::remove_all(Folder().Path("tree")); }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  static std::string Pci() { return Place("bus/pci"); }

  void TakeLine(std::string_view line) {
    const std::string_view kind = fuzz::TakeWord(line);
    const std::string path(fuzz::TakeWord(line));
    if (kind == "function") return AddFunction(path, std::string(fuzz::TakeWord(line)), line);
    if (kind == "link") return AddLink(path, std::string(line));
    constexpr std::array<std::string_view, 6> kInPlace = {"file", "bytes",  "size",
                                                          "pipe", "folder", "remove"};
    if (std::find(kInPlace.begin(), kInPlace.end(), kind) == kInPlace.end()) return;
    if (!MakeRoom(path)) return;
    if (kind == "file") Write(path, std::string(line) + '\n');
    if (kind == "bytes") Write(path, BytesIn(line));
    if (kind == "folder") fs::create_directory(Place(path));
    if (kind == "pipe") (void)mkfifo(Place(path).c_str(), 0600);
    if (kind == "size") {
      fs::resize_file(Write(path, ""), fuzz::NumberIn(line, kLargestFile));
    }
  }

 private:
  // Removes what is at `path` and makes the folders above it. False where the path would leave the
  // tree: it holds a "..", or a link.
  bool MakeRoom(const std::string& path) {
    if (path.ends_with('/')) return false;
    std::string above;
    std::string_view rest = path;
    for (std::size_t depth = 0; depth < kDeepestPath; ++depth) {
      const std::string_view name = fuzz::TakeUntil('/', rest);
      if (name.empty() || name == "." || name == "..") return false;
      above += above.empty() ? name : "/" + std::string(name);
      const std::string place = Place(above);
      if (rest.empty()) return fs::remove_all(place), true;
      const fs::file_status status = fs::symlink_status(place);
      if (!fs::exists(status)) fs::create_directory(place);
      if (fs::exists(status) && !fs::is_directory(status)) return false;
    }
    return false;
  }

  void AddFunction(const std::string& upstream, const std::string& address, std::string_view hex) {
    const bool linked = upstream != "-";
    const std::string place = (linked ? "devices/" + upstream : "bus/pci/devices") + "/" + address;
    if (!MakeRoom(place)) return;
    pci_test::Function function(address);
    function.Resize(kConfigurationSpace);
    std::size_t offset = 0;
    for (const char byte : BytesIn(hex)) function.Set(offset++, {static_cast<unsigned char>(byte)});
    WriteSysfsFunction(Folder(), "tree/" + place, function);
    if (linked) AddLink("bus/pci/devices/" + address, "../../../" + place);
  }

  // A relative target climbs first and then only descends, so that it ends in the tree whatever
  // links it meets there.
  void AddLink(const std::string& path, const std::string& target) {
    constexpr std::array<std::string_view, 3> kOutside = {"/dev/null", "/dev/zero", "/nowhere"};
    if (target.starts_with('/')) {
      for (const std::string_view outside : kOutside) {
        if (target == outside && MakeRoom(path)) fs::create_symlink(target, Place(path));
      }
      return;
    }
    std::ptrdiff_t climbs = std::count(path.begin(), path.end(), '/');
    std::string_view rest = target;
    bool climbing = true;
    while (!rest.empty()) {
      const bool up = fuzz::TakeUntil('/', rest) == "..";
      climbing = climbing && up;
      if (up && (!climbing || climbs-- == 0)) return;
    }
    if (MakeRoom(path)) fs::create_symlink(target, Place(path));
  }

  // Trees stand in the same place one after the other.
  static const pci_test::TempFolder& Folder() {
    static const pci_test::TempFolder folder;
    return folder;
  }
  static std::string Place(const std::string& path) { return Folder().Path("tree/" + path); }
  static std::string Write(const std::string& path, const std::string& content) {
    return Folder().Write("tree/" + path, content);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text = fuzz::TextOf(data, size);
  std::string_view rest = fuzz::TakeUntil('\0', text);  // no file name holds a zero byte
  Tree tree;
  for (std::size_t lines = 0; lines < kMostLines && !rest.empty(); ++lines) {
    try {
      tree.TakeLine(fuzz::TakeUntil('\n', rest));
    } catch (const fs::filesystem_error&) {
      continue;  // a name that no file may have
    }
  }
  fuzz::CheckSource({pci::Source::Kind::kSysfs, Tree::Pci()});
  return 0;
}
