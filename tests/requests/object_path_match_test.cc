// Which found paths are those asked for.

#include "requests/object_path_match.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cim/wbem_uri.h"

namespace requests {
namespace {

using cim::ParseWbemUri;

TEST(NamesSame, LooksAtTheClassAndTheAskedKeysAlone) {
  const cim::ObjectPath asked = ParseWbemUri("C.A=\"1\",B=\"2\"");
  EXPECT_TRUE(NamesSame(asked, ParseWbemUri("root/x:c.b=\"2\",a=\"1\"")));
  EXPECT_TRUE(NamesSame(asked, ParseWbemUri("C.A=\"1\",B=\"2\",Z=\"3\"")));
  EXPECT_FALSE(NamesSame(asked, ParseWbemUri("C.A=\"1\"")));
  EXPECT_FALSE(NamesSame(asked, ParseWbemUri("C.A=\"1\",B=\"3\"")));
  EXPECT_FALSE(NamesSame(asked, ParseWbemUri("D.A=\"1\",B=\"2\"")));
  EXPECT_FALSE(NamesSame(asked, ParseWbemUri("C.A=\"1\",B=2")));
}

TEST(NamesSame, FollowsReferences) {
  const auto path = [](const char* class_name, const char* key, const char* host) {
    cim::ObjectPath end{std::string(host), "root/cimv2", class_name, {{"K", cim::Value(key)}}};
    return cim::ObjectPath{{}, "", "A", {{"End", cim::Value(std::move(end))}}};
  };
  EXPECT_TRUE(NamesSame(path("C", "1", "x"), path("c", "1", "y")));
  EXPECT_FALSE(NamesSame(path("C", "1", "x"), path("C", "2", "x")));
  EXPECT_FALSE(NamesSame(path("C", "1", "x"), path("D", "1", "x")));
  EXPECT_FALSE(NamesSame(path("C", "1", "x"), ParseWbemUri("A.End=5")));
}

TEST(BestMatches, AreThoseWithMostOfTheAskedKeysInTheirOrder) {
  const auto best = [](const char* asked) {
    std::vector<cim::Instance> found;
    for (const char* path :
         {"C.A=\"1\",B=\"1\"", "C.A=\"1\",B=\"2\"", "C.A=\"1\",B=\"2\",Z=\"\""}) {
      found.push_back({ParseWbemUri(path), {}});
    }
    KeepBestMatches(ParseWbemUri(asked), found);
    std::vector<std::string> texts;
    for (const cim::Instance& instance : found) texts.push_back(ToWbemUri(instance.path));
    return texts;
  };
  using testing::ElementsAre;
  EXPECT_THAT(best("C.A=\"1\",B=\"2\""),
              ElementsAre("C.A=\"1\",B=\"2\"", "C.A=\"1\",B=\"2\",Z=\"\""));
  EXPECT_THAT(best("C.A=\"2\",B=\"1\""), ElementsAre("C.A=\"1\",B=\"1\""));
  EXPECT_EQ(best("C.A=\"1\"").size(), 3U);
  EXPECT_EQ(best("C.A=\"9\"").size(), 3U);
}

}  // namespace
}  // namespace requests
