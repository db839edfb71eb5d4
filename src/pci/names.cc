#include "pci/names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace pci {
namespace {

// ---- Lines of the list as numbers, ascending in the order in which the list has them: its
// section, the vendor or base class, the device or subclass + 1, the programming interface + 1.

constexpr unsigned kEntryBits = 17;
constexpr unsigned kSubentryBits = 9;
constexpr unsigned kBlockBits = kEntryBits + kSubentryBits;
constexpr std::uint64_t kClasses = 1u
                                   << 16;  // block numbers of classes come after those of vendors

constexpr std::uint64_t Head(std::uint64_t block) { return block << kBlockBits; }

constexpr std::uint64_t Entry(std::uint64_t block, unsigned id) {
  return Head(block) | (id + 1u) << kSubentryBits;
}

constexpr std::uint64_t Subentry(std::uint64_t entry, unsigned id) { return entry | (id + 1u); }

constexpr std::uint64_t BlockOf(std::uint64_t line) { return line >> kBlockBits; }

std::uint64_t ClassLine(std::uint16_t class_code) {
  return Entry(kClasses | class_code >> 8, class_code & 0xff);
}

// ---- Texts of what the list does not tell.

template <typename... Arguments>
std::string Print(const char* format, Arguments... arguments) {
  std::array<char, 64> buffer;
  const int length = std::snprintf(buffer.data(), buffer.size(), format, arguments...);
  return {buffer.data(), static_cast<std::size_t>(length)};
}

// What the bits of an IDE controller's programming interface say (PCI Code and ID Assignment, 1.2).
std::string IdeText(unsigned interface) {
  if (interface & 0x70) return "";
  std::string text;
  constexpr std::pair<unsigned, const char*> kBits[] = {
      {0x80, " Master"}, {0x08, " SecP"}, {0x04, " SecO"}, {0x02, " PriP"}, {0x01, " PriO"}};
  for (const auto& [bit, name] : kBits) {
    if (interface & bit) text += name;
  }
  return text.empty() ? text : text.substr(1);
}

std::string NumberText(std::uint64_t line, const std::string& head_name) {
  const auto head = static_cast<unsigned>(BlockOf(line) & 0xffff);
  const auto entry = static_cast<unsigned>(line >> kSubentryBits & ((1u << kEntryBits) - 1));
  const auto subentry = static_cast<unsigned>(line & ((1u << kSubentryBits) - 1));
  if (BlockOf(line) < kClasses) {
    return entry == 0 ? Print("Vendor %04x", head) : Print("Device %04x", entry - 1);
  }
  if (entry == 0) return "";  // asked for by ourselves
  const unsigned class_code = head << 8 | (entry - 1);
  if (subentry != 0) return class_code == 0x0101 ? IdeText(subentry - 1) : "";
  if (head_name.empty()) return Print("Class %04x", class_code);
  return head_name + Print(" [%04x]", class_code);
}

// ---- The list.

// A line is a pointer to its start: what it points into ends with a line's end.

constexpr std::size_t kSlack = 32;          // behind a text, for those who look ahead
constexpr std::size_t kLongestName = 1000;  // lspci refuses lists with lines of more than 1023

const char* SkipBlanks(const char* text) {
  while (*text == ' ' || *text == '\t') ++text;
  return text;
}

// Blank lines and comments, also with blanks before them.
bool TellsNothing(const char* line) {
  const char first = *SkipBlanks(line);
  return first == '\n' || first == '#' || first == '\r' || first == '\0';
}

// The value of a hexadecimal digit; 16 for anything else.
unsigned HexValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  const int lower = c | 0x20;
  return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : 16;
}

struct Item {
  std::uint16_t id;
  const char* name;  // to the end of the line
};

// What a line without its tabs is about: an id of so many digits, and a name.
std::optional<Item> ParseItem(const char* text, unsigned digits) {
  unsigned id = 0;
  for (; digits > 0; --digits, ++text) {
    const unsigned value = HexValue(*text);
    if (value > 15) return {};
    id = id << 4 | value;
  }
  const char* name = SkipBlanks(text);
  if (name == text || *name == '\n') return {};
  return Item{static_cast<std::uint16_t>(id), name};
}

// The name up to the end of the line or a carriage return, without one blank at its end: that much
// lspci takes away. Empty where it is too long.
std::string_view Trimmed(const char* text) {
  std::string_view name(text, std::strcspn(text, "\r\n"));
  if (name.ends_with(' ') || name.ends_with('\t')) name.remove_suffix(1);
  return name.size() > kLongestName ? std::string_view{} : name;
}

// ---- Most of the list is of no interest to anybody: lines are looked for in sixteen places at
// once.

