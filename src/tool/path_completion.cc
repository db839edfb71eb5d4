#include "tool/path_completion.h"

#include <fmt/format.h>

#include <string>

#include "cim/status.h"
#include "cim/wbem_uri.h"
#include "requests/path_completion.h"
#include "tool/class_names.h"
#include "tool/errors.h"

namespace tool {

cim::ObjectPath ReadPath(std::string_view text, const cim::ObjectPath& system) {
  const auto find_class = [](const std::string& name) -> const cim::schema::Class& {
    return ResolveClass(name);
  };
  try {
    return requests::CompletePath(cim::ParseWbemUri(text),
                                  {find_class, system.name_space, &system});
  } catch (const cim::WbemUriError& error) {
    throw UsageError(fmt::format("\"{}\" is no object path: {}", text, error.what()));
  } catch (const requests::PathError& error) {
    if (error.code() == CMPI_RC_ERR_INVALID_PARAMETER) throw UsageError(error.what());
    throw CommandError(fmt::format("{}: {}", cim::StatusName(error.code()), error.what()));
  }
}

}  // namespace tool
