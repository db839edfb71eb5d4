#include "cim/schema.h"

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

#include "cim/schema_table.h"
#include "cim/text.h"

namespace cim::schema {

namespace {

// What is inherited, worked out once per class.
struct Resolved {
  const Class* cls = nullptr;
  const Resolved* super = nullptr;
  std::vector<const Property*> properties;
};

struct HashOfName {
  std::size_t operator()(std::string_view name) const {
    std::size_t hash = 14695981039346656037ULL;  // FNV-1a
    for (const char c : name) {
      hash = (hash ^ static_cast<unsigned char>(LowerAscii(c))) * 1099511628211ULL;
    }
    return hash;
  }
};
struct SameName {
  bool operator()(std::string_view a, std::string_view b) const { return EqualIgnoringCase(a, b); }
};

void Declare(std::vector<const Property*>& properties, const Property& declared) {
  for (const Property*& inherited : properties) {
    if (EqualIgnoringCase(inherited->name, declared.name)) {
      inherited = &declared;
      return;
    }
  }
  properties.push_back(&declared);
}

class Tree {
 public:
  Tree() : resolved_(kClasses.size()) {
    for (std::size_t i = 0; i < kClasses.size(); ++i) {
      Resolved& entry = resolved_[i];
      entry.cls = &kClasses[i];
      entry.super = Find(entry.cls->superclass);
      if (entry.super != nullptr) entry.properties = entry.super->properties;
      for (const Property& declared : entry.cls->properties) {
        Declare(entry.properties, declared);
        property_names_.insert(declared.name);
      }
      by_name_.emplace(entry.cls->name, &entry);
    }
  }

  const Resolved* Find(std::string_view name) const {
    const auto found = by_name_.find(name);
    return found != by_name_.end() ? found->second : nullptr;
  }

  const Resolved& Of(const Class& cls) const {
    return resolved_[static_cast<std::size_t>(&cls - kClasses.data())];
  }

  const std::vector<Resolved>& all() const { return resolved_; }

  std::string_view PropertyName(std::string_view name) const {
    const auto found = property_names_.find(name);
    return found != property_names_.end() ? *found : std::string_view{};
  }

 private:
  std::vector<Resolved> resolved_;  // beside kClasses, index by index
  std::unordered_map<std::string_view, const Resolved*, HashOfName, SameName> by_name_;
  std::unordered_set<std::string_view, HashOfName, SameName> property_names_;
};

// Never destroyed: object managers of static duration still ask it while the process ends.
const Tree& TheTree() {
  static const Tree& tree = *new Tree;
  return tree;
}

bool IsBelow(const Resolved* entry, const Resolved* ancestor) {
  while (entry != nullptr && entry != ancestor) entry = entry->super;
  return entry != nullptr;
}

}  // namespace

std::span<const Class> AllClasses() { return kClasses; }

const Class* FindClass(std::string_view name) {
  const Resolved* found = TheTree().Find(name);
  return found != nullptr ? found->cls : nullptr;
}

bool IsA(std::string_view name, std::string_view ancestor) {
  if (EqualIgnoringCase(name, ancestor)) return true;
  const Resolved* above = TheTree().Find(ancestor);
  return above != nullptr && IsBelow(TheTree().Find(name), above);
}

std::vector<const Class*> SubclassesOf(std::string_view name) {
  std::vector<const Class*> below;
  const Resolved* ancestor = TheTree().Find(name);
  if (ancestor == nullptr) return below;
  for (const Resolved& entry : TheTree().all()) {
    if (&entry != ancestor && IsBelow(&entry, ancestor)) below.push_back(entry.cls);
  }
  return below;
}

std::span<const Property* const> AllProperties(const Class& cls) {
  return TheTree().Of(cls).properties;
}

const Property* FindProperty(const Class& cls, std::string_view name) {
  for (const Property* property : AllProperties(cls)) {
    if (EqualIgnoringCase(property->name, name)) return property;
  }
  return nullptr;
}

std::string_view PropertyName(std::string_view name) { return TheTree().PropertyName(name); }

std::vector<std::string_view> KeyNames(const Class& cls) {
  std::vector<std::string_view> names;
  for (const Property* property : AllProperties(cls)) {
    if (property->key) names.push_back(property->name);
  }
  return names;
}

}  // namespace cim::schema
