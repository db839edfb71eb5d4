#include "wbem/cim_xml_writer.h"

#include <gtest/gtest.h>

#include <limits>
#include <pugixml.hpp>
#include <random>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cim/schema.h"
#include "wbem/cim_xml_request.h"
#include "wbem/messages.h"
#include "wbem/parameters.h"

namespace {

using cim::Instance;
using cim::ObjectPath;
using cim::Value;
using wbem::Selection;

const wbem::Place kPlace{"a-host:5988", "root/cimv2"};

ObjectPath Group(const std::string& id) {
  return {{}, "", "Ostrel_PCIPortGroup", {{"InstanceID", Value(id)}}};
}

std::string Written(const Instance& instance, const Selection& selection = {}) {
  std::string out;
  AppendInstance(out, instance, selection, kPlace);
  return out;
}

// The one property's element.
std::string Written(const Value& value) {
  const std::string instance = Written({{{}, "", "C", {}}, {{"P", value}}});
  const std::string start = "<INSTANCE CLASSNAME=\"C\">", end = "</INSTANCE>";
  EXPECT_TRUE(instance.starts_with(start) && instance.ends_with(end)) << instance;
  return instance.substr(start.size(), instance.size() - start.size() - end.size());
}

std::string Property(const std::string& type, const std::string& value) {
  return "<PROPERTY NAME=\"P\" TYPE=\"" + type + "\"><VALUE>" + value + "</VALUE></PROPERTY>";
}

// The names of the PROPERTY elements of whatever kind.
std::vector<std::string> Names(const std::string& xml) {
  pugi::xml_document document;
  EXPECT_TRUE(document.load_string(xml.c_str())) << xml;
  std::vector<std::string> names;
  for (const pugi::xml_node& node : document.first_child().children()) {
    if (std::string(node.name()).starts_with("PROPERTY")) {
      names.emplace_back(node.attribute("NAME").value());
    }
  }
  return names;
}

TEST(CimXmlWriter, ScalarsOfEveryType) {
  EXPECT_EQ(Written(Value(true)), Property("boolean", "TRUE"));
  EXPECT_EQ(Written(Value(false)), Property("boolean", "FALSE"));
  EXPECT_EQ(Written(Value(std::uint8_t{255})), Property("uint8", "255"));
  EXPECT_EQ(Written(Value(std::uint16_t{65535})), Property("uint16", "65535"));
  EXPECT_EQ(Written(Value(std::numeric_limits<std::uint64_t>::max())),
            Property("uint64", "18446744073709551615"));
  EXPECT_EQ(Written(Value(std::numeric_limits<std::int64_t>::min())),
            Property("sint64", "-9223372036854775808"));
  EXPECT_EQ(Written(Value(std::int8_t{-1})), Property("sint8", "-1"));
  EXPECT_EQ(Written(Value(1.5)), Property("real64", "1.5"));
  EXPECT_EQ(Written(Value(u'\u00e4')), Property("char16", "\u00e4"));
  EXPECT_EQ(Written(Value("a<b & \x01")), Property("string", "a&lt;b &amp; \ufffd"));
  EXPECT_EQ(Written(Value("")), Property("string", ""));
  EXPECT_EQ(Written(Value(cim::DateTime{"20260102030405.000000+000"})),
            Property("datetime", "20260102030405.000000+000"));
}

TEST(CimXmlWriter, NullHasATypeAndNoValue) {
  EXPECT_EQ(Written(Value::Null(CMPI_uint8)), "<PROPERTY NAME=\"P\" TYPE=\"uint8\"></PROPERTY>");
  EXPECT_EQ(Written(Value::Null(CMPI_uint16 | CMPI_ARRAY)),
            "<PROPERTY.ARRAY NAME=\"P\" TYPE=\"uint16\"></PROPERTY.ARRAY>");
}

TEST(CimXmlWriter, Arrays) {
  const Value array = Value::ArrayOf(
      CMPI_uint16, {Value(std::uint16_t{1}), Value::Null(CMPI_uint16), Value(std::uint16_t{3})});
  EXPECT_EQ(Written(array),
            "<PROPERTY.ARRAY NAME=\"P\" TYPE=\"uint16\"><VALUE.ARRAY><VALUE>1</VALUE><VALUE.NULL/>"
            "<VALUE>3</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>");
}

TEST(CimXmlWriter, References) {
  EXPECT_EQ(Written(Value(Group("x"))),
            "<PROPERTY.REFERENCE NAME=\"P\" REFERENCECLASS=\"Ostrel_PCIPortGroup\">"
            "<VALUE.REFERENCE><LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
            "<NAMESPACE NAME=\"cimv2\"/></LOCALNAMESPACEPATH>"
            "<INSTANCENAME CLASSNAME=\"Ostrel_PCIPortGroup\"><KEYBINDING NAME=\"InstanceID\">"
            "<KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">x</KEYVALUE></KEYBINDING>"
            "</INSTANCENAME></LOCALINSTANCEPATH></VALUE.REFERENCE></PROPERTY.REFERENCE>");
}

TEST(CimXmlWriter, EmbeddedInstancesAreEscapedText) {
  EXPECT_EQ(Written(Value(Instance{{{}, "", "D", {}}, {}})),
            "<PROPERTY NAME=\"P\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>"
            "&lt;INSTANCE CLASSNAME=&quot;D&quot;&gt;&lt;/INSTANCE&gt;</VALUE></PROPERTY>");
}

TEST(CimXmlWriter, KeysOfEveryKind) {
  std::string out;
  AppendInstanceName(
      out, {{}, "", "C", {{"n", Value(std::uint32_t{7})}, {"b", Value(true)}, {"s", Value("\"")}}},
      kPlace);
  EXPECT_EQ(out,
            "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"n\"><KEYVALUE VALUETYPE=\"numeric\" "
            "TYPE=\"uint32\">7</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"b\"><KEYVALUE "
            "VALUETYPE=\"boolean\" TYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING><KEYBINDING "
            "NAME=\"s\"><KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">&quot;</KEYVALUE>"
            "</KEYBINDING></INSTANCENAME>");
}

TEST(CimXmlWriter, PathsNameHostAndNamespace) {
  std::string out;
  ObjectPath path = Group("x");
  AppendInstancePath(out, path, kPlace);
  EXPECT_TRUE(out.starts_with(
      "<INSTANCEPATH><NAMESPACEPATH><HOST>a-host:5988</HOST><LOCALNAMESPACEPATH>"
      "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/></LOCALNAMESPACEPATH></NAMESPACEPATH>"
      "<INSTANCENAME "))
      << out;
  out.clear();
  path.name_space = "root/other";
  AppendInstancePath(out, path, kPlace);
  EXPECT_NE(out.find("<NAMESPACE NAME=\"other\"/>"), std::string::npos) << out;
}

TEST(CimXmlWriter, PropertyListsIgnoreCaseAndUnknownNames) {
  const Instance instance{Group("x"), {{"InstanceID", Value("x")}, {"BusNumber", Value("1")}}};
  Selection selection;
  EXPECT_EQ(Names(Written(instance, selection)),
            (std::vector<std::string>{"InstanceID", "BusNumber"}));
  selection.properties = {"busnumber", "Nothing"};
  EXPECT_EQ(Names(Written(instance, selection)), (std::vector<std::string>{"BusNumber"}));
  selection.properties->clear();
  EXPECT_TRUE(Names(Written(instance, selection)).empty());
}

TEST(CimXmlWriter, ASuperclassBoundsTheProperties) {
  const Instance instance{Group("x"), {{"InstanceID", Value("x")}, {"BusNumber", Value("1")}}};
  Selection selection;
  selection.known_to = cim::schema::FindClass("CIM_Collection");
  EXPECT_TRUE(Names(Written(instance, selection)).empty());
  selection.known_to = cim::schema::FindClass("CIM_SystemSpecificCollection");
  EXPECT_EQ(Names(Written(instance, selection)), (std::vector<std::string>{"InstanceID"}));
}

TEST(CimXmlWriter, ClassOriginIsWhereAPropertyCameIn) {
  const Instance instance{Group("x"), {{"InstanceID", Value("x")}, {"Odd", Value("1")}}};
  Selection selection;
  selection.class_origin = true;
  const std::string xml = Written(instance, selection);
  EXPECT_NE(xml.find("NAME=\"InstanceID\" TYPE=\"string\" "
                     "CLASSORIGIN=\"CIM_SystemSpecificCollection\""),
            std::string::npos)
      << xml;
  EXPECT_NE(xml.find("NAME=\"Odd\" TYPE=\"string\">"), std::string::npos) << xml;
}

// DSP0201, CLASSORIGIN: where the property is first declared. Subclasses redeclare keys.
TEST(CimXmlWriter, ClassOriginIsNotWhereAPropertyIsRedeclared) {
  const ObjectPath path{{}, "", "Ostrel_PCISystemDevice", {}};
  Selection selection;
  selection.class_origin = true;
  const std::string xml =
      Written(Instance{path, {{"PartComponent", Value(Group("x"))}}}, selection);
  EXPECT_NE(xml.find("CLASSORIGIN=\"CIM_Component\""), std::string::npos) << xml;
}

TEST(CimXmlWriter, ANullKeyHasNoText) {
  std::string out;
  AppendInstanceName(out, {{}, "", "C", {{"n", Value::Null(CMPI_string)}}}, kPlace);
  EXPECT_NE(out.find("<KEYVALUE VALUETYPE=\"string\" TYPE=\"string\"></KEYVALUE>"),
            std::string::npos)
      << out;
}

TEST(CimXmlWriter, ReferencesKeepTheirNamespace) {
  ObjectPath path = Group("x");
  path.name_space = "root/other";
  EXPECT_NE(Written(Value(path)).find("<NAMESPACE NAME=\"other\"/>"), std::string::npos);
}

TEST(CimXmlWriter, EveryClassIsAWellFormedDocument) {
  for (const cim::schema::Class& cls : cim::schema::AllClasses()) {
    Selection selection;
    selection.qualifiers = true;
    selection.class_origin = true;
    std::string xml;
    wbem::AppendClass(xml, cls, selection);
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(xml.c_str())) << xml;
    EXPECT_EQ(document.first_child().attribute("NAME").value(), cls.name);
    EXPECT_EQ(document.first_child().attribute("SUPERCLASS").value(), cls.superclass);
    EXPECT_EQ(Names(xml).size(), AllProperties(cls).size());
    for (const pugi::xml_node& node : document.first_child().children()) {
      if (std::string(node.name()) == "QUALIFIER") continue;
      EXPECT_STRNE(node.attribute("CLASSORIGIN").value(), "") << xml;
    }
  }
}

