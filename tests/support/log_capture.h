// Reads what the process writes to the system log.
//
// The library of this header defines syslog and its kin in front of the C library's, for code
// linked into the test and for libraries opened with dlopen alike. Nothing of a test program ever
// reaches the machine's log; without a LogCapture the lines are dropped.
//
// Thread rule: lines may be written from any thread; captures are made and read on any thread.

#ifndef SUPPORT_LOG_CAPTURE_H_
#define SUPPORT_LOG_CAPTURE_H_

#include <syslog.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "support/fake_host.h"

// One line of the log: LOG_ERR, LOG_DEBUG, ..., and the formatted text.
struct LogLine {
  int priority = 0;
  std::string text;

  bool operator==(const LogLine&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << line.priority << " \"" << line.text << '"';
}

// Keeps the lines written during its life. Captures may overlap; each has its own lines.
class FAKE_HOST_API LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // All lines so far, in order.
  std::vector<LogLine> Lines() const;
  // The texts of one priority, in order.
  std::vector<std::string> Texts(int priority) const;
  // Forgets the lines so far.
  void Clear();

  // Called by the log functions.
  void Append(const LogLine& line) { lines_.push_back(line); }

 private:
  std::vector<LogLine> lines_;
};

// Called with true before a line is kept and with false after it, from now on: what captures keep
// is the test's, not that of the code that logs. Null: nothing is called.
FAKE_HOST_API void AroundCapture(void (*hook)(bool begins));

#endif  // SUPPORT_LOG_CAPTURE_H_