using Sixteen [[gnu::vector_size(16)]] = signed char;  // -1 where something holds, else 0

Sixteen Load(const char* text) {
  Sixteen bytes;
  std::memcpy(&bytes, text, sizeof bytes);
  return bytes;
}

// The first place where it holds; 16 for none.
unsigned First(Sixteen places) {
  std::uint64_t halves[2];
  std::memcpy(halves, &places, sizeof halves);
  if ((halves[0] | halves[1]) == 0) return 16;
  const bool behind = halves[0] == 0;
  const std::uint64_t half = halves[behind];
  const bool little = std::endian::native == std::endian::little;
  return static_cast<unsigned>(little ? std::countr_zero(half) : std::countl_zero(half)) / 8 +
         (behind ? 8 : 0);
}

// How many tabs may stand before a line, so that it matters.
enum class Depth { kNone, kOne, kAny };

// The start of the next line that matters, or `end`. kSlack bytes behind `end` are read.
template <Depth kDepth>
const char* NextLine(const char* line, const char* end) {
  for (const char* text = line; text < end; text += sizeof(Sixteen)) {
    Sixteen starts = Load(text) == '\n';
    if (kDepth == Depth::kNone) starts &= ~(Load(text + 1) == '\t');
    if (kDepth == Depth::kOne) starts &= ~((Load(text + 1) == '\t') & (Load(text + 2) == '\t'));
    const unsigned first = First(starts);
    if (first < sizeof starts) return std::min(text + first + 1, end);
  }
  return end;
}

const char* NextLine(const char* line, const char* end, Depth depth) {
  switch (depth) {
    case Depth::kNone: return NextLine<Depth::kNone>(line, end);
    case Depth::kOne: return NextLine<Depth::kOne>(line, end);
    case Depth::kAny: break;
  }
  return NextLine<Depth::kAny>(line, end);
}

using PlaceByLine = std::map<std::uint64_t, std::uint32_t>;

// Takes the list line by line and writes the names of the wanted lines to their places. A line that
// makes no sense is passed over, with those that stand below it. Of two for one id the first
// stands.
class ListParser {
 public:
  // `texts` are empty.
  ListParser(const PlaceByLine& wanted, std::vector<std::string>& texts)
      : wanted_(wanted), texts_(texts), next_(wanted.begin()) {}

  // The text begins at the start of a line and ends at the end of one. kSlack bytes behind it are
  // read.
  void TakeLines(const char* text, const char* end) {
    while (text < end) {
      TakeLine(text);
      text = NextLine(text, end, depth());
    }
  }

 private:
  // Of the lines up to the next head: subsystems have names as well, which nobody asks for.
  Depth depth() const {
    if (!wants_block_) return Depth::kNone;
    return block_ < kClasses ? Depth::kOne : Depth::kAny;
  }

  void TakeLine(const char* line) {
    if (TellsNothing(line)) return;
    if (*line != '\t') {
      TakeHead(line);
    } else if (wants_block_) {
      TakeEntry(line);
    }
  }

  void TakeHead(const char* text) {
    wants_block_ = false;
    const bool is_class = text[0] == 'C' && text[1] == ' ';
    const std::optional<Item> item = is_class ? ParseItem(text + 2, 2) : ParseItem(text, 4);
    if (!item) return;
    block_ = (is_class ? kClasses : 0) | item->id;
    entry_ = 0;
    Take(Head(block_), item->name);
    wants_block_ = next_ != wanted_.end() && BlockOf(next_->first) == block_;
  }

  void TakeEntry(const char* text) {
    const bool is_class = block_ >= kClasses;
    if (text[1] != '\t') {
      const std::optional<Item> item = ParseItem(text + 1, is_class ? 2 : 4);
      entry_ = item ? Entry(block_, item->id) : 0;
      if (item) Take(entry_, item->name);
    } else if (is_class && entry_ != 0) {
      if (const auto item = ParseItem(text + 2, 2)) Take(Subentry(entry_, item->id), item->name);
    }
  }

  // Lines ascend as a rule. After one that does not the search starts anew.
  void Take(std::uint64_t line, const char* name) {
    if (line < last_) next_ = wanted_.lower_bound(line);
    last_ = line;
    while (next_ != wanted_.end() && next_->first < line) ++next_;
    if (next_ == wanted_.end() || next_->first != line) return;
    std::string& text = texts_[next_->second];
    if (text.empty()) text = Trimmed(name);
  }

  const PlaceByLine& wanted_;
  std::vector<std::string>& texts_;
  PlaceByLine::const_iterator next_;  // the first that is not before last_
  std::uint64_t last_ = 0;            // the last line that was looked for
  std::uint64_t block_ = 0;           // where wants_block_
  std::uint64_t entry_ = 0;           // the device or subclass; 0: none
  bool wants_block_ = false;
};

