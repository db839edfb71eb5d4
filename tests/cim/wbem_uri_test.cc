#include "cim/wbem_uri.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace cim {
namespace {

constexpr const char* kDevice =
    "root/cimv2:Ostrel_PCIDevice.SystemCreationClassName=\"OMC_UnitaryComputerSystem\","
    "SystemName=\"host\",CreationClassName=\"Ostrel_PCIDevice\",DeviceID=\"0000:00:1f.2\"";

TEST(WbemUri, ReadsAnElementPath) {
  const ObjectPath path = ParseWbemUri(kDevice);
  EXPECT_EQ(path.host, std::nullopt);
  EXPECT_EQ(path.name_space, "root/cimv2");
  EXPECT_EQ(path.class_name, "Ostrel_PCIDevice");
  ASSERT_EQ(path.keys.size(), 4U);
  EXPECT_EQ(path.keys[3].first, "DeviceID");
  EXPECT_EQ(path.keys[3].second, Value("0000:00:1f.2"));
  EXPECT_EQ(ToWbemUri(path), kDevice);
}

TEST(WbemUri, ReadsPathsWithPartsMissing) {
  EXPECT_EQ(ParseWbemUri("Ostrel_PCIDevice"), (ObjectPath{{}, "", "Ostrel_PCIDevice", {}}));
  EXPECT_EQ(ParseWbemUri("root/a:C"), (ObjectPath{{}, "root/a", "C", {}}));
  EXPECT_EQ(ParseWbemUri("//host/root/a:C"), (ObjectPath{"host", "root/a", "C", {}}));
  EXPECT_EQ(ParseWbemUri("C.A=\"a:b.c\""), (ObjectPath{{}, "", "C", {{"A", Value("a:b.c")}}}));
}

TEST(WbemUri, ReadsReferencesByTheSchema) {
  const std::string inner = "root/cimv2:OMC_UnitaryComputerSystem.Name=\"a\\\"b\"";
  std::string quoted;
  for (const char c : inner) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  const std::string text = "root/cimv2:Ostrel_PCIHostedCollection.Antecedent=\"" + quoted + "\"";
  const ObjectPath path = ParseWbemUri(text);
  const ObjectPath* antecedent = path.Key("antecedent")->reference();
  ASSERT_NE(antecedent, nullptr);
  EXPECT_EQ(*antecedent->Key("Name"), Value("a\"b"));
  EXPECT_EQ(ToWbemUri(path), text);
}

TEST(WbemUri, ReadsUntypedValuesByTheirForm) {
  const ObjectPath path = ParseWbemUri("C.A=5,B=-5,D=TRUE,E=false,F='x',G=2.5,H=null,I=\"\"");
  EXPECT_EQ(*path.Key("A"), Value(std::uint64_t{5}));
  EXPECT_EQ(*path.Key("B"), Value(std::int64_t{-5}));
  EXPECT_EQ(*path.Key("D"), Value(true));
  EXPECT_EQ(*path.Key("E"), Value(false));
  EXPECT_EQ(*path.Key("F"), Value(u'x'));
  EXPECT_EQ(*path.Key("G"), Value(2.5));
  EXPECT_TRUE(path.Key("H")->is_null());
  EXPECT_EQ(*path.Key("I"), Value(""));
}

TEST(WbemUri, EscapesCharactersAsItReadsThem) {
  for (const char16_t letter : {u'\\', u'\'', u'"', u'x', u'\u00e4', char16_t{0xd800}}) {
    const ObjectPath path{{}, "", "C", {{"A", Value(letter)}}};
    EXPECT_EQ(ParseWbemUri(ToWbemUri(path)), path) << static_cast<unsigned>(letter);
  }
}

TEST(WbemUri, AHostWithoutANamespaceKeepsItsPlace) {
  const ObjectPath path{"host", "", "C", {}};
  EXPECT_EQ(ToWbemUri(path), "//host/:C");
  EXPECT_EQ(ParseWbemUri("//host/:C"), path);
}

TEST(WbemUri, ReadsZeroTheSameWithAnySign) {
  EXPECT_EQ(*ParseWbemUri("C.A=-0").Key("A"), Value(std::uint64_t{0}));
  EXPECT_EQ(ToWbemUri(ParseWbemUri("C.A=-0")), "C.A=0");
}

TEST(WbemUri, WritesTimesAsTextAndSingleNumbersAsNumbers) {
  const ObjectPath path{
      {}, "", "C", {{"A", Value(DateTime{"20261121120000.250000+060"})}, {"B", Value(2.5F)}}};
  EXPECT_EQ(ToWbemUri(path), "C.A=\"20261121120000.250000+060\",B=2.5");
}

TEST(WbemUri, ReadsNumbersInTheWidthOfTheSchema) {
  EXPECT_EQ(*ParseWbemUri("Ostrel_PCIPortGroup.BusNumber=255").Key("BusNumber"),
            Value(std::uint8_t{255}));
  EXPECT_THROW(ParseWbemUri("Ostrel_PCIPortGroup.BusNumber=256"), WbemUriError);
  EXPECT_THROW(ParseWbemUri("Ostrel_PCIPortGroup.BusNumber=-1"), WbemUriError);
}

struct Malformed {
  const char* text;
  std::size_t position;
};

TEST(WbemUri, TellsWhereAMalformedPathGoesWrong) {
  const std::vector<Malformed> cases = {
      {"", 0},
      {":", 1},
      {"root/a:", 7},
      {"1C", 0},
      {"//host", 0},
      {"//host/C", 7},
      {"C.", 2},
      {"C D", 1},
      {"C.A", 3},
      {"C.A=", 4},
      {"C.A=x", 4},
      {"C.A=\"x", 4},
      {"C.A=\"x\\", 6},
      {"C.A=\"x\\n\"", 6},
      {"C.A=\"x\"y", 7},
      {"C.A=\"x\",", 8},
      {"C.A=\"x\",a=\"y\"", 8},
      {"C.A='xy'", 4},
      {"C.A=''", 4},
      {"C.A='\xff'", 4},
      {"C.A='\U0001f600'", 4},
      {"C.A=1e999", 4},
      {"C.A=nan", 4},
      {"C.A=-inf", 4},
      {"Ostrel_PCIHostedCollection.Antecedent=\"root/a:\"", 38},
      // However deep, the reference that the text itself has.
      {"Ostrel_PCIHostedCollection.Antecedent=\"A.K=\\\"x\\\",Ostrel_PCIControlledBy.B\"", 38},
      {"Ostrel_PCISystemDevice.PartComponent=\"Ostrel_PCISystemDevice.PartComponent=\\\"root:"
       "\\\"\"",
       37},
  };
  for (const Malformed& c : cases) {
    try {
      ParseWbemUri(c.text);
      ADD_FAILURE() << "read: " << c.text;
    } catch (const WbemUriError& error) {
      EXPECT_EQ(error.position(), c.position) << c.text << ": " << error.what();
    }
  }
}

ObjectPath Nested(int depth) {
  ObjectPath path{{}, "r", "Ostrel_PCIControlledBy", {}};
  path.keys.emplace_back("Dependent", depth == 0 ? Value("end") : Value(Nested(depth - 1)));
  if (depth == 0) path.class_name = "C";
  return path;
}

TEST(WbemUri, BoundsTheNestingOfReferences) {
  const ObjectPath deepest = Nested(kMaxReferenceDepth);
  EXPECT_EQ(ParseWbemUri(ToWbemUri(deepest)), deepest);
  EXPECT_THROW(ToWbemUri(Nested(kMaxReferenceDepth + 1)), std::invalid_argument);
  std::string text = ToWbemUri(deepest);
  std::string quoted;
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  EXPECT_THROW(ParseWbemUri("Ostrel_PCIControlledBy.Dependent=\"" + quoted + "\""), WbemUriError);
}

// What a request nests must not grow out of proportion when it is printed.
TEST(WbemUri, AFewEscapesOfEscapesAreAllThatIsWritten) {
  constexpr std::size_t kSize = 100'000;
  ObjectPath path{{}, "", "C", {{"A", Value(std::string(kSize, '\\'))}}};
  for (int i = 0; i < kMaxReferenceDepth; ++i) {
    path = {{}, "", "Ostrel_PCIControlledBy", {{"Dependent", Value(path)}}};
  }
  EXPECT_LT(ToWbemUri(path).size(), 9 * kSize);
}

TEST(WbemUri, RefusesToPrintWhatNoKeyMayBe) {
  EXPECT_THROW(ToWbemUri({{}, "", "C", {{"A", Value::ArrayOf(CMPI_uint8, {})}}}),
               std::invalid_argument);
  EXPECT_THROW(ToWbemUri({{}, "", "C", {{"A", Value(Instance{})}}}), std::invalid_argument);
}

class RandomPaths {
 public:
  explicit RandomPaths(unsigned seed) : random_(seed) {}

