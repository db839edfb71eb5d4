#include "tool/near_names.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "tool/utf8_text.h"

namespace tool {
namespace {

constexpr std::size_t kMostNames = 3;
constexpr std::size_t kLongestWord = 64;

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t exchanged = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, exchanged}));
    }
  }
  return row.back();
}

std::vector<std::string> NearNames(std::string_view word, const std::vector<std::string>& names) {
  const std::string wanted = Lower(word.substr(0, kLongestWord));
  const std::size_t tolerance = std::max<std::size_t>(1, wanted.size() / 3);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& name : names) {
    const std::string other = Lower(name);
    const bool contained = wanted.size() > 2 && other.find(wanted) != std::string::npos;
    const std::size_t distance = contained ? 1 : EditDistance(wanted, other);
    if (distance <= tolerance) near.emplace_back(distance, name);
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  if (near.size() > kMostNames) near.resize(kMostNames);
  std::vector<std::string> found;
  found.reserve(near.size());
  for (auto& [distance, name] : near) found.push_back(std::move(name));
  return found;
}

std::string DidYouMean(std::string_view word, const std::vector<std::string>& names) {
  const std::vector<std::string> near = NearNames(word, names);
  return near.empty() ? "" : fmt::format("; did you mean {}?", fmt::join(near, " or "));
}

}  // namespace tool
