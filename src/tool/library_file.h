// Where the provider library is.
//
// Thread rule: reads the environment and the file system; as safe as getenv is.

#ifndef TOOL_LIBRARY_FILE_H_
#define TOOL_LIBRARY_FILE_H_

#include <optional>
#include <string>
#include <vector>

namespace tool {

// The files that are tried for the library when nobody names one, in order: beside the program, in
// the build tree, in the library folder of the prefix that the program is installed under, in the
// library folder that was configured. `program_folder` is the absolute folder of the program.
std::vector<std::string> LibraryCandidates(const std::string& program_folder);

// The file to load: `option` (--library), else the environment's OSTREL_PCI_LIBRARY, else the first
// candidate that exists. Always a path with a slash, so that the loader searches nowhere else.
// Throws CommandError where there is no such file.
std::string FindLibrary(const std::optional<std::string>& option);

}  // namespace tool

#endif  // TOOL_LIBRARY_FILE_H_
