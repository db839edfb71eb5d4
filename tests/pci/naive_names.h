// The list of names read by a second, naive statement of its rules, which shares no code with the
// library and need not be fast.

#ifndef PCI_NAIVE_NAMES_H_
#define PCI_NAIVE_NAMES_H_

#include <map>
#include <string>
#include <vector>

namespace pci_test {

// Names by where they stand: "8086", "8086 1237", "C 06", "C 06 04", "C 06 04 01".
using NamesByIds = std::map<std::string, std::string>;

// Reads a list, of which the text is given.
NamesByIds ReadNaively(const std::string& list);

// What is to be answered; ids as four (interfaces: two) lower-case hex digits.
std::string VendorText(const NamesByIds& names, const std::string& vendor);
std::string DeviceText(const NamesByIds& names, const std::string& vendor,
                       const std::string& device);
std::string ClassText(const NamesByIds& names, const std::string& class_code);
std::string InterfaceText(const NamesByIds& names, const std::string& class_code,
                          const std::string& interface);

}  // namespace pci_test

#endif  // PCI_NAIVE_NAMES_H_
