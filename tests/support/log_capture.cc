// The checked variants are defined here, not used.
#undef _FORTIFY_SOURCE
#include "support/log_capture.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

struct ActiveCaptures {
  std::atomic<int> count{0};  // lets a line pass without the lock when nobody listens
  std::mutex mutex;
  std::vector<LogCapture*> captures;
};

ActiveCaptures& Active() {
  // Never destroyed: static destructors may still log.
  static auto* const active = new ActiveCaptures;
  return *active;
}

std::atomic<void (*)(bool)> around_capture{nullptr};

// Calls the hook where there is one.
class CaptureBracket {
 public:
  CaptureBracket() : hook_(around_capture) {
    if (hook_ != nullptr) hook_(true);
  }
  ~CaptureBracket() {
    if (hook_ != nullptr) hook_(false);
  }
  CaptureBracket(const CaptureBracket&) = delete;
  CaptureBracket& operator=(const CaptureBracket&) = delete;

 private:
  void (*hook_)(bool);
};

std::string Format(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

void Record(int priority, const char* format, std::va_list arguments) {
  ActiveCaptures& active = Active();
  if (active.count == 0) return;
  const CaptureBracket bracket;
  const LogLine line = {priority, Format(format, arguments)};
  const std::lock_guard lock(active.mutex);
  for (LogCapture* capture : active.captures) capture->Append(line);
}

}  // namespace

LogCapture::LogCapture() {
  const std::lock_guard lock(Active().mutex);
  Active().captures.push_back(this);
  ++Active().count;
}

LogCapture::~LogCapture() {
  const std::lock_guard lock(Active().mutex);
  std::erase(Active().captures, this);
  --Active().count;
}

std::vector<LogLine> LogCapture::Lines() const {
  const std::lock_guard lock(Active().mutex);
  return lines_;
}

std::vector<std::string> LogCapture::Texts(int priority) const {
  std::vector<std::string> texts;
  for (const LogLine& line : Lines()) {
    if (line.priority == priority) texts.push_back(line.text);
  }
  return texts;
}

void LogCapture::Clear() {
  const std::lock_guard lock(Active().mutex);
  lines_.clear();
}

void AroundCapture(void (*hook)(bool begins)) { around_capture = hook; }

// In front of the C library's functions of the same names. The names with underscores are what a
// hardened build calls instead.
extern "C" {

FAKE_HOST_API void vsyslog(int priority, const char* format, std::va_list arguments) {
  Record(priority, format, arguments);
}

FAKE_HOST_API void syslog(int priority, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  Record(priority, format, arguments);
  va_end(arguments);
}

// NOLINTBEGIN(bugprone-reserved-identifier): the C library's names
__attribute__((format(printf, 3, 0))) FAKE_HOST_API void __vsyslog_chk(int priority, int /*flag*/,
                                                                       const char* format,
                                                                       std::va_list arguments) {
  Record(priority, format, arguments);
}

__attribute__((format(printf, 3, 4))) FAKE_HOST_API void __syslog_chk(int priority, int /*flag*/,
                                                                      const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  Record(priority, format, arguments);
  va_end(arguments);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"
