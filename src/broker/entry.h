// What stands in the slots of the function tables. A function that is served, as C may call it: no
// exception leaves it; what is thrown inside, std::bad_alloc above all, is answered as CMPI answers
// a failure, CMPI_RC_ERR_FAILED in the status that the function returns or fills in, and no object.
// In every other slot stands one and the same answer, CMPI_RC_ERR_NOT_SUPPORTED: a slot is never
// null.
//
// Thread rule: no state.

#ifndef BROKER_ENTRY_H_
#define BROKER_ENTRY_H_

#include <exception>
#include <type_traits>

#include "platform/cmpi/cmpi.h"

namespace broker {

// What a function answers that did not do its work. The functions that answer an int have no other
// way to say so, and 0 is success.
template <class Result>
Result NoAnswer(CMPIrc code) {
  if constexpr (std::is_same_v<Result, CMPIStatus>) {
    return {code, nullptr};
  } else if constexpr (std::is_same_v<Result, CMPIData>) {
    return {CMPI_null, CMPI_badValue | CMPI_nullValue, {}};
  } else if constexpr (std::is_same_v<Result, int>) {
    return code;
  } else {
    return Result();
  }
}

// The status that a function fills in, where it has one.
inline CMPIStatus* StatusAmong() { return nullptr; }
template <class... Rest>
CMPIStatus* StatusAmong(CMPIStatus* rc, Rest...) {
  return rc;
}
template <class First, class... Rest>
CMPIStatus* StatusAmong(First, Rest... rest) {
  return StatusAmong(rest...);
}

// The answer to those arguments, `code` also in the status among them.
template <class Result, class... Arguments>
Result AnswerWithout(CMPIrc code, Arguments... arguments) {
  CMPIStatus* rc = StatusAmong(arguments...);
  if (rc != nullptr) *rc = {code, nullptr};
  return NoAnswer<Result>(code);
}

template <auto kFunction>
struct EntryOf;
template <class Result, class... Arguments, Result (*kFunction)(Arguments...)>
struct EntryOf<kFunction> {
  static Result Call(Arguments... arguments) {
    try {
      return kFunction(arguments...);
    } catch (const std::exception&) {
      return AnswerWithout<Result>(CMPI_RC_ERR_FAILED, arguments...);
    }
  }
};

// What stands in a table in place of `kFunction`.
template <auto kFunction>
inline constexpr auto Entry = &EntryOf<kFunction>::Call;

// What stands in a table for all that is not served: a function of the slot's own type.
class NotSupported {
 public:
  template <class Result, class... Arguments>
  using Function = Result (*)(Arguments...);
  template <class Result, class... Arguments>
  using VariadicFunction = Result (*)(Arguments..., ...);

  template <class Result, class... Arguments>
  constexpr operator Function<Result, Arguments...>() const {
    return Refuse<Result, Arguments...>;
  }
  template <class Result, class... Arguments>
  constexpr operator VariadicFunction<Result, Arguments...>() const {
    return RefuseAnyNumber<Result, Arguments...>;
  }

 private:
  template <class Result, class... Arguments>
  static Result Refuse(Arguments... arguments) {
    return AnswerWithout<Result>(CMPI_RC_ERR_NOT_SUPPORTED, arguments...);
  }
  template <class Result, class... Arguments>
  static Result RefuseAnyNumber(Arguments... arguments, ...) {
    return AnswerWithout<Result>(CMPI_RC_ERR_NOT_SUPPORTED, arguments...);
  }
};
inline constexpr NotSupported kNotSupported;

}  // namespace broker

#endif  // BROKER_ENTRY_H_
