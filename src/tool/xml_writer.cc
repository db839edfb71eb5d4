#include <pugixml.hpp>

#include <sstream>
#include <string>
#include <string_view>

#include "cim/schema.h"
#include "cim/utf8.h"
#include "tool/element_writer.h"
#include "tool/utf8_text.h"

namespace tool {
namespace {

using cim::Instance;
using cim::ObjectPath;
using cim::Value;
using pugi::xml_node;

void SetAttribute(xml_node node, const char* name, std::string_view value) {
  node.append_attribute(name).set_value(XmlUtf8(value).c_str());
}

void SetText(xml_node node, std::string_view text) {
  node.append_child(pugi::node_pcdata).set_value(XmlUtf8(text).c_str());
}

xml_node AppendNamed(xml_node parent, const char* element, std::string_view name) {
  xml_node node = parent.append_child(element);
  SetAttribute(node, "NAME", name);
  return node;
}

std::string TypeOf(const Value& value) {
  // An embedded instance travels as text (DSP0201, EmbeddedObject).
  const auto element = static_cast<CMPIType>(value.type() & ~CMPI_ARRAY);
  return element == CMPI_instance ? "string" : cim::TypeName(element);
}

void AppendInstance(xml_node parent, const Instance& instance);
void AppendInstanceName(xml_node parent, const ObjectPath& path);

std::string ScalarText(const Value& value) {
  if (const bool* truth = value.get<bool>()) return *truth ? "TRUE" : "FALSE";
  if (const Instance* embedded = value.embedded_instance()) {
    pugi::xml_document document;
    AppendInstance(document, *embedded);
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
  }
  return ToText(value);
}

// VALUE.REFERENCE takes an INSTANCENAME alone only where the namespace is not told.
void AppendReference(xml_node parent, const ObjectPath& path) {
  xml_node reference = parent.append_child("VALUE.REFERENCE");
  if (path.name_space.empty()) return AppendInstanceName(reference, path);
  xml_node local = reference.append_child("LOCALINSTANCEPATH");
  xml_node name_space = local.append_child("LOCALNAMESPACEPATH");
  std::string_view rest = path.name_space;
  while (!rest.empty()) {
    const std::string_view part = rest.substr(0, rest.find('/'));
    AppendNamed(name_space, "NAMESPACE", part);
    rest.remove_prefix(part.size() == rest.size() ? rest.size() : part.size() + 1);
  }
  AppendInstanceName(local, path);
}

void AppendKeyValue(xml_node binding, const Value& value) {
  if (const ObjectPath* reference = value.reference()) return AppendReference(binding, *reference);
  const bool text = value.text() != nullptr || value.get<cim::DateTime>() != nullptr ||
                    value.get<char16_t>() != nullptr;
  xml_node key = binding.append_child("KEYVALUE");
  SetAttribute(key, "VALUETYPE",
               value.get<bool>() != nullptr ? "boolean"
               : text                       ? "string"
                                            : "numeric");
  SetText(key, ScalarText(value));
}

void AppendInstanceName(xml_node parent, const ObjectPath& path) {
  xml_node name = parent.append_child("INSTANCENAME");
  SetAttribute(name, "CLASSNAME", path.class_name);
  for (const auto& [key, value] : path.keys) {
    AppendKeyValue(AppendNamed(name, "KEYBINDING", key), value);
  }
}

void AppendArray(xml_node property, const Value::Array& elements) {
  xml_node array = property.append_child("VALUE.ARRAY");
  for (const Value& element : elements) {
    if (element.is_null()) {
      array.append_child("VALUE.NULL");
    } else {
      SetText(array.append_child("VALUE"), ScalarText(element));
    }
  }
}

void AppendReferenceProperty(xml_node parent, const cim::Property& property) {
  xml_node node = AppendNamed(parent, "PROPERTY.REFERENCE", property.name);
  if (const ObjectPath* reference = property.value.reference()) {
    SetAttribute(node, "REFERENCECLASS", reference->class_name);
    AppendReference(node, *reference);
  }
}

void AppendProperty(xml_node parent, const cim::Property& property) {
  const Value& value = property.value;
  if (value.type() == CMPI_ref) return AppendReferenceProperty(parent, property);
  xml_node node =
      AppendNamed(parent, value.is_array() ? "PROPERTY.ARRAY" : "PROPERTY", property.name);
  SetAttribute(node, "TYPE", TypeOf(value));
  if (value.embedded_instance() != nullptr) SetAttribute(node, "EmbeddedObject", "instance");
  if (const Value::Array* elements = value.elements()) {
    AppendArray(node, *elements);
  } else if (!value.is_null()) {
    SetText(node.append_child("VALUE"), ScalarText(value));
  }
}

void AppendInstance(xml_node parent, const Instance& instance) {
  xml_node node = parent.append_child("INSTANCE");
  SetAttribute(node, "CLASSNAME", instance.path.class_name);
  for (const cim::Property& property : instance.properties) AppendProperty(node, property);
}

class XmlWriter : public ElementWriter {
 public:
  using ElementWriter::ElementWriter;

 protected:
  void Begin() override { out() << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<IRETURNVALUE>\n"; }
  void Write(Instance&& instance) override {
    pugi::xml_document document;
    xml_node named = document.append_child("VALUE.NAMEDINSTANCE");
    AppendInstanceName(named, instance.path);
    AppendInstance(named, instance);
    Print(document);
  }
  void Write(ObjectPath&& path) override {
    pugi::xml_document document;
    AppendInstanceName(document, path);
    Print(document);
  }
  void End() override { out() << "</IRETURNVALUE>\n"; }

 private:
  void Print(const pugi::xml_document& document) {
    document.first_child().print(out(), "  ", pugi::format_indent, pugi::encoding_utf8, 1);
  }
};

}  // namespace

std::unique_ptr<ElementWriter> MakeXmlWriter(std::ostream& out) {
  return std::make_unique<XmlWriter>(out);
}

}  // namespace tool