// ---- The list's file.

constexpr std::size_t kChunk = 65536;
constexpr std::size_t kMostChunks = 1024;            // fifty times what the list has today
constexpr std::string_view kGzipMagic = "\x1f\x8b";  // RFC 1952, 2.3.1

class ListFile {
 public:
  // Never waits, whatever stands at `path`.
  explicit ListFile(const std::string& path)
      : descriptor_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {}
  ~ListFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  ListFile(const ListFile&) = delete;
  ListFile& operator=(const ListFile&) = delete;

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string CannotRead(const std::string& path, const char* reason) {
  return "cannot read " + path + ": " + reason;
}

std::string IsCompressed(const std::string& path) {
  return path + " is compressed: unpack it with gunzip";
}

// Gives the parser the list at `path`; gives why that is not possible, or nothing. The file is read
// in pieces that stay in the processor's cache. Mapped it would be no faster, and would end the
// process if somebody cut it short meanwhile.
std::string ReadList(const std::string& path, ListParser& parser) {
  const ListFile file(path);
  if (file.descriptor() < 0) return CannotRead(path, std::strerror(errno));
  struct stat status;
  if (fstat(file.descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return CannotRead(path, "not a regular file");
  }
  const std::unique_ptr<char[]> buffer(new char[kChunk + kSlack]());
  std::size_t kept = 0;  // of a line that has only begun
  for (std::size_t chunks = 0; chunks < kMostChunks; ++chunks) {
    const ssize_t length = read(file.descriptor(), buffer.get() + kept, kChunk - kept);
    if (length < 0) return CannotRead(path, std::strerror(errno));
    std::size_t size = kept + static_cast<std::size_t>(length);
    if (length == 0) buffer[size++] = '\n';  // the last line may lack its end
    const std::string_view text(buffer.get(), size);
    if (chunks == 0 && text.starts_with(kGzipMagic)) return IsCompressed(path);
    const std::size_t whole = text.rfind('\n') + 1;  // 0: not even one line
    parser.TakeLines(buffer.get(), buffer.get() + whole);
    if (length == 0) break;
    // What is longer than the buffer loses its middle: its name is too long in any case.
    kept = std::min(size - whole, kChunk / 2);
    std::memmove(buffer.get(), buffer.get() + whole, kept);
  }
  return "";
}

// Gives the parser the first list that can be read; gives why there is none, or nothing.
std::string ReadFirstList(const std::vector<std::string>& paths, ListParser& parser) {
  std::string trouble;
  for (const std::string& path : paths) {
    if (!Exists(path)) continue;
    trouble = ReadList(path, parser);
    if (trouble.empty()) return "";
  }
  for (const std::string& path : paths) {
    if (trouble.empty() && Exists(path + ".gz")) trouble = IsCompressed(path + ".gz");
  }
  return trouble;
}

}  // namespace

std::uint32_t NameQuery::PlaceOf(std::uint64_t line) {
  return places_.try_emplace(line, static_cast<std::uint32_t>(places_.size())).first->second;
}

std::uint32_t NameQuery::Vendor(std::uint16_t vendor) { return PlaceOf(Head(vendor)); }

std::uint32_t NameQuery::Device(std::uint16_t vendor, std::uint16_t device) {
  return PlaceOf(Entry(vendor, device));
}

std::uint32_t NameQuery::Class(std::uint16_t class_code) {
  PlaceOf(Head(kClasses | class_code >> 8));  // stands in where the subclass has no name
  return PlaceOf(ClassLine(class_code));
}

std::uint32_t NameQuery::ProgrammingInterface(std::uint16_t class_code, std::uint8_t interface) {
  return PlaceOf(Subentry(ClassLine(class_code), interface));
}

std::vector<std::string> Names::UsualPaths() {
  return {
      "/usr/share/misc/pci.ids",    // Debian
      "/usr/share/hwdata/pci.ids",  // Fedora, SUSE, Arch, Alpine
      "/usr/share/pci.ids",         // where pciutils itself puts it
  };
}

Names Names::LookUp(const NameQuery& query, const std::vector<std::string>& paths) {
  Names names;
  names.texts_.resize(query.places_.size());
  ListParser parser(query.places_, names.texts_);
  names.notice_ = ReadFirstList(paths, parser);
  for (const auto& [line, place] : query.places_) {
    if (!names.texts_[place].empty()) continue;
    const auto head = query.places_.find(Head(BlockOf(line)));
    const bool known = head != query.places_.end() && head->first != line;
    names.texts_[place] = NumberText(line, known ? names.texts_[head->second] : "");
  }
  return names;
}

}  // namespace pci
