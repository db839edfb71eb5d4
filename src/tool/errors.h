// How a command of the tool ends when it does not end well.
//
// Thread rule: plain values.

#ifndef TOOL_ERRORS_H_
#define TOOL_ERRORS_H_

#include <stdexcept>
#include <string>

#include "cim/status.h"

namespace tool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// What was asked for cannot be done; the text says why, without the program's name.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& what, int exit_status = kExitFailed)
      : std::runtime_error(what), exit_status_(exit_status) {}
  int exit_status() const { return exit_status_; }

 private:
  int exit_status_;
};

// The command line makes no sense, whatever the host looks like.
class UsageError : public CommandError {
 public:
  explicit UsageError(const std::string& what) : CommandError(what, kExitUsage) {}
};

// A request was answered with a status other than CMPI_RC_OK. `request` is its operation and
// what it is about.
class StatusError : public CommandError {
 public:
  StatusError(const std::string& request, const cim::Status& status)
      : CommandError(request + ": " + cim::ToString(status)), code_(status.code) {}
  CMPIrc code() const { return code_; }

 private:
  CMPIrc code_;
};

}  // namespace tool

#endif  // TOOL_ERRORS_H_
