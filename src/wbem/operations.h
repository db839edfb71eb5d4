// The read operations of CIM (DSP0200, 5.4.2) on an object manager. Every other intrinsic method,
// and every extrinsic one, is CIM_ERR_NOT_SUPPORTED.
//
// What the standard leaves to the server is decided in requests/operations.h; beyond that:
// - LocalOnly and IncludeQualifiers of instance operations are deprecated: all properties are
//   returned, and no qualifiers.
// - A class as the source of an association request is CIM_ERR_NOT_SUPPORTED.
// - In the interop namespace (wbem/interop.h) instances are enumerated and got, nothing else.
//
// Thread rule: thread-safe.

#ifndef WBEM_OPERATIONS_H_
#define WBEM_OPERATIONS_H_

#include <string>

#include "broker/object_manager.h"
#include "wbem/answer_stream.h"
#include "wbem/cim_xml_request.h"

namespace wbem {

// The namespace that the providers serve.
inline constexpr const char* kNameSpace = "root/cimv2";

// Carries out the request and writes the response, and says what it came to. `host` is the host
// that paths name. Throws StreamBroken when the response cannot be completed.
Outcome Answer(broker::ObjectManager& manager, const Request& request, const std::string& host,
               ByteSink& sink);

}  // namespace wbem

#endif  // WBEM_OPERATIONS_H_
