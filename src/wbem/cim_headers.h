// What HTTP adds to a CIM operation request (DSP0200, clauses 6 and 7): the extension headers,
// which name the call so that a proxy can judge it, and the checks on them.
//
// Thread rule: pure functions and plain values.

#ifndef WBEM_CIM_HEADERS_H_
#define WBEM_CIM_HEADERS_H_

#include <string>
#include <string_view>

#include "wbem/cim_xml_request.h"
#include "wbem/http_message.h"

namespace wbem {

inline constexpr std::string_view kMandatoryPost = "M-POST";
inline constexpr std::string_view kExtensionUri = "http://www.dmtf.org/cim/mapping/http/v1.0";

// The namespace under which a mandatory request (RFC 2774) declares the extension "CIM operations"
// in its Man header: the number 73 of "73-CIMMethod". Empty where there is none.
std::string ExtensionNamespace(const HttpRequest& request);

// Throws RequestError where a browser's page may be behind the request: every user of this host has
// a browser, and any page can make it send something to a loopback address. A page is known by
// Origin and Sec-Fetch-Site, which it cannot keep the browser from sending, and by a Host that is
// none of this host's names: somebody else's name may have been made to lead here.
void CheckSender(const HttpRequest& request);

// Throws RequestError unless the headers are those of a CIM operation request that this server
// can read. Needs no body.
void CheckHeaders(const HttpRequest& request);

// Throws RequestError unless the headers name the call that the body holds.
void CheckAgreement(const HttpRequest& http, const Request& request);

}  // namespace wbem

#endif  // WBEM_CIM_HEADERS_H_