TEST(CimXmlWriter, QualifiersOfClassesAndProperties) {
  Selection selection;
  selection.qualifiers = true;
  std::string xml;
  wbem::AppendClass(xml, *cim::schema::FindClass("Ostrel_PCIControlledBy"), selection);
  EXPECT_NE(xml.find("<QUALIFIER NAME=\"Association\" TYPE=\"boolean\"><VALUE>TRUE</VALUE>"
                     "</QUALIFIER><QUALIFIER NAME=\"Version\" TYPE=\"string\" "
                     "TOSUBCLASS=\"false\"><VALUE>"),
            std::string::npos)
      << xml;
  EXPECT_NE(xml.find("<PROPERTY.REFERENCE NAME=\"Antecedent\" REFERENCECLASS=\"CIM_PCIDevice\">"
                     "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\">"),
            std::string::npos)
      << xml;
  xml.clear();
  wbem::AppendClass(xml, *cim::schema::FindClass("Ostrel_PCIPort"), selection);
  EXPECT_NE(xml.find("<QUALIFIER NAME=\"ValueMap\" TYPE=\"string\"><VALUE.ARRAY><VALUE>150"),
            std::string::npos);
  EXPECT_NE(xml.find("<QUALIFIER NAME=\"Values\" TYPE=\"string\"><VALUE.ARRAY><VALUE>PCI"),
            std::string::npos);
}

