// CIM-XML requests as clients write them.
//
// Thread rule: pure functions.

#ifndef WBEM_MESSAGES_H_
#define WBEM_MESSAGES_H_

#include <string>
#include <vector>

namespace messages {

// "<IPARAMVALUE NAME=...>value</IPARAMVALUE>", the value being an element.
std::string Parameter(const std::string& name, const std::string& value);
std::string Class(const std::string& class_name);  // of the parameter ClassName
std::string Flag(const std::string& name, bool value);
std::string List(const std::string& name, const std::vector<std::string>& values);

// <INSTANCENAME> with keys that are strings.
std::string InstanceName(const std::string& class_name,
                         const std::vector<std::pair<std::string, std::string>>& keys);

// The whole message, without the XML declaration.
std::string Call(const std::string& method, const std::string& parameters,
                 const std::vector<std::string>& name_space = {"root", "cimv2"});

// The header lines of an HTTP request for the call, without the empty line at their end.
std::string Head(const std::string& method, std::size_t body_size,
                 const std::string& further_lines = {});
// All of an HTTP request.
std::string Post(const std::string& method, const std::string& parameters,
                 const std::string& further_lines = {});

}  // namespace messages

#endif  // WBEM_MESSAGES_H_
