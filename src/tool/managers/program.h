// Starting other programs: finding them, running them, and writing down how a shell would.
//
// Thread rule: one thread; a program that is run is waited for.

#ifndef TOOL_MANAGERS_PROGRAM_H_
#define TOOL_MANAGERS_PROGRAM_H_

#include <string>
#include <vector>

namespace tool {

// A program's name and its arguments.
using Invocation = std::vector<std::string>;

// The program's file in the folders of PATH; empty where there is none that may be run.
std::string FindOnPath(const std::string& program);

// The command as one line of a shell, quoted where it must be.
std::string ShellLine(const Invocation& command);

// The word as a shell reads it as one word.
std::string ShellWord(const std::string& word);

// How a program ended: "" for status 0, else in words that go on after its name, such as "ended
// with status 3".
using Failure = std::string;

// Runs the program and waits for it; what it prints goes where this process prints.
Failure RunProgram(const Invocation& command);

struct Answer {
  Failure failure;
  std::string text;  // what the program printed to standard output, without blanks around it
};

// The same, with what the program prints to standard output taken in.
Answer AskProgram(const Invocation& command);

}  // namespace tool

#endif  // TOOL_MANAGERS_PROGRAM_H_
