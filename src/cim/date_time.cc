#include "cim/date_time.h"

#include <fmt/format.h>

#include <charconv>
#include <chrono>

namespace cim {

namespace {

using std::chrono::days;
using std::chrono::microseconds;
using std::chrono::sys_days;

constexpr std::uint64_t kMicrosecondsPerDay = 86'400'000'000ULL;
constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000ULL;

// "hhmmss.mmmmmm" of a time of day.
std::string ClockText(std::uint64_t of_day) {
  const std::uint64_t seconds = of_day / kMicrosecondsPerSecond;
  return fmt::format("{:02}{:02}{:02}.{:06}", seconds / 3600, seconds / 60 % 60, seconds % 60,
                     of_day % kMicrosecondsPerSecond);
}

std::optional<unsigned> Digits(std::string_view text, std::size_t at, std::size_t count) {
  unsigned number = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    number = 10 * number + static_cast<unsigned>(text[i] - '0');
  }
  return number;
}

// The time of day in "........hhmmss.mmmmmm".
std::optional<std::uint64_t> ReadClock(std::string_view text) {
  const auto hour = Digits(text, 8, 2);
  const auto minute = Digits(text, 10, 2);
  const auto second = Digits(text, 12, 2);
  const auto fraction = Digits(text, 15, 6);
  if (!hour || !minute || !second || !fraction || text[14] != '.') return std::nullopt;
  if (*hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  return (*hour * 3600ULL + *minute * 60ULL + *second) * kMicrosecondsPerSecond + *fraction;
}

std::optional<std::int64_t> ReadDay(std::string_view text) {
  const auto year = Digits(text, 0, 4);
  const auto month = Digits(text, 4, 2);
  const auto day = Digits(text, 6, 2);
  if (!year || !month || !day) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)),
                                         std::chrono::month(*month), std::chrono::day(*day)};
  if (!date.ok()) return std::nullopt;
  return sys_days(date).time_since_epoch().count();
}

}  // namespace

std::string TimeText(std::uint64_t since_epoch) {
  const auto day = static_cast<int>(since_epoch / kMicrosecondsPerDay);
  const std::chrono::year_month_day date{sys_days(days(day))};
  return fmt::format("{:04}{:02}{:02}{}+000", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     ClockText(since_epoch % kMicrosecondsPerDay));
}

std::string IntervalText(std::uint64_t duration) {
  return fmt::format("{:08}{}:000", duration / kMicrosecondsPerDay,
                     ClockText(duration % kMicrosecondsPerDay));
}

std::optional<TimeRead> ReadTime(std::string_view text) {
  if (text.size() != 25) return std::nullopt;
  const auto clock = ReadClock(text);
  const auto offset = Digits(text, 22, 3);
  if (!clock || !offset) return std::nullopt;
  const char sign = text[21];
  if (sign == ':') {
    const auto whole_days = Digits(text, 0, 8);
    if (!whole_days || *offset != 0) return std::nullopt;
    return TimeRead{*whole_days * kMicrosecondsPerDay + *clock, true};
  }
  const auto day = ReadDay(text);
  if (!day || (sign != '+' && sign != '-')) return std::nullopt;
  const std::int64_t east =
      static_cast<std::int64_t>(*offset) * 60'000'000 * (sign == '+' ? 1 : -1);
  const std::int64_t utc = *day * static_cast<std::int64_t>(kMicrosecondsPerDay) +
                           static_cast<std::int64_t>(*clock) - east;
  if (utc < 0) return std::nullopt;  // CMPI's binary form begins in 1970
  return TimeRead{static_cast<std::uint64_t>(utc), false};
}

}  // namespace cim
