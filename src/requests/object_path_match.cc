#include "requests/object_path_match.h"

#include <algorithm>

#include "cim/text.h"

namespace requests {
namespace {

bool SameValue(const cim::Value& asked, const cim::Value& found) {
  const cim::ObjectPath* reference = asked.reference();
  const cim::ObjectPath* found_reference = found.reference();
  return reference != nullptr && found_reference != nullptr
             ? NamesSame(*reference, *found_reference)
             : asked == found;
}

}  // namespace

std::size_t EqualKeys(const cim::ObjectPath& asked, const cim::ObjectPath& found) {
  return static_cast<std::size_t>(
      std::count_if(asked.keys.begin(), asked.keys.end(), [&](const auto& key) {
        const cim::Value* other = found.Key(key.first);
        return other != nullptr && SameValue(key.second, *other);
      }));
}

bool NamesSame(const cim::ObjectPath& asked, const cim::ObjectPath& found) {
  return cim::EqualIgnoringCase(asked.class_name, found.class_name) &&
         EqualKeys(asked, found) == asked.keys.size();
}

void KeepBestMatches(const cim::ObjectPath& asked, std::vector<cim::Instance>& found) {
  std::size_t most = 0;
  for (const cim::Instance& instance : found)
    most = std::max(most, EqualKeys(asked, instance.path));
  std::erase_if(
      found, [&](const cim::Instance& instance) { return EqualKeys(asked, instance.path) < most; });
}

}  // namespace requests
