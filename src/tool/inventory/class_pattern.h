// Classes of functions as a person names them.
//
// Thread rule: a plain value.

#ifndef TOOL_INVENTORY_CLASS_PATTERN_H_
#define TOOL_INVENTORY_CLASS_PATTERN_H_

#include <string>
#include <string_view>

#include "pci/function.h"

namespace tool {

class ClassPattern {
 public:
  // A code of two, four or six hexadecimal digits (base class, subclass, programming interface), or
  // a word or more of the name of a class or base class, in any letter case: "ethernet", "display",
  // "usb controller". A word may be cut short after three letters. Throws UsageError for anything
  // else.
  static ClassPattern Parse(std::string_view text);

  bool Matches(const pci::Function& function) const;

 private:
  std::string digits_;  // that the code begins with; or
  std::string words_;   // in lower case
};

}  // namespace tool

#endif  // TOOL_INVENTORY_CLASS_PATTERN_H_
