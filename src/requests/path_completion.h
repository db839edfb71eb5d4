// Object paths as clients give them, made whole: class and key names as the schema spells them,
// keys in its order, references within the path as well.
//
// Thread rule: pure functions.

#ifndef REQUESTS_PATH_COMPLETION_H_
#define REQUESTS_PATH_COMPLETION_H_

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cim/schema.h"
#include "cim/status.h"
#include "cim/value.h"

namespace requests {

// A path that is none of its class. Its code is CMPI_RC_ERR_INVALID_PARAMETER, or
// CMPI_RC_ERR_INVALID_NAMESPACE.
class PathError : public std::invalid_argument {
 public:
  PathError(CMPIrc code, const std::string& what) : std::invalid_argument(what), code_(code) {}
  CMPIrc code() const { return code_; }

 private:
  CMPIrc code_;
};

struct PathRules {
  // The class that a name means; throws what the caller wants where there is none.
  std::function<const cim::schema::Class&(const std::string& name)> find_class;
  // The one namespace that there is. Paths that name none are in it.
  std::string name_space;
  // The complete path of the hosting system, of which keys that are not given are made; those that
  // it does not tell stay away. Null: every key has to be given.
  const cim::ObjectPath* system = nullptr;
};

// The path that is meant by `given`. The name of a key may be empty where the class has only one.
// With a system, a reference may be given as text, a WBEM URI (cim/wbem_uri.h). Throws PathError.
cim::ObjectPath CompletePath(const cim::ObjectPath& given, const PathRules& rules);

}  // namespace requests

#endif  // REQUESTS_PATH_COMPLETION_H_
