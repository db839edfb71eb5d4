// Names of vendors, devices and classes as lspci prints them, from pci.ids, the list that comes
// with it.
//
// Whoever wants names asks for them in a NameQuery, which tells the place that each will have, and
// then has all of them looked up in one pass through the list. Thread rule: a query is for one
// thread; Names are immutable, safe on any number of threads.

#ifndef PCI_NAMES_H_
#define PCI_NAMES_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace pci {

class NameQuery {
 public:
  // Each gives the place of the text in Names: the same place whenever it is asked for the same.
  // `class_code` is base class << 8 | subclass.
  std::uint32_t Vendor(std::uint16_t vendor);
  std::uint32_t Device(std::uint16_t vendor, std::uint16_t device);
  std::uint32_t Class(std::uint16_t class_code);
  std::uint32_t ProgrammingInterface(std::uint16_t class_code, std::uint8_t interface);

 private:
  friend class Names;

  std::uint32_t PlaceOf(std::uint64_t line);

  // By where the list has them. Ordered, because a hash could be made to collide by a hostile dump.
  std::map<std::uint64_t, std::uint32_t> places_;
};

class Names {
 public:
  // Where distributions keep the list.
  static std::vector<std::string> UsualPaths();

  // Reads the first of the lists that is there and can be read. What the list does not tell is
  // called by its number: "Vendor 1234", "Device 5678", "Class 1234", "Display controller [03ff]";
  // a programming interface is then empty, save that of an IDE controller, whose bits have
  // meanings. So is everything where there is no list, which is no failure. Throws std::bad_alloc
  // only.
  static Names LookUp(const NameQuery& query, const std::vector<std::string>& paths = UsualPaths());

  const std::string& At(std::uint32_t place) const { return texts_[place]; }

  // Why a list that is there was not read (to its end), in one line for the user; else empty.
  const std::string& notice() const { return notice_; }

 private:
  std::vector<std::string> texts_;
  std::string notice_;
};

}  // namespace pci

#endif  // PCI_NAMES_H_
