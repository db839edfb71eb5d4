// Object paths as users write them, made whole (requests/path_completion.h): what the class and the
// hosting system determine (namespace, CreationClassName, SystemCreationClassName, SystemName) need
// not be written.
//
// Thread rule: pure functions.

#ifndef TOOL_PATH_COMPLETION_H_
#define TOOL_PATH_COMPLETION_H_

#include <string_view>

#include "cim/value.h"

namespace tool {

// The path that `text` means (a WBEM URI, see cim/wbem_uri.h, with a class name as ResolveClass
// reads it). `system` is the complete path of the hosting system, in the only namespace there is.
// Throws UsageError for what is no object path or has a key that the class does not know,
// CommandError for another namespace or an unknown class.
cim::ObjectPath ReadPath(std::string_view text, const cim::ObjectPath& system);

}  // namespace tool

#endif  // TOOL_PATH_COMPLETION_H_
