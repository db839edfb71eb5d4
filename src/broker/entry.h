// The entries of the function tables, as C may call them: no exception leaves one. What is thrown
// inside, std::bad_alloc above all, is answered as CMPI answers a failure: CMPI_RC_ERR_FAILED in
// the status that the function returns or fills in, and no object.
//
// Thread rule: no state.

#ifndef BROKER_ENTRY_H_
#define BROKER_ENTRY_H_

#include <exception>
#include <type_traits>

#include "platform/cmpi/cmpi.h"

namespace broker {

// What a function answers that could not do its work.
template <class Result>
Result FailedAnswer() {
  if constexpr (std::is_same_v<Result, CMPIStatus>) {
    return {CMPI_RC_ERR_FAILED, nullptr};
  } else if constexpr (std::is_same_v<Result, CMPIData>) {
    return {CMPI_null, CMPI_badValue | CMPI_nullValue, {}};
  } else {
    return Result();
  }
}

// Runs the body of a function of the interface; `rc` may be null.
template <class Body>
auto AnswerOrFail(CMPIStatus* rc, Body body) -> decltype(body()) {
  try {
    return body();
  } catch (const std::exception&) {
    if (rc != nullptr) *rc = {CMPI_RC_ERR_FAILED, nullptr};
    return FailedAnswer<decltype(body())>();
  }
}

// The status that a function fills in, where it has one: CMPI passes it last.
inline CMPIStatus* StatusAmong() { return nullptr; }
inline CMPIStatus* StatusAmong(CMPIStatus* rc) { return rc; }
template <class First, class... Rest>
CMPIStatus* StatusAmong(First, Rest... rest) {
  return StatusAmong(rest...);
}

template <auto kFunction>
struct EntryOf;
template <class Result, class... Arguments, Result (*kFunction)(Arguments...)>
struct EntryOf<kFunction> {
  static Result Call(Arguments... arguments) {
    return AnswerOrFail(StatusAmong(arguments...), [&] { return kFunction(arguments...); });
  }
};

// What stands in a table in place of `kFunction`.
template <auto kFunction>
inline constexpr auto Entry = &EntryOf<kFunction>::Call;

}  // namespace broker

#endif  // BROKER_ENTRY_H_