TEST(CimXmlWriter, InheritedPropertiesAreMarked) {
  std::string xml;
  const auto& cls = *cim::schema::FindClass("CIM_PCIPortGroup");
  wbem::AppendClass(xml, cls, {});
  EXPECT_NE(xml.find("<PROPERTY NAME=\"InstanceID\" TYPE=\"string\" PROPAGATED=\"true\">"),
            std::string::npos)
      << xml;
  EXPECT_NE(xml.find("<PROPERTY NAME=\"BusNumber\" TYPE=\"uint8\">"), std::string::npos) << xml;
  Selection local;
  local.local_only = true;
  xml.clear();
  wbem::AppendClass(xml, cls, local);
  EXPECT_EQ(Names(xml), (std::vector<std::string>{"BusNumber"}));
}

// What the server writes, a client sends back.
TEST(CimXmlWriter, NamesAreReadBackAsTheyWere) {
  std::mt19937 random(20261122);
  const auto text = [&random] {
    static constexpr std::string_view kLetters = "ab<>&\"' \t\r\n\xc3\xa9.:/";
    std::string letters;
    for (std::size_t i = random() % 9; i > 0; --i) {
      const std::size_t at = random() % kLetters.size();
      const bool two = kLetters[at] == '\xc3' || kLetters[at] == '\xa9';
      letters += two ? std::string_view("\xc3\xa9") : kLetters.substr(at, 1);
    }
    return letters;
  };
  const auto device = [&] {
    return ObjectPath{{},
                      "root/cimv2",
                      "Ostrel_PCIDevice",
                      {{"SystemCreationClassName", Value(text())},
                       {"SystemName", Value(text())},
                       {"CreationClassName", Value(text())},
                       {"DeviceID", Value(text())}}};
  };
  for (int i = 0; i < 500; ++i) {
    const ObjectPath path =
        i % 2 == 0
            ? device()
            : ObjectPath{{},
                         "root/cimv2",
                         "Ostrel_PCISystemDevice",
                         {{"GroupComponent", Value(device())}, {"PartComponent", Value(device())}}};
    std::string xml;
    AppendInstanceName(xml, path, kPlace);
    const wbem::Request request =
        wbem::ParseRequest(messages::Call("GetInstance", messages::Parameter("InstanceName", xml)));
    const auto& name = std::get<wbem::InstanceName>(request.parameters.at(0).value);
    ASSERT_EQ(wbem::ToObjectPath(name, "root/cimv2"), path) << xml;
  }
}

}  // namespace
