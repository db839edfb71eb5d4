// Names of CIM elements compare ignoring the case of ASCII letters (DSP0004, 5.1.1); this is the
// one place that says how.
//
// Thread rule: pure functions.

#ifndef CIM_TEXT_H_
#define CIM_TEXT_H_

#include <cstddef>
#include <string_view>

namespace cim {

constexpr char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

constexpr bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

}  // namespace cim

#endif  // CIM_TEXT_H_
