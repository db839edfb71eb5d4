// Runs the command line tool as a shell would and catches what it writes.

#ifndef E2E_RUN_TOOL_H_
#define E2E_RUN_TOOL_H_

#include <map>
#include <string>
#include <vector>

namespace e2e {

struct Outcome {
  int status = -1;  // exit status; 128 and the signal's number where one ended it
  std::string out;
  std::string err;
};

struct Setting {
  // Added to an environment that has a UTF-8 locale and none of the tool's own variables.
  std::map<std::string, std::string> environment = {};
  std::string in_file = {};      // standard input comes from there instead of from this process's
  std::string out_file = {};     // standard output goes there instead of into Outcome::out
  std::string err_file = {};     // standard error likewise
  std::vector<int> closed = {};  // of descriptors 0 to 2, those that the tool is started without
  bool reader_gone = false;      // standard output is a pipe that nobody reads
  unsigned terminal = 0;         // standard output is a terminal of so many columns
  bool unprivileged = false;     // as the user nobody; needs root
};

using Words = std::vector<std::string>;

Outcome RunTool(const Words& arguments, const Setting& setting = {});

// The same on the recorded host, under the system name "recorded".
Outcome RunOnRecord(Words arguments, const Setting& setting = {});

// The output of a shell command, which must succeed.
std::string OutputOf(const std::string& command);

std::vector<std::string> Lines(const std::string& text);
std::string ReadFile(const std::string& file);

}  // namespace e2e

#endif  // E2E_RUN_TOOL_H_
