#include "support/compact_host.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace compact_host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kConfigSize = 256;
constexpr std::string_view kPortTypes[] = {"endpoint", "legacy",     "",         "",
                                           "root",     "up",         "down",     "to-pci",
                                           "to-pcie",  "integrated", "collector"};

std::string Hex(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*x", digits, value);
  return text;
}

std::string Ids(unsigned first, unsigned second) { return Hex(first, 4) + ':' + Hex(second, 4); }

Address DeviceOf(Address address) {
  address.function = 0;
  return address;
}

std::string TextOfDevice(const Address& address) {
  return Hex(address.domain, 4) + ':' + Hex(address.bus, 2) + ':' + Hex(address.device, 2);
}

// The function that comes next on the bus or on the next one, as virtual functions are counted.
Address Next(Address address) {
  const unsigned id = (address.bus << 8 | address.device << 3 | address.function) + 1;
  return {address.domain, id >> 8, id >> 3 & 0x1f, id & 7};
}

// ---- Lines.

// Reads the text of one line bit by bit; throws std::invalid_argument.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool at_end() const { return text_.empty(); }

  bool Skip(char c) {
    if (!text_.starts_with(c)) return false;
    text_.remove_prefix(1);
    return true;
  }

  void Expect(char c) {
    if (!Skip(c)) throw std::invalid_argument(std::string("no '") + c + "' before " + Rest());
  }

  unsigned Number(int base) {
    std::size_t length = 0;
    unsigned long number = 0;
    try {
      number = std::stoul(std::string(text_), &length, base);
    } catch (const std::exception&) {
      throw std::invalid_argument("no number in " + Rest());
    }
    text_.remove_prefix(length);
    return static_cast<unsigned>(number);
  }

  std::string Rest() const { return std::string(text_); }

 private:
  std::string_view text_;
};

Address ReadAddress(Reader& reader) {
  Address address;
  address.domain = reader.Number(16);
  reader.Expect(':');
  address.bus = reader.Number(16);
  reader.Expect(':');
  address.device = reader.Number(16);
  reader.Expect('.');
  address.function = reader.Number(8);
  return address;
}

Rate ReadRate(Reader& reader) {
  Rate rate;
  rate.speed = reader.Number(10);
  reader.Expect('x');
  rate.lanes = reader.Number(10);
  return rate;
}

struct VirtualFunctions {
  unsigned count = 0;
  Address first;
  unsigned device = 0;
};

void ReadBuses(Reader& reader, Function& function) {
  function.secondary = function.subordinate = reader.Number(16);
  if (reader.Skip('-')) function.subordinate = reader.Number(16);
  function.header_type = function.class_code >> 8 == 0x0607 ? 2 : 1;
}

int PortType(const std::string& word) {
  const auto* found = std::find(std::begin(kPortTypes), std::end(kPortTypes), word);
  if (found == std::end(kPortTypes)) throw std::invalid_argument("no such port type: " + word);
  return static_cast<int>(found - std::begin(kPortTypes));
}

void ReadFact(const std::string& key, Reader reader, Function& function, VirtualFunctions& vfs) {
  if (key == "rev") {
    function.revision = reader.Number(16);
  } else if (key == "sub") {
    function.subsystem_vendor = reader.Number(16);
    reader.Expect(':');
    function.subsystem = reader.Number(16);
  } else if (key == "buses") {
    ReadBuses(reader, function);
  } else if (key == "header") {
    function.header_type = reader.Number(16);
  } else if (key == "status") {
    function.status = reader.Number(16);
  } else if (key == "caps") {
    do function.capabilities.push_back(reader.Number(16));
    while (reader.Skip(','));
  } else if (key == "pcie") {
    function.pcie_type = PortType(reader.Rest());
  } else if (key == "link") {
    function.possible = ReadRate(reader);
    if (reader.Skip('/')) function.now = ReadRate(reader);
  } else if (key == "slot") {
    function.slot = reader.Number(10);
  } else if (key == "label") {
    function.label = reader.Rest();
  } else if (key == "vfs") {
    vfs.count = reader.Number(10);
    reader.Expect('@');
    vfs.first = ReadAddress(reader);
  } else if (key == "vf") {
    vfs.device = reader.Number(16);
  } else {
    throw std::invalid_argument("no such fact: " + key);
  }
}

Function ReadFunction(std::istream& words, VirtualFunctions& vfs) {
  std::string address, class_code, ids;
  words >> address >> class_code >> ids;
  Function function;
  Reader reader(address);
  function.address = ReadAddress(reader);
  reader = Reader(class_code);
  function.class_code = reader.Number(16);
  reader.Expect(':');
  if (class_code.size() == 5) function.class_code <<= 8;
  reader = Reader(ids);
  function.vendor = reader.Number(16);
  reader.Expect(':');
  function.device = reader.Number(16);
  for (std::string word; words >> word;) {
    const std::size_t equals = std::min(word.find('='), word.size() - 1);
    ReadFact(word.substr(0, equals), Reader(std::string_view(word).substr(equals + 1)), function,
             vfs);
  }
  return function;
}

