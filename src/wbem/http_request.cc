#include "wbem/http_request.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

#include "cim/text.h"
#include "wbem/cim_error.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kCim = "CIM";  // begins the names of all extension headers

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view Unquoted(std::string_view text) {
  const bool is_quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
  return is_quoted ? text.substr(1, text.size() - 2) : text;
}

// The value of a parameter of a header ("; name=value"); empty where there is none.
std::string_view HeaderParameter(std::string_view header, std::string_view name) {
  while (true) {
    const std::size_t semicolon = header.find(';');
    if (semicolon == std::string_view::npos) return {};
    header.remove_prefix(semicolon + 1);
    const std::string_view parameter = header.substr(0, header.find(';'));
    const std::size_t equals = parameter.find('=');
    if (equals != std::string_view::npos &&
        EqualIgnoringCase(Trimmed(parameter.substr(0, equals)), name)) {
      return Unquoted(Trimmed(parameter.substr(equals + 1)));
    }
  }
}

// "root%2Fcimv2" as "root/cimv2". What is no escape stands for itself.
std::string PercentDecoded(std::string_view text) {
  std::string decoded;
  while (!text.empty()) {
    unsigned char byte = 0;
    const char* digits = text.data() + 1;
    const bool is_escape = text.front() == '%' && text.size() >= 3 &&
                           std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
    decoded += is_escape ? static_cast<char>(byte) : text.front();
    text.remove_prefix(is_escape ? 3 : 1);
  }
  return decoded;
}

void CheckContentType(const httplib::Request& request) {
  const std::string header = request.get_header_value("Content-Type");
  const std::string_view type = Trimmed(std::string_view(header).substr(0, header.find(';')));
  if (!EqualIgnoringCase(type, "application/xml") && !EqualIgnoringCase(type, "text/xml")) {
    throw RequestError(415, {}, "Content-Type is neither application/xml nor text/xml");
  }
  const std::string_view charset = HeaderParameter(header, "charset");
  if (!charset.empty() && !EqualIgnoringCase(charset, "utf-8")) {
    throw RequestError(415, {}, fmt::format("charset {} instead of utf-8", charset));
  }
  // A small compressed text may be an enormous one.
  const std::string coding = request.get_header_value("Content-Encoding");
  if (!coding.empty() && !EqualIgnoringCase(coding, "identity")) {
    throw RequestError(415, {}, fmt::format("Content-Encoding {}", coding));
  }
}

void CheckProtocolVersion(const httplib::Request& request) {
  const std::string version = request.get_header_value("CIMProtocolVersion");
  if (!version.empty() && !version.starts_with("1.")) {
    throw RequestError(501, "unsupported-protocol-version", "CIMProtocolVersion " + version);
  }
}

[[noreturn]] void Mismatch(std::string_view header) {
  throw RequestError(400, "header-mismatch",
                     fmt::format("{} is not what the message says", header));
}

}  // namespace

void AdoptExtensionHeaders(httplib::Request& request) {
  const std::string man = request.get_header_value("Man");
  const std::string_view name_space = HeaderParameter(man, "ns");
  if (man.find("/cim/mapping/http/v1.") == std::string::npos || name_space.empty()) return;
  const std::string prefix = fmt::format("{}-", name_space);
  httplib::Headers adopted;
  for (const auto& [name, value] : request.headers) {
    if (!name.starts_with(prefix)) continue;
    std::string own_name = name.substr(prefix.size());
    if (EqualIgnoringCase(own_name.substr(0, kCim.size()), kCim)) {
      adopted.emplace(std::move(own_name), value);
    }
  }
  request.headers.merge(adopted);
  request.headers.emplace(kExtensionPrefix, prefix);
}

void CheckHeaders(const httplib::Request& request) {
  if (!request.has_header("CIMOperation")) {
    throw RequestError(400, {}, "no CIM operation request: CIMOperation is missing");
  }
  if (!EqualIgnoringCase(request.get_header_value("CIMOperation"), "MethodCall")) {
    throw RequestError(400, "unsupported-operation", "CIMOperation is not MethodCall");
  }
  CheckProtocolVersion(request);
  CheckContentType(request);
}

void CheckAgreement(const httplib::Request& http, const Request& request) {
  const std::string method = PercentDecoded(http.get_header_value("CIMMethod"));
  if (!EqualIgnoringCase(method, request.method)) Mismatch("CIMMethod");
  const std::string object = PercentDecoded(http.get_header_value("CIMObject"));
  // Of an extrinsic method the header goes on with the class or the instance.
  const std::string_view name_space =
      request.intrinsic ? std::string_view(object)
                        : std::string_view(object).substr(0, request.name_space.size());
  if (!EqualIgnoringCase(name_space, request.name_space)) Mismatch("CIMObject");
}

std::string HostOf(const httplib::Request& request) {
  std::string host = request.get_header_value("Host");
  const auto is_proper = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view(".-_:[]").find(c) != std::string_view::npos;
  };
  const bool proper = host.size() <= 255 && std::all_of(host.begin(), host.end(), is_proper);
  return proper ? host : std::string();
}

}  // namespace wbem
