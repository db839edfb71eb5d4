// The interop namespace, where WBEM clients look first: what the server is (CIM_ObjectManager) and
// which namespaces it has (CIM_Namespace). These few instances are the server's own; no provider
// has them.
//
// Thread rule: pure functions.

#ifndef WBEM_INTEROP_H_
#define WBEM_INTEROP_H_

#include <string>
#include <string_view>
#include <vector>

#include "cim/value.h"

namespace wbem {

// "interop" and "root/interop", compared ignoring case, are the same namespace.
bool IsInterop(std::string_view name_space);

// The instances of a class of it. Throws CimError (CIM_ERR_INVALID_CLASS) for any other class.
std::vector<cim::Instance> InteropInstances(std::string_view class_name,
                                            const std::string& system_name);

}  // namespace wbem

#endif  // WBEM_INTEROP_H_