// A virtual function has what its physical one has, but for ids and interrupts.
Function VirtualFunction(const Function& physical, std::size_t place, const Address& address,
                         unsigned device) {
  Function function;
  function.address = address;
  function.above = physical.above;
  function.class_code = physical.class_code;
  function.vendor = physical.vendor;
  function.device = device;
  function.revision = physical.revision;
  function.subsystem_vendor = physical.subsystem_vendor;
  function.subsystem = physical.subsystem;
  function.capabilities = {0x11};
  function.pcie_type = 0;
  function.physical_function = place;
  return function;
}

std::string Text(const Rate& rate) {
  return std::to_string(rate.speed) + 'x' + std::to_string(rate.lanes);
}

// The function as a line that Parse reads, without its virtual functions.
std::string Line(const Function& function) {
  std::string text = compact_host::Text(function.address) + ' ' + Hex(function.class_code, 6) +
                     ": " + Ids(function.vendor, function.device);
  const auto add = [&](const char* key, const std::string& value) {
    text += std::string(" ") + key + '=' + value;
  };
  if (function.revision != 0) add("rev", Hex(function.revision, 2));
  if (function.subsystem_vendor != 0) {
    add("sub", Ids(function.subsystem_vendor, function.subsystem));
  }
  const bool is_bridge = function.header_type == 1 || function.header_type == 2;
  if (is_bridge) add("buses", Hex(function.secondary, 2) + '-' + Hex(function.subordinate, 2));
  if (!is_bridge && function.header_type != 0) add("header", Hex(function.header_type, 2));
  if (function.status != 0) add("status", Hex(function.status, 4));
  std::string capabilities;
  for (const unsigned id : function.capabilities) {
    capabilities += (capabilities.empty() ? "" : ",") + Hex(id, 2);
  }
  if (!capabilities.empty()) add("caps", capabilities);
  const auto type = static_cast<std::size_t>(function.pcie_type);
  if (function.pcie_type >= 0) add("pcie", std::string(kPortTypes[type]));
  if (function.possible.lanes != 0) {
    add("link",
        Text(function.possible) + (function.now.lanes != 0 ? '/' + Text(function.now) : ""));
  }
  if (function.slot) add("slot", std::to_string(*function.slot));
  if (!function.label.empty()) add("label", function.label);
  return text;
}

// ---- Configuration space.

// Bytes of one function, and capabilities one behind the other.
class ConfigWriter {
 public:
  explicit ConfigWriter(unsigned header_type)
      : bytes_(kConfigSize, '\0'),
        link_(header_type == 2 ? 0x14 : 0x34),
        next_(header_type == 2 ? 0x80 : 0x40) {}

  void Put(std::size_t offset, unsigned value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      bytes_.at(offset + i) = static_cast<char>(value >> (8 * i) & 0xff);
    }
  }

  // Gives the capability's place.
  std::size_t AddCapability(unsigned id, std::size_t size) {
    if (next_ + size > kConfigSize) throw std::length_error("no room for capabilities");
    const std::size_t place = next_;
    Put(link_, static_cast<unsigned>(place), 1);
    Put(place, id, 1);
    Put(6, static_cast<unsigned char>(bytes_[6]) | 0x10u, 1);
    link_ = place + 1;
    next_ += size;
    return place;
  }

  std::string Take() { return std::move(bytes_); }

 private:
  std::string bytes_;
  std::size_t link_;  // where the next capability's place is written
  std::size_t next_;
};

// PCI Express Base, 7.5.3.
void PutExpress(ConfigWriter& config, const Function& function) {
  constexpr unsigned kVersion = 2, kSlotImplemented = 1u << 8;
  constexpr unsigned kReportsActive = 1u << 20, kActive = 1u << 13, kHotPlug = 3u << 5;
  const std::size_t at = config.AddCapability(0x10, 0x3c);
  const auto type = static_cast<unsigned>(function.pcie_type);
  const bool leads_down = type == 4 || type == 6;
  config.Put(at + 2, kVersion | type << 4 | (function.slot ? kSlotImplemented : 0), 2);
  config.Put(
      at + 0x0c,
      function.possible.speed | function.possible.lanes << 4 | (leads_down ? kReportsActive : 0),
      4);
  config.Put(at + 0x12,
             function.now.speed | function.now.lanes << 4 |
                 (leads_down && function.now.lanes != 0 ? kActive : 0),
             2);
  if (function.slot) config.Put(at + 0x14, *function.slot << 19 | kHotPlug, 4);
  // The vector of supported speeds: all up to the highest.
  config.Put(at + 0x2c, (2u << function.possible.speed) - 2, 4);
}

