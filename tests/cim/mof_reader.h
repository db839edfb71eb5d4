// Reads MOF (DSP0004, annex A) far enough for the files of schema/: class declarations and
// instances. It is strict, and knows nothing of how the files are written.
//
// Thread rule: pure functions.

#ifndef TESTS_CIM_MOF_READER_H_
#define TESTS_CIM_MOF_READER_H_

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mof {

// A qualifier's or an instance property's value: adjacent string literals joined, other literals as
// they stand; one entry per array element. Empty for a qualifier without value.
using Literals = std::vector<std::string>;
using Qualifiers = std::map<std::string, Literals>;

struct Property {
  Qualifiers qualifiers;
  std::string type;  // "uint8", "CIM_System REF"
  std::string name;
  bool array = false;
};

struct Class {
  Qualifiers qualifiers;
  std::string name;
  std::string superclass;
  std::vector<Property> properties;
};

struct Instance {
  std::string class_name;
  std::map<std::string, Literals> properties;
};

struct File {
  std::vector<Class> classes;
  std::vector<Instance> instances;
};

// Throws std::runtime_error with the line of what is not MOF.
File Read(std::string_view text);

}  // namespace mof

#endif  // TESTS_CIM_MOF_READER_H_
