#include "cache/known_names.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

TEST(KnownNamesTest, KnowsNothingOfNamesThatNeverCame) {
  KnownNames names;
  EXPECT_EQ(names.Find(""), nullptr);
  EXPECT_EQ(names.Find("a", &NameFacts::port), NameFacts::kUnknown);
  names["a"].port = 1;
  EXPECT_EQ(names.Find("b"), nullptr);
  EXPECT_EQ(names.Find("b", &NameFacts::port), NameFacts::kUnknown);
}

TEST(KnownNamesTest, KeepsEveryFactOfANameApart) {
  KnownNames names;
  names[""].device = 0;
  names[""].port_record = 7;
  EXPECT_EQ(names.Find("", &NameFacts::device), 0U);
  EXPECT_EQ(names.Find("", &NameFacts::port_record), 7U);
  EXPECT_EQ(names.Find("", &NameFacts::port), NameFacts::kUnknown);
  EXPECT_EQ(names.size(), 1U);
}

TEST(KnownNamesTest, ListsNamesInTheOrderInWhichTheyCame) {
  KnownNames names;
  for (const char* name : {"b", "a", "b", "c", "a"}) names[name];
  std::string listed;
  for (const auto& [name, facts] : names) listed += name;
  EXPECT_EQ(listed, "bac");
}

std::uint32_t Draw(std::mt19937& random, std::uint32_t below) {
  return static_cast<std::uint32_t>(random() % below);
}

// A name of a small alphabet: some come again, some are the start of others.
std::string DrawName(std::mt19937& random) {
  std::string name(Draw(random, 4), ' ');
  for (char& letter : name) letter = static_cast<char>('a' + Draw(random, 6));
  return name;
}

TEST(KnownNamesTest, AgreesWithAMapWhateverTheOrderAndTheRoom) {
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    KnownNames names;
    std::map<std::string, std::uint32_t> expected;
    if (seed % 2 == 0) names.Reserve(random() % 100);
    for (std::uint32_t step = Draw(random, 300); step > 0; --step) {
      const std::string name = DrawName(random);
      names[name].device = step;
      expected[name] = step;
      if (random() % 50 == 0) names.Reserve(random() % 1000);
    }
    ASSERT_EQ(names.size(), expected.size());
    for (int step = 0; step < 300; ++step) {
      const std::string name = DrawName(random);
      const auto found = expected.find(name);
      ASSERT_EQ(names.Find(name, &NameFacts::device),
                found == expected.end() ? NameFacts::kUnknown : found->second)
          << "seed " << seed << ", \"" << name << '"';
    }
  }
}

// With a place must be found what is found without, whether the names come in order or not.
TEST(KnownNamesTest, FindsEveryNameFromEveryPlace) {
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    KnownNames names;
    for (std::uint32_t position = Draw(random, 50); position > 0; --position) {
      names[DrawName(random)].port = position;
    }
    std::vector<std::string> asked;
    for (const auto& [name, facts] : names) asked.insert(asked.end(), Draw(random, 3), name);
    for (int step = 0; step < 20; ++step) asked.push_back(DrawName(random));

    std::size_t place = 0;
    for (const std::string& name : asked) ASSERT_EQ(names.Find(name, place), names.Find(name));
    place = 0;
    for (const std::string& name : asked) {
      NameFacts* const facts = &names.At(name, place);
      ASSERT_EQ(facts, names.Find(name)) << "seed " << seed << ", \"" << name << '"';
    }
  }
}

}  // namespace
