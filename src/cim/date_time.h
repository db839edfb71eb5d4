// Dates, times and intervals in CIM's text form (DSP0004, 5.2.4) and as CMPI's binary form:
// microseconds since 1970-01-01T00:00:00Z, or of duration.
//
//   yyyymmddhhmmss.mmmmmmsutc   s is '+' or '-', utc the offset in minutes
//   ddddddddhhmmss.mmmmmm:000   an interval
//
// Thread rule: pure functions.

#ifndef CIM_DATE_TIME_H_
#define CIM_DATE_TIME_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cim {

// In microseconds; times in UTC.
std::string TimeText(std::uint64_t since_epoch);
std::string IntervalText(std::uint64_t duration);

// Nothing where the text is no full date or interval (asterisks are not read).
struct TimeRead {
  std::uint64_t microseconds;
  bool interval;
};
std::optional<TimeRead> ReadTime(std::string_view text);

}  // namespace cim

#endif  // CIM_DATE_TIME_H_