void PutCapabilities(ConfigWriter& config, const Function& function) {
  for (const unsigned id : function.capabilities) {
    const std::size_t at = config.AddCapability(id, id == 0x05 ? 0x18 : 0x0c);
    if (id == 0x0d) {
      config.Put(at + 4, function.subsystem_vendor, 2);
      config.Put(at + 6, function.subsystem, 2);
    }
  }
  if (function.pcie_type >= 0) PutExpress(config, function);
}

// ---- Files.

void WriteFile(const fs::path& file, std::string_view content) {
  std::ofstream stream;
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  stream.open(file, std::ios::binary);
  stream << content;
}

std::string UpperHex(unsigned value, int digits) {
  std::string text = Hex(value, digits);
  for (char& c : text) c = static_cast<char>(std::toupper(c));
  return text;
}

std::string Modalias(const Function& function) {
  return "pci:v" + UpperHex(function.vendor, 8) + 'd' + UpperHex(function.device, 8) + "sv" +
         UpperHex(function.subsystem_vendor, 8) + "sd" + UpperHex(function.subsystem, 8) + "bc" +
         UpperHex(function.class_code >> 16, 2) + "sc" +
         UpperHex(function.class_code >> 8 & 0xff, 2) + 'i' +
         UpperHex(function.class_code & 0xff, 2);
}

void WriteAttributes(const fs::path& folder, const Function& function) {
  const auto write = [&](const char* name, const std::string& text) {
    WriteFile(folder / name, text + '\n');
  };
  write("vendor", "0x" + Hex(function.vendor, 4));
  write("device", "0x" + Hex(function.device, 4));
  write("class", "0x" + Hex(function.class_code, 6));
  write("revision", "0x" + Hex(function.revision, 2));
  write("subsystem_vendor", "0x" + Hex(function.subsystem_vendor, 4));
  write("subsystem_device", "0x" + Hex(function.subsystem, 4));
  write("irq", "0");
  write("numa_node", "-1");
  std::string resources;
  for (int i = 0; i < 7; ++i) {
    resources += "0x0000000000000000 0x0000000000000000 0x0000000000000000\n";
  }
  WriteFile(folder / "resource", resources);
  write("modalias", Modalias(function));
  write("uevent",
        "PCI_CLASS=" + UpperHex(function.class_code, 1) +
            "\nPCI_ID=" + UpperHex(function.vendor, 4) + ':' + UpperHex(function.device, 4) +
            "\nPCI_SUBSYS_ID=" + UpperHex(function.subsystem_vendor, 4) + ':' +
            UpperHex(function.subsystem, 4) + "\nPCI_SLOT_NAME=" + Text(function.address) +
            "\nMODALIAS=" + Modalias(function));
}

}  // namespace

std::string Text(const Address& address) {
  return TextOfDevice(address) + '.' + Hex(address.function, 1);
}

Host Host::Parse(const std::string& text) {
  Host host;
  std::vector<std::pair<std::size_t, std::size_t>> above;  // indentation and place
  std::istringstream lines(text);
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const std::size_t indentation = line.find_first_not_of(' ');
    if (indentation == line.npos || line[indentation] == '#') continue;
    while (!above.empty() && above.back().first >= indentation) above.pop_back();
    std::istringstream words(line);
    VirtualFunctions vfs;
    try {
      Function function = ReadFunction(words, vfs);
      function.above = above.empty() ? kNone : above.back().second;
      const std::size_t place = host.Add(std::move(function));
      above.emplace_back(indentation, place);
      host.AddVirtualFunctions(place, vfs.count, vfs.first, vfs.device);
    } catch (const std::exception& error) {
      throw std::invalid_argument("line " + std::to_string(number) + ": " + error.what());
    }
  }
  return host;
}

Host Host::ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::invalid_argument("cannot read " + file.string());
  return Parse({std::istreambuf_iterator<char>(stream), {}});
}

std::size_t Host::Add(Function function) {
  ++functions_of_devices_[DeviceOf(function.address)];
  functions_.push_back(std::move(function));
  return functions_.size() - 1;
}

void Host::AddVirtualFunctions(std::size_t physical, unsigned count, Address first,
                               unsigned device) {
  for (Address next = first; count > 0; --count, next = Next(next)) {
    Add(VirtualFunction(functions_[physical], physical, next, device));
  }
}

