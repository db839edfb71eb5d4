#include "wbem/cim_headers.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstddef>
#include <string_view>

#include "cim/text.h"
#include "wbem/cim_error.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;

constexpr std::string_view kBlanks = " \t";

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

bool IsNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
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

// An extension header, by the name that it has in this request.
const std::string* FindExtension(const HttpRequest& request, std::string_view name) {
  const std::string number = ExtensionNamespace(request);
  return number.empty() ? request.Find(name) : request.Find(fmt::format("{}-{}", number, name));
}

std::string_view Extension(const HttpRequest& request, std::string_view name) {
  const std::string* value = FindExtension(request, name);
  return value != nullptr ? std::string_view(*value) : std::string_view();
}

void CheckContentType(const HttpRequest& request) {
  const std::string_view header = request.Header("Content-Type");
  const std::string_view type = Trimmed(header.substr(0, header.find(';')));
  if (!EqualIgnoringCase(type, "application/xml") && !EqualIgnoringCase(type, "text/xml")) {
    throw RequestError(415, {}, "Content-Type is neither application/xml nor text/xml");
  }
  const std::string_view charset = HeaderParameter(header, "charset");
  if (!charset.empty() && !EqualIgnoringCase(charset, "utf-8")) {
    throw RequestError(415, {}, fmt::format("charset {} instead of utf-8", charset));
  }
  // A small compressed text may be an enormous one.
  const std::string_view coding = request.Header("Content-Encoding");
  if (!coding.empty() && !EqualIgnoringCase(coding, "identity")) {
    throw RequestError(415, {}, fmt::format("Content-Encoding {}", coding));
  }
}

void CheckProtocolVersion(const HttpRequest& request) {
  const std::string_view version = Extension(request, "CIMProtocolVersion");
  if (!version.empty() && !version.starts_with("1.")) {
    throw RequestError(501, "unsupported-protocol-version",
                       fmt::format("CIMProtocolVersion {}", version));
  }
}

// "localhost:5988" as "localhost", "[::1]" as "::1". Empty where it is neither.
std::string HostWithoutPort(std::string_view text) {
  const bool in_brackets = text.starts_with('[');
  const std::size_t end = text.find(in_brackets ? ']' : ':');
  if (end == std::string_view::npos) return std::string(in_brackets ? std::string_view() : text);
  const std::string_view host = in_brackets ? text.substr(1, end - 1) : text.substr(0, end);
  const std::string_view rest = text.substr(in_brackets ? end + 1 : end);
  const bool has_port = rest.starts_with(':') && IsNumber(rest.substr(1));
  return std::string(rest.empty() || has_port ? host : std::string_view());
}

bool IsLoopback(const std::string& address) {
  in_addr v4{};
  in6_addr v6{};
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1) return ntohl(v4.s_addr) >> 24U == 127;
  return inet_pton(AF_INET6, address.c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

// Whether it is what this host calls itself, or the first part of that.
bool IsOwnName(std::string_view name) {
  std::array<char, HOST_NAME_MAX + 1> own{};
  if (name.empty() || gethostname(own.data(), own.size() - 1) != 0) return false;
  const std::string_view own_name = own.data();
  return EqualIgnoringCase(name, own_name) ||
         EqualIgnoringCase(name, own_name.substr(0, own_name.find('.')));
}

bool NamesThisHost(std::string_view text) {
  const std::string host = HostWithoutPort(text);
  return EqualIgnoringCase(host, "localhost") || IsLoopback(host) || IsOwnName(host);
}

[[noreturn]] void Mismatch(std::string_view header) {
  throw RequestError(400, "header-mismatch",
                     fmt::format("{} is not what the message says", header));
}

}  // namespace

std::string ExtensionNamespace(const HttpRequest& request) {
  if (request.method != kMandatoryPost) return {};
  const std::string_view man = request.Header("Man");
  if (man.find("/cim/mapping/http/v1.") == std::string_view::npos) return {};
  const std::string_view number = HeaderParameter(man, "ns");
  return std::string(IsNumber(number) ? number : std::string_view());
}

void CheckSender(const HttpRequest& request) {
  const std::string_view site = request.Header("Sec-Fetch-Site");
  if (request.Has("Origin") || (!site.empty() && !EqualIgnoringCase(site, "none"))) {
    throw RequestError(403, {}, "not for browsers");
  }
  const auto hosts = std::count_if(
      request.headers.begin(), request.headers.end(),
      [](const HttpHeader& header) { return EqualIgnoringCase(header.name, "Host"); });
  if (hosts > 1 || (hosts == 0 && !request.is_old)) {
    throw RequestError(400, {}, "there must be one Host");
  }
  if (hosts == 1 && !NamesThisHost(request.Header("Host"))) {
    throw RequestError(403, {}, "Host is no name of this host: localhost is one");
  }
}

void CheckHeaders(const HttpRequest& request) {
  const std::string* operation = FindExtension(request, "CIMOperation");
  if (operation == nullptr) {
    throw RequestError(400, {}, "no CIM operation request: CIMOperation is missing");
  }
  if (!EqualIgnoringCase(*operation, "MethodCall")) {
    throw RequestError(400, "unsupported-operation", "CIMOperation is not MethodCall");
  }
  CheckProtocolVersion(request);
  CheckContentType(request);
}

void CheckAgreement(const HttpRequest& http, const Request& request) {
  const std::string method = PercentDecoded(Extension(http, "CIMMethod"));
  if (!EqualIgnoringCase(method, request.method)) Mismatch("CIMMethod");
  const std::string object = PercentDecoded(Extension(http, "CIMObject"));
  // Of an extrinsic method the header goes on with the class or the instance.
  const std::string_view name_space =
      request.intrinsic ? std::string_view(object)
                        : std::string_view(object).substr(0, request.name_space.size());
  if (!EqualIgnoringCase(name_space, request.name_space)) Mismatch("CIMObject");
}

}  // namespace wbem
