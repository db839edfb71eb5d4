#include "wbem/request_log.h"

#include <fmt/format.h>

#include <string_view>

namespace wbem {

namespace {

// So that nobody writes lines of their own, or what a terminal obeys.
std::string Harmless(std::string_view text) {
  constexpr std::size_t kLongest = 64;
  constexpr std::string_view kTaken =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.:-";
  if (text.empty()) return "-";
  std::string harmless(text.substr(0, kLongest));
  for (char& c : harmless) {
    if (kTaken.find(c) == std::string_view::npos) c = '?';
  }
  return harmless;
}

}  // namespace

std::string LogLine(const RequestRecord& record) {
  return fmt::format(
      "client={} operation={} class={} status={} error={} elements={} bytes={} ms={:.1f}",
      record.client, Harmless(record.operation), Harmless(record.class_name), record.status,
      record.error, record.elements, record.bytes, record.time.count());
}

}  // namespace wbem
