#include "wbem/messages.h"

namespace messages {

std::string Parameter(const std::string& name, const std::string& value) {
  return "<IPARAMVALUE NAME=\"" + name + "\">" + value + "</IPARAMVALUE>";
}

std::string Class(const std::string& class_name) {
  return Parameter("ClassName", "<CLASSNAME NAME=\"" + class_name + "\"/>");
}

std::string Flag(const std::string& name, bool value) {
  return Parameter(name, value ? "<VALUE>TRUE</VALUE>" : "<VALUE>FALSE</VALUE>");
}

std::string List(const std::string& name, const std::vector<std::string>& values) {
  std::string array = "<VALUE.ARRAY>";
  for (const std::string& value : values) array += "<VALUE>" + value + "</VALUE>";
  return Parameter(name, array + "</VALUE.ARRAY>");
}

std::string InstanceName(const std::string& class_name,
                         const std::vector<std::pair<std::string, std::string>>& keys) {
  std::string name = "<INSTANCENAME CLASSNAME=\"" + class_name + "\">";
  for (const auto& [key, value] : keys) {
    name.append("<KEYBINDING NAME=\"").append(key);
    name.append("\"><KEYVALUE VALUETYPE=\"string\">").append(value);
    name += "</KEYVALUE></KEYBINDING>";
  }
  return name + "</INSTANCENAME>";
}

std::string Call(const std::string& method, const std::string& parameters,
                 const std::vector<std::string>& name_space) {
  std::string path;
  for (const std::string& step : name_space) {
    path.append("<NAMESPACE NAME=\"").append(step).append("\"/>");
  }
  return "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
         "<SIMPLEREQ><IMETHODCALL NAME=\"" +
         method + "\"><LOCALNAMESPACEPATH>" + path + "</LOCALNAMESPACEPATH>" + parameters +
         "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
}

std::string Head(const std::string& method, std::size_t body_size,
                 const std::string& further_lines) {
  return "POST /cimom HTTP/1.1\r\nHost: localhost\r\n"
         "Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: MethodCall\r\n"
         "CIMMethod: " +
         method + "\r\nCIMObject: root%2Fcimv2\r\nContent-Length: " + std::to_string(body_size) +
         "\r\n" + further_lines;
}

std::string Post(const std::string& method, const std::string& parameters,
                 const std::string& further_lines) {
  const std::string body = Call(method, parameters);
  return Head(method, body.size(), further_lines) + "\r\n" + body;
}

}  // namespace messages
