// Classes of the class table as MOF text (DSP0004, annex A), laid out as the CIM schema's own files
// are.
//
// Thread rule: pure functions over constant data.

#ifndef CIM_CLASS_MOF_H_
#define CIM_CLASS_MOF_H_

#include <string>

#include "cim/schema.h"

namespace cim::schema {

// The declaration of the class with what it declares itself, references and keys that override
// inherited ones included; ends with a line feed. Lines stay within 80 columns.
std::string ClassMof(const Class& cls);

}  // namespace cim::schema

#endif  // CIM_CLASS_MOF_H_
