// The parameters of a call as its method needs them, and the names of instances in them as object
// paths. What does not fit is CIM_ERR_INVALID_PARAMETER.
//
// Thread rule: immutable; pure functions.

#ifndef WBEM_PARAMETERS_H_
#define WBEM_PARAMETERS_H_

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cim/schema.h"
#include "cim/value.h"
#include "wbem/cim_xml_request.h"

namespace wbem {

class Parameters {
 public:
  // `request` must outlive the object. Throws CimError for a parameter that is given twice or is
  // none of `known`. Names compare ignoring case.
  Parameters(const Request& request, std::initializer_list<std::string_view> known);

  // Each throws CimError where the parameter is of another type. A parameter that is absent or null
  // is std::nullopt.
  bool Boolean(std::string_view name, bool if_absent) const;
  std::optional<std::string> Text(std::string_view name) const;
  std::optional<std::vector<std::string>> List(std::string_view name) const;
  // The name of a class, which the schema may not know.
  std::optional<std::string> Class(std::string_view name) const;
  std::string RequiredClass(std::string_view name) const;
  const InstanceName& RequiredInstance(std::string_view name) const;
  // The instance, or nullptr where the parameter, which is required, names a class.
  const InstanceName* InstanceOrClass(std::string_view name) const;

 private:
  const ParameterValue* Find(std::string_view name) const;

  const Request& request_;
};

// The path of the instance: its keys are those of its class, in the schema's order and spelling,
// none missing. Throws CimError where they are not, or the class is unknown.
cim::ObjectPath ToObjectPath(const InstanceName& name, const std::string& name_space);

}  // namespace wbem

#endif  // WBEM_PARAMETERS_H_
