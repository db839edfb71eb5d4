// What HTTP adds to a CIM operation request (DSP0200, clauses 6 and 7): the extension headers,
// which name the call so that a proxy can judge it, and the checks on them.
//
// Thread rule: pure functions.

#ifndef WBEM_HTTP_REQUEST_H_
#define WBEM_HTTP_REQUEST_H_

#include <httplib.h>

#include <string>

#include "wbem/cim_xml_request.h"

namespace wbem {

// Header in which the connection notes the prefix ("73-") that a request by M-POST gave its
// extension headers. It is no header that a client can send.
inline constexpr const char* kExtensionPrefix = "Ostrel-Extension-Prefix";

// Makes a request by M-POST (RFC 2774) look like one by POST: the extension headers of the
// namespace that its Man header declares lose their prefix, which kExtensionPrefix keeps.
void AdoptExtensionHeaders(httplib::Request& request);

// Throws RequestError unless the headers are those of a CIM operation request that this server
// can read. Needs no body.
void CheckHeaders(const httplib::Request& request);

// Throws RequestError unless the headers name the call that the body holds.
void CheckAgreement(const httplib::Request& http, const Request& request);

// The host as the client addressed it, with the port; empty where it is no proper one.
std::string HostOf(const httplib::Request& request);

}  // namespace wbem

#endif  // WBEM_HTTP_REQUEST_H_
