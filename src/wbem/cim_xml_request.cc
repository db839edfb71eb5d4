#include "wbem/cim_xml_request.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <pugixml.hpp>

#include "cim/text.h"
#include "wbem/cim_error.h"
#include "wbem/xml_text.h"

namespace wbem {

namespace {

using pugi::xml_node;

[[noreturn]] void NotWellFormed(const std::string& text) {
  throw RequestError(400, "request-not-well-formed", text);
}
[[noreturn]] void NotValid(const std::string& text) {
  throw RequestError(400, "request-not-valid", text);
}

bool IsElement(const xml_node& node, std::string_view name) {
  return node.type() == pugi::node_element && name == node.name();
}

constexpr std::string_view kWhiteSpace = " \t\r\n";

// The element's child elements. Text between them must be white space.
std::vector<xml_node> Children(const xml_node& element) {
  std::vector<xml_node> children;
  for (const xml_node& child : element.children()) {
    if (child.type() == pugi::node_element) {
      children.push_back(child);
    } else if (std::string_view(child.value()).find_first_not_of(kWhiteSpace) !=
               std::string::npos) {
      NotValid(fmt::format("text in {}, which has only elements", element.name()));
    }
  }
  return children;
}

xml_node OnlyChild(const xml_node& element) {
  const auto children = Children(element);
  if (children.size() != 1) {
    NotValid(fmt::format("{} has {} elements instead of one", element.name(), children.size()));
  }
  return children.front();
}

xml_node OnlyChild(const xml_node& element, std::string_view name) {
  const xml_node child = OnlyChild(element);
  if (!IsElement(child, name)) {
    NotValid(fmt::format("{} instead of {} in {}", child.name(), name, element.name()));
  }
  return child;
}

std::string RequiredAttribute(const xml_node& element, const char* name) {
  const pugi::xml_attribute attribute = element.attribute(name);
  if (attribute.empty()) NotValid(fmt::format("{} without {}", element.name(), name));
  return attribute.value();
}

std::string RequiredName(const xml_node& element, const char* attribute) {
  std::string name = RequiredAttribute(element, attribute);
  if (name.empty()) NotValid(fmt::format("{} with an empty {}", element.name(), attribute));
  return name;
}

// The element's text, which may come in several pieces (CDATA sections).
std::string Text(const xml_node& element) {
  std::string text;
  for (const xml_node& child : element.children()) {
    if (child.type() == pugi::node_element) {
      NotValid(fmt::format("{} in {}, which has only text", child.name(), element.name()));
    }
    text += child.value();
  }
  return text;
}

// ---------------------------------------------------------------------------------------------
// Paths

std::string ReadLocalNamespacePath(const xml_node& element) {
  std::string path;
  for (const xml_node& child : Children(element)) {
    if (!IsElement(child, "NAMESPACE")) NotValid("LOCALNAMESPACEPATH takes NAMESPACE only");
    if (!path.empty()) path += '/';
    path += RequiredName(child, "NAME");
  }
  if (path.empty()) NotValid("LOCALNAMESPACEPATH without NAMESPACE");
  return path;
}

// The two children of an element that takes just these.
std::pair<xml_node, xml_node> Pair(const xml_node& element, std::string_view first,
                                   std::string_view second) {
  const auto children = Children(element);
  if (children.size() != 2 || !IsElement(children[0], first) || !IsElement(children[1], second)) {
    NotValid(fmt::format("{} takes {} and {}", element.name(), first, second));
  }
  return {children[0], children[1]};
}

InstanceName ReadInstanceName(const xml_node& element);

InstanceName ReadLocalInstancePath(const xml_node& element) {
  const auto [space, name] = Pair(element, "LOCALNAMESPACEPATH", "INSTANCENAME");
  InstanceName path = ReadInstanceName(name);
  path.name_space = ReadLocalNamespacePath(space);
  return path;
}

InstanceName ReadInstancePath(const xml_node& element) {
  const auto [where, name] = Pair(element, "NAMESPACEPATH", "INSTANCENAME");
  const auto [host, space] = Pair(where, "HOST", "LOCALNAMESPACEPATH");
  InstanceName path = ReadInstanceName(name);
  path.host = Text(host);
  path.name_space = ReadLocalNamespacePath(space);
  return path;
}

InstanceName ReadReference(const xml_node& element) {
  const xml_node path = OnlyChild(element);
  if (IsElement(path, "INSTANCENAME")) return ReadInstanceName(path);
  if (IsElement(path, "LOCALINSTANCEPATH")) return ReadLocalInstancePath(path);
  if (IsElement(path, "INSTANCEPATH")) return ReadInstancePath(path);
  NotValid(fmt::format("{} is no reference to an instance", path.name()));
}

KeyLiteral ReadKeyValue(const xml_node& element) {
  KeyLiteral literal;
  const std::string_view kind = element.attribute("VALUETYPE").as_string("string");
  if (kind == "numeric") {
    literal.kind = KeyLiteral::Kind::kNumeric;
  } else if (kind == "boolean") {
    literal.kind = KeyLiteral::Kind::kBoolean;
  } else if (kind != "string") {
    NotValid(fmt::format("\"{}\" is no VALUETYPE", kind));
  }
  literal.type = element.attribute("TYPE").value();
  literal.text = Text(element);
  return literal;
}

KeyBinding ReadKey(std::string name, const xml_node& value) {
  if (IsElement(value, "KEYVALUE")) return {std::move(name), ReadKeyValue(value)};
  if (IsElement(value, "VALUE.REFERENCE")) {
    return {std::move(name), std::make_shared<const InstanceName>(ReadReference(value))};
  }
  NotValid(fmt::format("{} is no value of a key", value.name()));
}

// The depth of the document bounds the recursion through references.
InstanceName ReadInstanceName(const xml_node& element) {
  InstanceName instance;
  instance.class_name = RequiredName(element, "CLASSNAME");
  const auto children = Children(element);
  if (children.size() == 1 && !IsElement(children.front(), "KEYBINDING")) {
    instance.keys.push_back(ReadKey({}, children.front()));
    return instance;
  }
  for (const xml_node& child : children) {
    if (!IsElement(child, "KEYBINDING")) {
      NotValid(fmt::format("{} beside other keys in INSTANCENAME", child.name()));
    }
    instance.keys.push_back(ReadKey(RequiredName(child, "NAME"), OnlyChild(child)));
  }
  return instance;
}

// ---------------------------------------------------------------------------------------------
// Parameters

std::vector<std::string> ReadArray(const xml_node& element) {
  std::vector<std::string> values;
  for (const xml_node& child : Children(element)) {
    if (!IsElement(child, "VALUE")) NotValid(fmt::format("{} in VALUE.ARRAY", child.name()));
    values.push_back(Text(child));
  }
  return values;
}

ParameterValue ReadParameterValue(const xml_node& element) {
  const auto children = Children(element);
  if (children.empty()) return NoValue{};
  const xml_node value = OnlyChild(element);
  if (IsElement(value, "VALUE")) return Text(value);
  if (IsElement(value, "VALUE.ARRAY")) return ReadArray(value);
  if (IsElement(value, "CLASSNAME")) return ClassName{RequiredName(value, "NAME")};
  if (IsElement(value, "INSTANCENAME")) return ReadInstanceName(value);
  if (IsElement(value, "VALUE.REFERENCE")) return ReadReference(value);
  constexpr std::string_view kOthers[] = {"INSTANCE", "CLASS", "QUALIFIER.DECLARATION",
                                          "VALUE.NAMEDINSTANCE"};
  if (std::find(std::begin(kOthers), std::end(kOthers), value.name()) != std::end(kOthers)) {
    return OtherValue{};
  }
  NotValid(fmt::format("{} is no value of a parameter", value.name()));
}

void ReadIntrinsicCall(const xml_node& call, Request& request) {
  request.method = RequiredName(call, "NAME");
  const auto children = Children(call);
  if (children.empty() || !IsElement(children.front(), "LOCALNAMESPACEPATH")) {
    NotValid("IMETHODCALL without LOCALNAMESPACEPATH");
  }
  request.name_space = ReadLocalNamespacePath(children.front());
  for (const xml_node& child : children) {
    if (child == children.front()) continue;
    if (!IsElement(child, "IPARAMVALUE")) NotValid(fmt::format("{} in IMETHODCALL", child.name()));
    request.parameters.push_back({RequiredName(child, "NAME"), ReadParameterValue(child)});
  }
}

void ReadExtrinsicCall(const xml_node& call, Request& request) {
  request.intrinsic = false;
  request.method = RequiredName(call, "NAME");
  const auto children = Children(call);
  const bool on_class = !children.empty() && IsElement(children.front(), "LOCALCLASSPATH");
  const bool on_instance = !children.empty() && IsElement(children.front(), "LOCALINSTANCEPATH");
  if (!on_class && !on_instance) NotValid("METHODCALL without the path of an object");
  for (const xml_node& child : children) {
    if (child == children.front()) continue;
    if (!IsElement(child, "PARAMVALUE")) NotValid(fmt::format("{} in METHODCALL", child.name()));
  }
  const auto object = Children(children.front());
  if (object.empty() || !IsElement(object.front(), "LOCALNAMESPACEPATH")) {
    NotValid("the path of an object without LOCALNAMESPACEPATH");
  }
  request.name_space = ReadLocalNamespacePath(object.front());
}

// ---------------------------------------------------------------------------------------------
// The message

void CheckVersion(const xml_node& element, const char* attribute, char major,
                  std::string_view cim_error) {
  const std::string version = RequiredAttribute(element, attribute);
  if (version.size() < 3 || version[0] != major || version[1] != '.') {
    throw RequestError(501, cim_error, fmt::format("{} {}", attribute, version));
  }
}

void ReadSimpleRequest(const xml_node& element, Request& request) {
  std::vector<xml_node> children = Children(element);
  std::erase_if(children, [](const xml_node& node) { return IsElement(node, "CORRELATOR"); });
  if (children.size() != 1) NotValid("SIMPLEREQ takes one call");
  if (IsElement(children.front(), "IMETHODCALL")) {
    ReadIntrinsicCall(children.front(), request);
  } else if (IsElement(children.front(), "METHODCALL")) {
    ReadExtrinsicCall(children.front(), request);
  } else {
    NotValid(fmt::format("{} in SIMPLEREQ", children.front().name()));
  }
}

Request ReadMessage(const xml_node& cim) {
  if (!IsElement(cim, "CIM")) NotValid(fmt::format("{} is no CIM message", cim.name()));
  CheckVersion(cim, "CIMVERSION", '2', "unsupported-cim-version");
  CheckVersion(cim, "DTDVERSION", '2', "unsupported-dtd-version");
  const xml_node message = OnlyChild(cim, "MESSAGE");
  CheckVersion(message, "PROTOCOLVERSION", '1', "unsupported-protocol-version");
  Request request;
  request.message_id = RequiredAttribute(message, "ID");
  request.protocol_version = RequiredAttribute(message, "PROTOCOLVERSION");
  const xml_node body = OnlyChild(message);
  if (IsElement(body, "MULTIREQ")) {
    throw RequestError(501, "multiple-requests-unsupported", "MULTIREQ is not served");
  }
  if (!IsElement(body, "SIMPLEREQ")) NotValid(fmt::format("{} in MESSAGE", body.name()));
  ReadSimpleRequest(body, request);
  return request;
}

// ---------------------------------------------------------------------------------------------
// The document

// The parser passes over text around the root element.
constexpr const char* kTextOutside = "text outside of the root element";

void CheckText(std::string_view text) {
  if (text.size() > kMaxRequestBytes) throw RequestError(413, {}, "request too large");
  if (!IsXmlText(text)) NotWellFormed("not UTF-8, or characters that XML does not allow");
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) NotWellFormed("the body is empty");
  if (text[first] != '<') NotWellFormed(kTextOutside);
  const auto markup =
      std::count_if(text.begin(), text.end(), [](char c) { return c == '<' || c == '='; });
  if (static_cast<std::size_t>(markup) > kMaxMarkup) NotValid("too many elements");
}

void CheckParsed(const pugi::xml_parse_result& parsed, std::string_view text) {
  if (parsed) {
    if (text[text.find_last_not_of(kWhiteSpace)] != '>') NotWellFormed(kTextOutside);
    return;
  }
  const bool ends_in_tag = text[text.find_last_of("<>")] == '<';
  const bool ends_early = ends_in_tag || static_cast<std::size_t>(parsed.offset) + 1 >= text.size();
  NotWellFormed(fmt::format("{}{} at byte {}", ends_early ? "the body ends early: " : "",
                            parsed.description(), parsed.offset));
}

class DepthCheck : public pugi::xml_tree_walker {
 public:
  bool for_each(xml_node& /*node*/) override { return depth() < kMaxDepth; }
};

void CheckDeclaration(const xml_node& declaration) {
  const std::string_view encoding = declaration.attribute("encoding").as_string("utf-8");
  if (!cim::EqualIgnoringCase(encoding, "utf-8")) {
    NotWellFormed(fmt::format("encoding \"{}\" of a text in UTF-8", encoding));
  }
}

// The one element of the document. A document type that only names its DTD is passed over, unread;
// one that declares anything is refused, so that there are no entities but XML's own five.
xml_node Root(const pugi::xml_document& document) {
  std::optional<xml_node> root;
  for (const xml_node& node : document.children()) {
    switch (node.type()) {
      case pugi::node_declaration: CheckDeclaration(node); break;
      case pugi::node_doctype:
        if (std::strchr(node.value(), '[') != nullptr) NotValid("declarations in DOCTYPE");
        break;
      case pugi::node_element:
        if (root) NotWellFormed("more than one root element");
        root = node;
        break;
      default: NotWellFormed(kTextOutside);
    }
  }
  if (!root) NotWellFormed("no root element");
  return *root;
}

}  // namespace

Request ParseRequest(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  CheckText(text);
  pugi::xml_document document;
  const auto parsed = document.load_buffer(text.data(), text.size(),
                                           pugi::parse_default | pugi::parse_declaration |
                                               pugi::parse_doctype | pugi::parse_ws_pcdata_single,
                                           pugi::encoding_utf8);
  CheckParsed(parsed, text);
  DepthCheck depth;
  if (!document.traverse(depth)) NotValid("nested too deeply");
  return ReadMessage(Root(document));
}

}  // namespace wbem
