#include "wbem/cim_xml_request.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "wbem/cim_error.h"
#include "wbem/messages.h"

namespace {

using std::string_literals::operator""s;

using messages::Call;
using messages::Class;
using messages::Parameter;
using wbem::KeyLiteral;
using wbem::ParseRequest;
using wbem::Request;

// "400 request-not-valid", or "" for a request that can be read.
std::string Refusal(const std::string& text) {
  try {
    ParseRequest(text);
    return {};
  } catch (const wbem::RequestError& error) {
    EXPECT_STRNE(error.what(), "");
    return std::to_string(error.http_status()) + " " + error.cim_error();
  }
}

std::string Reason(const std::string& text) {
  try {
    ParseRequest(text);
    return {};
  } catch (const wbem::RequestError& error) {
    return error.what();
  }
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

// The call with one parameter P of that value.
std::string WithValue(const std::string& value) { return Call("M", Parameter("P", value)); }

wbem::InstanceName ReadName(const std::string& name) {
  return std::get<wbem::InstanceName>(ParseRequest(WithValue(name)).parameters.at(0).value);
}

const std::string kNotValid = "400 request-not-valid";
const std::string kNotWellFormed = "400 request-not-well-formed";

TEST(CimXmlRequest, ReadsAnIntrinsicCall) {
  const Request request = ParseRequest(Call("EnumerateInstances", Class("Ostrel_PCIDevice")));
  EXPECT_EQ(request.message_id, "1");
  EXPECT_EQ(request.protocol_version, "1.0");
  EXPECT_TRUE(request.intrinsic);
  EXPECT_EQ(request.method, "EnumerateInstances");
  EXPECT_EQ(request.name_space, "root/cimv2");
  ASSERT_EQ(request.parameters.size(), 1U);
  EXPECT_EQ(request.parameters[0].name, "ClassName");
  EXPECT_EQ(std::get<wbem::ClassName>(request.parameters[0].value).name, "Ostrel_PCIDevice");
}

TEST(CimXmlRequest, ReadsWhatSurroundsTheMessage) {
  const std::string call = Call("M", "");
  EXPECT_EQ(Refusal("\xef\xbb\xbf<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n" + call + "\n"),
            "");
  EXPECT_EQ(Refusal("<!-- a --><?pi?>" + call + "<!-- b -->"), "");
  EXPECT_EQ(Refusal("<!DOCTYPE CIM SYSTEM \"http://www.dmtf.org/cim.dtd\">" + call), "");
}

TEST(CimXmlRequest, ReadsIndentedText) {
  const Request request = ParseRequest(
      "<CIM CIMVERSION='2.3' DTDVERSION='2.4'>\n <MESSAGE ID='x' PROTOCOLVERSION='1.4'>\n"
      "  <SIMPLEREQ>\n   <IMETHODCALL NAME='M'>\n    <LOCALNAMESPACEPATH>\n"
      "     <NAMESPACE NAME='a'/>\n     <NAMESPACE NAME='b'></NAMESPACE>\n"
      "    </LOCALNAMESPACEPATH>\n    <IPARAMVALUE NAME='P'>\n     <VALUE> t </VALUE>\n"
      "    </IPARAMVALUE>\n    <IPARAMVALUE NAME='Q'> </IPARAMVALUE>\n   </IMETHODCALL>\n"
      "  </SIMPLEREQ>\n </MESSAGE>\n</CIM>\n");
  EXPECT_EQ(request.name_space, "a/b");
  EXPECT_EQ(std::get<std::string>(request.parameters.at(0).value), " t ");
  EXPECT_TRUE(std::holds_alternative<wbem::NoValue>(request.parameters.at(1).value));
}

TEST(CimXmlRequest, ReadsTextAndLists) {
  const auto text = ParseRequest(WithValue("<VALUE>a&amp;<![CDATA[<b>]]>&#x20;c</VALUE>"));
  EXPECT_EQ(std::get<std::string>(text.parameters.at(0).value), "a&<b> c");
  const auto blank = ParseRequest(WithValue("<VALUE> </VALUE>"));
  EXPECT_EQ(std::get<std::string>(blank.parameters.at(0).value), " ");
  const auto list = ParseRequest(Call("M", messages::List("P", {"a", ""})));
  EXPECT_EQ(std::get<std::vector<std::string>>(list.parameters.at(0).value),
            (std::vector<std::string>{"a", ""}));
}

TEST(CimXmlRequest, ReadsKeysOfEveryKind) {
  const auto name = ReadName(
      "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"a\"><KEYVALUE>x</KEYVALUE></KEYBINDING>"
      "<KEYBINDING NAME=\"b\"><KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint8\">7</KEYVALUE>"
      "</KEYBINDING><KEYBINDING NAME=\"c\"><KEYVALUE VALUETYPE=\"boolean\">true</KEYVALUE>"
      "</KEYBINDING></INSTANCENAME>");
  EXPECT_EQ(name.class_name, "C");
  ASSERT_EQ(name.keys.size(), 3U);
  const auto& text = std::get<KeyLiteral>(name.keys[0].value);
  EXPECT_EQ(text.kind, KeyLiteral::Kind::kString);
  EXPECT_EQ(text.text, "x");
  const auto& number = std::get<KeyLiteral>(name.keys[1].value);
  EXPECT_EQ(number.kind, KeyLiteral::Kind::kNumeric);
  EXPECT_EQ(number.type, "uint8");
  EXPECT_EQ(std::get<KeyLiteral>(name.keys[2].value).kind, KeyLiteral::Kind::kBoolean);
}

TEST(CimXmlRequest, ReadsTheOnlyKeyWithoutItsName) {
  const auto name = ReadName("<INSTANCENAME CLASSNAME=\"C\"><KEYVALUE>x</KEYVALUE></INSTANCENAME>");
  ASSERT_EQ(name.keys.size(), 1U);
  EXPECT_EQ(name.keys[0].name, "");
  EXPECT_EQ(std::get<KeyLiteral>(name.keys[0].value).text, "x");
  EXPECT_TRUE(ReadName("<INSTANCENAME CLASSNAME=\"C\"/>").keys.empty());
}

TEST(CimXmlRequest, ReadsReferencesInEveryForm) {
  const std::string inner = messages::InstanceName("D", {{"k", "v"}});
  const std::string space = "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"n\"/></LOCALNAMESPACEPATH>";
  const auto reference = [](const std::string& key, const std::string& path) {
    return "<KEYBINDING NAME=\"" + key + "\"><VALUE.REFERENCE>" + path +
           "</VALUE.REFERENCE></KEYBINDING>";
  };
  const auto name =
      ReadName("<INSTANCENAME CLASSNAME=\"C\">" + reference("a", inner) +
               reference("b", "<LOCALINSTANCEPATH>" + space + inner + "</LOCALINSTANCEPATH>") +
               reference("c", "<INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST>" + space +
                                  "</NAMESPACEPATH>" + inner + "</INSTANCEPATH>") +
               "</INSTANCENAME>");
  ASSERT_EQ(name.keys.size(), 3U);
  const auto held = [&](std::size_t i) {
    return *std::get<std::shared_ptr<const wbem::InstanceName>>(name.keys[i].value);
  };
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(held(i).class_name, "D");
    ASSERT_EQ(held(i).keys.size(), 1U);
  }
  EXPECT_EQ(held(0).name_space, "");
  EXPECT_EQ(held(1).name_space, "n");
  EXPECT_EQ(held(2).name_space, "n");
  EXPECT_EQ(held(2).host, "h");
}

TEST(CimXmlRequest, ValuesThatNoReadOperationTakesAreNotRead) {
  for (const char* value : {"<INSTANCE CLASSNAME=\"C\"><PROPERTY/></INSTANCE>", "<CLASS/>",
                            "<QUALIFIER.DECLARATION/>", "<VALUE.NAMEDINSTANCE/>"}) {
    const Request request = ParseRequest(WithValue(value));
    EXPECT_TRUE(std::holds_alternative<wbem::OtherValue>(request.parameters.at(0).value)) << value;
  }
}

TEST(CimXmlRequest, ReadsAnExtrinsicCall) {
  std::string text = Replaced(Call("RequestStateChange", ""), "<IMETHODCALL", "<METHODCALL");
  text = Replaced(text, "</IMETHODCALL>", "<PARAMVALUE NAME=\"x\"/></METHODCALL>");
  text = Replaced(text, "<LOCALNAMESPACEPATH>", "<LOCALCLASSPATH><LOCALNAMESPACEPATH>");
  text = Replaced(text, "</LOCALNAMESPACEPATH>",
                  "</LOCALNAMESPACEPATH><CLASSNAME NAME=\"C\"/></LOCALCLASSPATH>");
  const Request request = ParseRequest(text);
  EXPECT_FALSE(request.intrinsic);
  EXPECT_EQ(request.method, "RequestStateChange");
  EXPECT_EQ(request.name_space, "root/cimv2");
}

TEST(CimXmlRequest, VersionsOfAnotherKindAreNotImplemented) {
  const std::string call = Call("M", "");
  EXPECT_EQ(Refusal(Replaced(call, "CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\"")),
            "501 unsupported-cim-version");
  EXPECT_EQ(Refusal(Replaced(call, "DTDVERSION=\"2.0\"", "DTDVERSION=\"1.0\"")),
            "501 unsupported-dtd-version");
  EXPECT_EQ(Refusal(Replaced(call, "PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\"")),
            "501 unsupported-protocol-version");
  EXPECT_EQ(Refusal(Replaced(call, "CIMVERSION=\"2.0\"", "CIMVERSION=\"20\"")),
            "501 unsupported-cim-version");
}

TEST(CimXmlRequest, SeveralCallsInOneMessageAreNotImplemented) {
  std::string text = Replaced(Call("M", ""), "<SIMPLEREQ>", "<MULTIREQ>");
  text = Replaced(text, "</SIMPLEREQ>", "</MULTIREQ>");
  EXPECT_EQ(Refusal(text), "501 multiple-requests-unsupported");
}

TEST(CimXmlRequest, WhatIsNoXmlIsNotWellFormed) {
  const std::string call = Call("M", Class("C"));
  for (const std::string& bad :
       {std::string(), std::string("garbage"), std::string(" \n"), "x" + call, call + "x",
        call + call, std::string("<CIM"), call.substr(0, call.size() - 3), "<a>" + call,
        Replaced(call, "</SIMPLEREQ>", "</OTHER>"), std::string("<!-- only -->"),
        "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>" + call,
        Replaced(call, "NAME=\"C\"", "NAME=\"\xe4\""),
        Replaced(call, "NAME=\"C\"", "NAME=\"&#1;\""), "<CIM>" + std::string(1, '\0') + "</CIM>"}) {
    EXPECT_EQ(Refusal(bad), kNotWellFormed) << bad;
  }
  EXPECT_EQ(Refusal("\xff\xfe<\0C\0I\0M\0"s), kNotWellFormed);  // UTF-16
}

TEST(CimXmlRequest, ACutOffMessageIsRefusedWhereverItIsCut) {
  const std::string call = Call("M", Class("C"));
  for (std::size_t size = 0; size < call.size(); ++size) {
    EXPECT_EQ(Refusal(call.substr(0, size)), kNotWellFormed) << size;
  }
}

TEST(CimXmlRequest, ARefusalTellsWhatIsWrongWithTheText) {
  const std::string call = Call("M", Class("C"));
  EXPECT_EQ(Reason(""), "the body is empty");
  EXPECT_EQ(Reason(" \r\n"), "the body is empty");
  for (std::size_t size = 1; size < call.size(); ++size) {
    EXPECT_TRUE(Reason(call.substr(0, size)).starts_with("the body ends early: ")) << size;
  }
  EXPECT_EQ(Reason("x" + call), "text outside of the root element");
  EXPECT_EQ(Reason(call + "x"), "text outside of the root element");
  EXPECT_EQ(Reason("<a><b></a></b>"), "Start-end tags mismatch at byte 8");
}

TEST(CimXmlRequest, OtherElementsAreNotValid) {
  const std::string call = Call("M", Class("C"));
  for (const char* name : {"MESSAGE", "SIMPLEREQ", "IMETHODCALL", "LOCALNAMESPACEPATH", "NAMESPACE",
                           "IPARAMVALUE", "CLASSNAME"}) {
    std::string text = Replaced(call, std::string("<") + name, "<X");
    if (text.find(std::string("</") + name + ">") != std::string::npos) {
      text = Replaced(text, std::string("</") + name + ">", "</X>");
    }
    EXPECT_EQ(Refusal(text), kNotValid) << name;
  }
  EXPECT_EQ(Refusal("<html/>"), kNotValid);
}

TEST(CimXmlRequest, MissingPartsAreNotValid) {
  const std::string call = Call("M", Class("C"));
  for (const char* part :
       {" CIMVERSION=\"2.0\"", " DTDVERSION=\"2.0\"", " PROTOCOLVERSION=\"1.0\"", " ID=\"1\"",
        " NAME=\"M\"", " NAME=\"root\"", " NAME=\"ClassName\"", " NAME=\"C\""}) {
    EXPECT_EQ(Refusal(Replaced(call, part, "")), kNotValid) << part;
  }
  EXPECT_EQ(Refusal(Call("M", "", {})), kNotValid);
  EXPECT_EQ(Refusal(Call("", "")), kNotValid);
}

TEST(CimXmlRequest, MisplacedPartsAreNotValid) {
  for (const char* value :
       {"text", "<VALUE>1</VALUE><VALUE>2</VALUE>", "<VALUE><VALUE>1</VALUE></VALUE>",
        "<VALUE.ARRAY>x</VALUE.ARRAY>", "<VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>",
        "<INSTANCENAME CLASSNAME=\"\"/>", "<INSTANCENAME CLASSNAME=\"C\"><VALUE/></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"k\"/></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"k\"><VALUE/></KEYBINDING></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME=\"C\"><KEYVALUE/><KEYVALUE/></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME=\"C\"><KEYVALUE VALUETYPE=\"odd\"/></INSTANCENAME>",
        "<VALUE.REFERENCE/>", "<VALUE.REFERENCE><CLASSPATH/></VALUE.REFERENCE>",
        "<VALUE.REFERENCE><LOCALINSTANCEPATH/></VALUE.REFERENCE>",
        "<VALUE.REFERENCE><INSTANCEPATH><NAMESPACEPATH/></INSTANCEPATH></VALUE.REFERENCE>"}) {
    EXPECT_EQ(Refusal(WithValue(value)), kNotValid) << value;
  }
}

TEST(CimXmlRequest, EntitiesCannotBeDeclared) {
  EXPECT_EQ(Refusal("<!DOCTYPE CIM [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;&a;\">]>" +
                    Call("M", Class("&b;"))),
            kNotValid);
}

TEST(CimXmlRequest, DepthIsBounded) {
  const auto nested = [](int depth) {
    std::string text = "<CLASS>";
    for (int i = 0; i < depth; ++i) text += "<X>";
    for (int i = 0; i < depth; ++i) text += "</X>";
    return WithValue(text + "</CLASS>");
  };
  EXPECT_EQ(Refusal(nested(50)), "");
  EXPECT_EQ(Refusal(nested(100)), kNotValid);
  EXPECT_EQ(Refusal(nested(20'000)), kNotValid);
}

TEST(CimXmlRequest, NestedReferencesAreBoundedByDepth) {
  std::string name = "<INSTANCENAME CLASSNAME=\"C\"/>";
  for (int i = 0; i < 30; ++i) {
    name.insert(0, "<INSTANCENAME CLASSNAME=\"C\"><VALUE.REFERENCE>");
    name += "</VALUE.REFERENCE></INSTANCENAME>";
  }
  EXPECT_EQ(Refusal(WithValue(name)), kNotValid);
}

TEST(CimXmlRequest, SizeAndNumberOfElementsAreBounded) {
  EXPECT_EQ(Refusal(WithValue("<VALUE>" + std::string(wbem::kMaxRequestBytes, 'x') + "</VALUE>")),
            "413 ");
  const std::string large(wbem::kMaxRequestBytes - 1000, 'x');
  EXPECT_EQ(Refusal(WithValue("<VALUE>" + large + "</VALUE>")), "");
  std::string many;
  for (std::size_t i = 0; i < wbem::kMaxMarkup; ++i) many += "<X/>";
  EXPECT_EQ(Refusal(WithValue("<CLASS>" + many + "</CLASS>")), kNotValid);
}

}  // namespace