  ObjectPath Path(int depth) {
    ObjectPath path;
    if (Pick(4) == 0) path.host = "host" + std::to_string(Pick(10));
    if (path.host || Pick(2) == 0) path.name_space = "root/n" + std::to_string(Pick(10));
    const bool association = depth > 0 && Pick(2) == 0;
    path.class_name = association ? "Ostrel_PCIControlledBy" : "C_" + std::to_string(Pick(10));
    if (association) path.keys.emplace_back("Dependent", Value(Path(depth - 1)));
    for (unsigned i = Pick(4); i > 0; --i) {
      path.keys.emplace_back("K" + std::to_string(i), Scalar());
    }
    return path;
  }

 private:
  unsigned Pick(unsigned count) { return static_cast<unsigned>(random_() % count); }

  std::string Text() {
    static constexpr char kLetters[] = "ab\"\\',.=:/ \t\n\xc3\xa9#";
    std::string text;
    for (unsigned i = Pick(12); i > 0; --i) text += kLetters[Pick(sizeof(kLetters) - 1)];
    return text;
  }

  Value Scalar() {
    switch (Pick(6)) {
      case 0: return Value(std::uint64_t{random_()} << Pick(32));
      case 1: return Value(-static_cast<std::int64_t>(random_()) - 1);
      case 2: return Value(Pick(2) == 0);
      case 3: return Value(static_cast<char16_t>(1 + Pick(0xfffe)));
      case 4: return Value(static_cast<double>(random_()) / 7.0);
      default: return Value(Text());
    }
  }

  std::mt19937 random_;
};

TEST(WbemUri, ReadsBackWhatItPrints) {
  RandomPaths random(20261121);
  for (int i = 0; i < 5000; ++i) {
    const ObjectPath path = random.Path(kMaxReferenceDepth);
    ASSERT_EQ(ParseWbemUri(ToWbemUri(path)), path) << ToWbemUri(path);
  }
}

TEST(WbemUri, ReadsAnyDamagedTextOrRefusesIt) {
  std::mt19937 random(7);
  for (int i = 0; i < 5000; ++i) {
    std::string text = kDevice;
    for (int change = 0; change < 3; ++change) {
      const std::size_t at = random() % text.size();
      random() % 2 == 0 ? text.erase(at, 1) : text.insert(at, 1, "\"\\.,=:/x"[random() % 8]);
    }
    try {
      const ObjectPath path = ParseWbemUri(text);
      EXPECT_EQ(ParseWbemUri(ToWbemUri(path)), path) << text;
    } catch (const WbemUriError& error) {
      EXPECT_LE(error.position(), text.size());
    }
  }
}

}  // namespace
}  // namespace cim
