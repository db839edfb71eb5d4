// Comparison of CIM names: namespaces, classes and keys.
//
// Thread rule: pure functions.

#ifndef PLATFORM_OSTINT_CIM_NAME_H_
#define PLATFORM_OSTINT_CIM_NAME_H_

namespace ostInt {

// Whether two names are the same ignoring the case of ASCII letters (DSP0004, names). The C
// library's own comparison follows the locale in which the object manager happens to run.
inline bool SameName(const char* left, const char* right) {
  const auto lower = [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  };
  while (*left != '\0' && lower(*left) == lower(*right)) {
    ++left;
    ++right;
  }
  return lower(*left) == lower(*right);
}

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CIM_NAME_H_
