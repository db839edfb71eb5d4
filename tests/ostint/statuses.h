// What a call of the wrapper throws, as tests look at it.
//
// Thread rule: pure functions.

#ifndef OSTINT_STATUSES_H_
#define OSTINT_STATUSES_H_

#include <ostream>
#include <string>

#include "platform/ostint/cmpi_status.h"

struct Outcome {
  CMPIrc rc = CMPI_RC_OK;
  std::string message;

  bool operator==(const Outcome&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.rc << " \"" << outcome.message << '"';
}

// The CmpiStatus that the call throws; CMPI_RC_OK when it throws nothing.
template <typename Call>
Outcome OutcomeOf(Call call) {
  try {
    call();
  } catch (const ostInt::CmpiStatus& status) {
    return {status.rc(), status.message()};
  }
  return {};
}

#endif  // OSTINT_STATUSES_H_
