// What a user may have meant by a word that names nothing.
//
// Thread rule: pure functions.

#ifndef TOOL_NEAR_NAMES_H_
#define TOOL_NEAR_NAMES_H_

#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Levenshtein's: the fewest insertions, deletions and exchanges that make one text the other.
std::size_t EditDistance(std::string_view a, std::string_view b);

// Of the names those that are near the word in any letter case, nearest first, three at most.
std::vector<std::string> NearNames(std::string_view word, const std::vector<std::string>& names);

// "; did you mean list or links?"; empty where no name is near.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& names);

}  // namespace tool

#endif  // TOOL_NEAR_NAMES_H_
