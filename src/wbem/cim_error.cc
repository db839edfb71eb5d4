#include "wbem/cim_error.h"

namespace wbem {

CimError ErrorOf(const cim::Status& status) {
  const int code = static_cast<int>(status.code);
  const bool is_cim_code = code >= 1 && code <= 17;
  return {is_cim_code ? code : static_cast<int>(CimCode::kFailed),
          status.message.empty() ? cim::StatusName(status.code) : status.message};
}

}  // namespace wbem
