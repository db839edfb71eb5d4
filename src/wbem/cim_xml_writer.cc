#include "wbem/cim_xml_writer.h"

#include <algorithm>

#include "cim/text.h"
#include "wbem/xml_text.h"

namespace wbem {

namespace {

using cim::EqualIgnoringCase;
using cim::ObjectPath;
using cim::Value;
namespace schema = cim::schema;

// One attribute after the name of an element.
void AppendAttribute(std::string& out, std::string_view name, std::string_view value) {
  out.append(" ").append(name).append("=\"");
  AppendEscaped(out, value);
  out += '"';
}

void AppendNamespacePath(std::string& out, std::string_view name_space) {
  AppendWrapped(out, "LOCALNAMESPACEPATH", [&] {
    while (!name_space.empty()) {
      const std::string_view step = name_space.substr(0, name_space.find('/'));
      out += "<NAMESPACE";
      AppendAttribute(out, "NAME", step);
      out += "/>";
      name_space.remove_prefix(std::min(step.size() + 1, name_space.size()));
    }
  });
}

// A literal as CIM-XML spells it is what people read.
std::string Literal(const Value& value) { return cim::ToText(value); }

void AppendKeyValue(std::string& out, const Value& value) {
  const bool is_boolean = value.type() == CMPI_boolean;
  const bool is_number = value.as_signed() || value.as_unsigned() ||
                         value.get<float>() != nullptr || value.get<double>() != nullptr;
  out += "<KEYVALUE";
  AppendAttribute(out, "VALUETYPE", is_boolean ? "boolean" : is_number ? "numeric" : "string");
  AppendAttribute(out, "TYPE", cim::TypeName(value.type()));
  out += '>';
  if (!value.is_null()) AppendEscaped(out, Literal(value));
  out += "</KEYVALUE>";
}

// LOCALINSTANCEPATH: clients hand references back to the server that they came from.
void AppendReference(std::string& out, const ObjectPath& path, const Place& place) {
  AppendWrapped(out, "VALUE.REFERENCE", [&] {
    AppendWrapped(out, "LOCALINSTANCEPATH", [&] {
      AppendNamespacePath(out, path.name_space.empty() ? place.name_space : path.name_space);
      AppendInstanceName(out, path, place);
    });
  });
}

// ---------------------------------------------------------------------------------------------
// Properties

const schema::Class* SuperclassOf(const schema::Class& cls) {
  return schema::FindClass(cls.superclass);
}

bool Declares(const schema::Class& cls, std::string_view property) {
  return std::any_of(cls.properties.begin(), cls.properties.end(), [&](const auto& declared) {
    return EqualIgnoringCase(declared.name, property);
  });
}

// The class that brings the property into the tree. One that redeclares it is not its origin.
std::string_view OriginOf(const schema::Class* cls, std::string_view property) {
  std::string_view origin;
  for (; cls != nullptr; cls = SuperclassOf(*cls)) {
    if (Declares(*cls, property)) origin = cls->name;
  }
  return origin;
}

bool Selects(const Selection& selection, std::string_view property) {
  if (selection.known_to != nullptr &&
      schema::FindProperty(*selection.known_to, property) == nullptr) {
    return false;
  }
  return !selection.properties ||
         std::any_of(selection.properties->begin(), selection.properties->end(),
                     [&](const auto& name) { return EqualIgnoringCase(name, property); });
}

std::string_view PropertyElement(CMPIType type) {
  if ((type & CMPI_ARRAY) != 0) return "PROPERTY.ARRAY";
  return type == CMPI_ref ? "PROPERTY.REFERENCE" : "PROPERTY";
}

bool IsEmbedded(CMPIType type) { return (type & ~CMPI_ARRAY) == CMPI_instance; }

// "<PROPERTY NAME=... TYPE=..." without what closes the tag.
void AppendPropertyStart(std::string& out, std::string_view name, CMPIType type,
                         std::string_view reference_class) {
  out.append("<").append(PropertyElement(type));
  AppendAttribute(out, "NAME", name);
  if (type == CMPI_ref) {
    if (!reference_class.empty()) AppendAttribute(out, "REFERENCECLASS", reference_class);
    return;
  }
  const auto element_type = static_cast<CMPIType>(type & ~CMPI_ARRAY);
  AppendAttribute(out, "TYPE", IsEmbedded(type) ? "string" : cim::TypeName(element_type));
  if (IsEmbedded(type)) AppendAttribute(out, "EmbeddedObject", "instance");
}

void AppendOrigin(std::string& out, const schema::Class* cls, std::string_view property) {
  const std::string_view origin = OriginOf(cls, property);
  if (!origin.empty()) AppendAttribute(out, "CLASSORIGIN", origin);
}

void AppendPropertyEnd(std::string& out, CMPIType type) {
  out.append("</").append(PropertyElement(type)).append(">");
}

void AppendScalar(std::string& out, const Value& value, const Place& place) {
  if (value.is_null()) {
    out += "<VALUE.NULL/>";
    return;
  }
  AppendWrapped(out, "VALUE", [&] {
    if (const auto* embedded = value.embedded_instance()) {
      std::string text;
      AppendInstance(text, *embedded, {}, place);
      AppendEscaped(out, text);
    } else {
      AppendEscaped(out, Literal(value));
    }
  });
}

void AppendValue(std::string& out, const Value& value, const Place& place) {
  if (value.is_null()) return;
  if (const ObjectPath* path = value.reference()) {
    AppendReference(out, *path, place);
  } else if (const Value::Array* elements = value.elements()) {
    AppendWrapped(out, "VALUE.ARRAY", [&] {
      for (const Value& element : *elements) AppendScalar(out, element, place);
    });
  } else {
    AppendScalar(out, value, place);
  }
}

void AppendProperty(std::string& out, const cim::Property& property, const schema::Class* cls,
                    const Selection& selection, const Place& place) {
  const CMPIType type = property.value.type();
  const ObjectPath* path = property.value.reference();
  AppendPropertyStart(out, property.name, type, path != nullptr ? path->class_name : "");
  if (selection.class_origin) AppendOrigin(out, cls, property.name);
  out += '>';
  AppendValue(out, property.value, place);
  AppendPropertyEnd(out, type);
}

// ---------------------------------------------------------------------------------------------
// Classes

// How a qualifier goes down to subclasses (DSP0201, the attributes of QUALIFIER).
enum class Flavor { kInherited, kRestricted };

template <class AppendValues>
void AppendQualifier(std::string& out, std::string_view name, std::string_view type, Flavor flavor,
                     AppendValues append_values) {
  out += "<QUALIFIER";
  AppendAttribute(out, "NAME", name);
  AppendAttribute(out, "TYPE", type);
  if (flavor == Flavor::kRestricted) AppendAttribute(out, "TOSUBCLASS", "false");
  out += '>';
  append_values();
  out += "</QUALIFIER>";
}

void AppendText(std::string& out, std::string_view text) {
  AppendWrapped(out, "VALUE", [&] { AppendEscaped(out, text); });
}

void AppendTextQualifier(std::string& out, std::string_view name, std::string_view text,
                         Flavor flavor) {
  if (text.empty()) return;
  AppendQualifier(out, name, "string", flavor, [&] { AppendText(out, text); });
}

void AppendTrueQualifier(std::string& out, std::string_view name) {
  AppendQualifier(out, name, "boolean", Flavor::kInherited, [&] { AppendText(out, "TRUE"); });
}

void AppendCodes(std::string& out, std::string_view name, const schema::Property& property,
                 std::string_view schema::CodedValue::*part) {
  AppendQualifier(out, name, "string", Flavor::kInherited, [&] {
    AppendWrapped(out, "VALUE.ARRAY", [&] {
      for (const schema::CodedValue& value : property.values) AppendText(out, value.*part);
    });
  });
}

void AppendQualifiers(std::string& out, const schema::Property& property) {
  if (property.key) AppendTrueQualifier(out, "Key");
  AppendTextQualifier(out, "Description", property.description, Flavor::kInherited);
  if (property.values.empty()) return;
  AppendCodes(out, "ValueMap", property, &schema::CodedValue::code);
  AppendCodes(out, "Values", property, &schema::CodedValue::meaning);
}

void AppendQualifiers(std::string& out, const schema::Class& cls) {
  if (cls.association) AppendTrueQualifier(out, "Association");
  AppendTextQualifier(out, "Version", cls.version, Flavor::kRestricted);
  AppendTextQualifier(out, "Description", cls.description, Flavor::kInherited);
}

void AppendDeclaration(std::string& out, const schema::Property& property, const schema::Class& cls,
                       const Selection& selection) {
  AppendPropertyStart(out, property.name, property.type, property.reference_class);
  if (selection.class_origin) AppendOrigin(out, &cls, property.name);
  if (!Declares(cls, property.name)) AppendAttribute(out, "PROPAGATED", "true");
  out += '>';
  if (selection.qualifiers) AppendQualifiers(out, property);
  AppendPropertyEnd(out, property.type);
}

}  // namespace

void AppendInstanceName(std::string& out, const ObjectPath& path, const Place& place) {
  out += "<INSTANCENAME";
  AppendAttribute(out, "CLASSNAME", path.class_name);
  out += '>';
  for (const auto& [name, value] : path.keys) {
    out += "<KEYBINDING";
    AppendAttribute(out, "NAME", name);
    out += '>';
    if (const ObjectPath* reference = value.reference()) {
      AppendReference(out, *reference, place);
    } else {
      AppendKeyValue(out, value);
    }
    out += "</KEYBINDING>";
  }
  out += "</INSTANCENAME>";
}

void AppendInstancePath(std::string& out, const ObjectPath& path, const Place& place) {
  AppendWrapped(out, "INSTANCEPATH", [&] {
    AppendWrapped(out, "NAMESPACEPATH", [&] {
      AppendWrapped(out, "HOST", [&] { AppendEscaped(out, place.host); });
      AppendNamespacePath(out, path.name_space.empty() ? place.name_space : path.name_space);
    });
    AppendInstanceName(out, path, place);
  });
}

void AppendInstance(std::string& out, const cim::Instance& instance, const Selection& selection,
                    const Place& place) {
  const schema::Class* cls = schema::FindClass(instance.path.class_name);
  out += "<INSTANCE";
  AppendAttribute(out, "CLASSNAME", instance.path.class_name);
  out += '>';
  for (const cim::Property& property : instance.properties) {
    if (Selects(selection, property.name)) AppendProperty(out, property, cls, selection, place);
  }
  out += "</INSTANCE>";
}

void AppendClassName(std::string& out, std::string_view name) {
  out += "<CLASSNAME";
  AppendAttribute(out, "NAME", name);
  out += "/>";
}

void AppendClass(std::string& out, const schema::Class& cls, const Selection& selection) {
  out += "<CLASS";
  AppendAttribute(out, "NAME", cls.name);
  if (!cls.superclass.empty()) AppendAttribute(out, "SUPERCLASS", cls.superclass);
  out += '>';
  if (selection.qualifiers) AppendQualifiers(out, cls);
  for (const schema::Property* property : schema::AllProperties(cls)) {
    if (selection.local_only && !Declares(cls, property->name)) continue;
    if (Selects(selection, property->name)) AppendDeclaration(out, *property, cls, selection);
  }
  out += "</CLASS>";
}

}  // namespace wbem
