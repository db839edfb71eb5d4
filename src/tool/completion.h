// What may stand at a place of the command line, for the completions of shells.
//
// Thread rule: reads the environment and the host; one thread at a time.

#ifndef TOOL_COMPLETION_H_
#define TOOL_COMPLETION_H_

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "pci/source.h"

namespace tool {

struct Offer {
  std::string word;
  std::string meaning = {};  // in one line; may be empty
};

struct Offers {
  std::vector<Offer> words;
  bool files = false;
  bool folders = false;
  bool list = false;  // several of the words, with commas between them
};

// The place of a value: how help names it ("CLASS", "PATH"), after which option, of which command.
// The option is empty for an operand.
struct ValuePlace {
  std::string_view name;
  std::string_view option;
  std::string_view command;
};

// What may stand there, on the host of `source`. Nothing where nothing is known; a host that cannot
// be read offers nothing.
Offers OffersAt(const ValuePlace& place, const pci::Source& source);

// Writes those offers that go on with what is there, one to a line, with a tab and the meaning
// behind it. ":files" and ":folders" stand for what the shell itself knows.
void WriteOffers(const Offers& offers, const std::string& current, std::ostream& out);

}  // namespace tool

#endif  // TOOL_COMPLETION_H_
