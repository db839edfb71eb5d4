// Instances, paths and classes as CIM-XML elements (DSP0201), appended to a text. There is no
// document in memory: what is appended can be sent at once.
//
// Thread rule: pure functions.

#ifndef WBEM_CIM_XML_WRITER_H_
#define WBEM_CIM_XML_WRITER_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cim/schema.h"
#include "cim/value.h"

namespace wbem {

// Which properties of an instance or a class are written, and how much about them.
struct Selection {
  // Names, compared ignoring case; all properties where it is absent.
  std::optional<std::vector<std::string>> properties;
  // Only properties that this class declares or inherits; nullptr for no such bound.
  const cim::schema::Class* known_to = nullptr;
  // Of a class: only what it declares itself.
  bool local_only = false;
  bool qualifiers = false;
  bool class_origin = false;
};

// Where a path that says nothing of its own belongs.
struct Place {
  std::string host;
  std::string name_space;
};

void AppendInstanceName(std::string& out, const cim::ObjectPath& path, const Place& place);
// INSTANCEPATH: the instance name with host and namespace.
void AppendInstancePath(std::string& out, const cim::ObjectPath& path, const Place& place);
void AppendInstance(std::string& out, const cim::Instance& instance, const Selection& selection,
                    const Place& place);
void AppendClassName(std::string& out, std::string_view name);
void AppendClass(std::string& out, const cim::schema::Class& cls, const Selection& selection);

// "<NAME>", the element that `append` appends, "</NAME>".
template <class Append>
void AppendWrapped(std::string& out, std::string_view name, Append append) {
  out.append("<").append(name).append(">");
  append();
  out.append("</").append(name).append(">");
}

}  // namespace wbem

#endif  // WBEM_CIM_XML_WRITER_H_
