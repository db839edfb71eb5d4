// A CIM-XML request message (DSP0201) as typed data: which method of which namespace is called with
// which parameters. Reading it checks the document's form only; whether methods, classes and
// properties exist is for the caller.
//
// The text is hostile until it has been read: its size, depth and number of elements are bounded,
// entities are not declared, unknown elements are refused.
//
// Thread rule: plain values and a pure function.

#ifndef WBEM_CIM_XML_REQUEST_H_
#define WBEM_CIM_XML_REQUEST_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace wbem {

inline constexpr std::size_t kMaxRequestBytes = 8U << 20U;
inline constexpr int kMaxDepth = 64;
// Elements and attributes take memory beyond their text; requests of clients have some tens.
inline constexpr std::size_t kMaxMarkup = 50'000;

struct InstanceName;

// The value of a key as it is written. DSP0201 has three kinds of literal; `type` may name the CIM
// type and is empty where it does not.
struct KeyLiteral {
  enum class Kind { kString, kNumeric, kBoolean };
  Kind kind = Kind::kString;
  std::string type;
  std::string text;
};

struct KeyBinding {
  std::string name;  // empty for the one key of a class that has only one, which may go unnamed
  std::variant<KeyLiteral, std::shared_ptr<const InstanceName>> value;
};

// INSTANCENAME, LOCALINSTANCEPATH or INSTANCEPATH: `host` and `name_space` are empty where the form
// has none.
struct InstanceName {
  std::string host;
  std::string name_space;
  std::string class_name;
  std::vector<KeyBinding> keys;
};

struct ClassName {
  std::string name;
};

// No value, that is CIM's null.
struct NoValue {};

// A value that no read operation takes: an instance, a class, a qualifier declaration.
struct OtherValue {};

using ParameterValue = std::variant<NoValue, std::string, std::vector<std::string>, ClassName,
                                    InstanceName, OtherValue>;

struct Parameter {
  std::string name;
  ParameterValue value;
};

struct Request {
  std::string message_id;
  std::string protocol_version;
  bool intrinsic = true;  // IMETHODCALL; otherwise METHODCALL, whose parameters are not read
  std::string method;
  std::string name_space;  // "root/cimv2"
  std::vector<Parameter> parameters;
};

// Throws RequestError for what is no simple operation request.
Request ParseRequest(std::string_view text);

}  // namespace wbem

#endif  // WBEM_CIM_XML_REQUEST_H_