std::string Host::Config(const Function& function) const {
  ConfigWriter config(function.header_type);
  const bool is_virtual = function.physical_function != kNone;
  config.Put(0x00, is_virtual ? 0xffff : function.vendor, 2);
  config.Put(0x02, is_virtual ? 0xffff : function.device, 2);
  config.Put(0x06, function.status, 2);
  config.Put(0x08, function.revision | function.class_code << 8, 4);
  const bool alone = is_virtual || functions_of_devices_.at(DeviceOf(function.address)) == 1;
  config.Put(0x0e, function.header_type | (alone ? 0 : 0x80), 1);
  if (function.header_type == 1 || function.header_type == 2) {
    config.Put(0x18, function.address.bus | function.secondary << 8 | function.subordinate << 16,
               3);
  }
  PutCapabilities(config, function);
  const std::size_t subsystem = function.header_type == 2 ? 0x40 : 0x2c;
  if (function.header_type != 1) {
    config.Put(subsystem, function.subsystem_vendor | function.subsystem << 16, 4);
  }
  return config.Take();
}

std::string Host::Dump() const {
  std::vector<const Function*> sorted;
  for (const Function& function : functions_) sorted.push_back(&function);
  std::sort(sorted.begin(), sorted.end(), [](const Function* left, const Function* right) {
    return left->address < right->address;
  });
  std::string dump;
  for (const Function* function : sorted) {
    dump += compact_host::Text(function->address) + ' ' + Hex(function->class_code >> 8, 4) + ": " +
            Ids(function->vendor, function->device);
    if (function->revision != 0) dump += " (rev " + Hex(function->revision, 2) + ')';
    const std::string config = Config(*function);
    for (std::size_t i = 0; i < config.size(); ++i) {
      if (i % 16 == 0) dump += '\n' + Hex(static_cast<unsigned>(i), 2) + ':';
      dump += ' ' + Hex(static_cast<unsigned char>(config[i]), 2);
    }
    dump += "\n\n";
  }
  return dump;
}

// Below devices/.
fs::path Host::FolderOf(const Function& function) const {
  const Address& address = function.address;
  fs::path folder;
  if (function.above != kNone) folder = FolderOf(functions_[function.above]);
  if (function.above == kNone || functions_[function.above].address.domain != address.domain) {
    folder /= "pci" + Hex(address.domain, 4) + ':' + Hex(address.bus, 2);
  }
  return folder / compact_host::Text(address);
}

void Host::WriteSysfs(const fs::path& folder) const {
  const fs::path bus = folder / "bus" / "pci";
  fs::create_directories(bus / "devices");
  fs::create_directories(bus / "slots");
  std::map<std::size_t, unsigned> virtual_functions;  // so far, by the place of their physical one
  for (const Function& function : functions_) {
    const std::string name = compact_host::Text(function.address);
    const fs::path place = "devices" / FolderOf(function);
    fs::create_directories(folder / place);
    WriteAttributes(folder / place, function);
    WriteFile(folder / place / "config", Config(function));
    fs::create_symlink("../../.." / place, bus / "devices" / name);
    if (function.physical_function != kNone) {
      const fs::path physical = "devices" / FolderOf(functions_[function.physical_function]);
      const unsigned index = virtual_functions[function.physical_function]++;
      fs::create_symlink(".." / physical.filename(), folder / place / "physfn");
      fs::create_symlink("../" + name, folder / physical / ("virtfn" + std::to_string(index)));
    }
    if (function.label.empty()) continue;
    Address slot = function.address;
    if (function.header_type != 0) slot = {slot.domain, function.secondary, 0, 0};
    fs::create_directory(bus / "slots" / function.label);
    WriteFile(bus / "slots" / function.label / "address", TextOfDevice(slot) + '\n');
  }
}

std::string Host::Text() const {
  std::map<std::size_t, std::vector<std::size_t>> virtual_functions;  // by their physical one
  for (std::size_t i = 0; i < functions_.size(); ++i) {
    const std::size_t physical = functions_[i].physical_function;
    if (physical != kNone) virtual_functions[physical].push_back(i);
  }
  std::string text;
  std::vector<std::size_t> depths;
  for (std::size_t i = 0; i < functions_.size(); ++i) {
    const Function& function = functions_[i];
    depths.push_back(function.above == kNone ? 0 : depths[function.above] + 1);
    if (function.physical_function != kNone) continue;
    text += std::string(2 * depths.back(), ' ') + Line(function);
    if (const auto vfs = virtual_functions.find(i); vfs != virtual_functions.end()) {
      const Function& first = functions_[vfs->second.front()];
      text += " vfs=" + std::to_string(vfs->second.size()) + '@' +
              compact_host::Text(first.address) + " vf=" + Hex(first.device, 4);
    }
    text += '\n';
  }
  return text;
}

}  // namespace compact_host
