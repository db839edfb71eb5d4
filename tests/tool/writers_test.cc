// Instances and paths in every format.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cim/mof_reader.h"
#include "tool/element_writer.h"
#include "tool/naive_json.h"
#include "tool/property_text.h"

namespace tool {
namespace {

using cim::Instance;
using cim::ObjectPath;
using cim::Value;
using testing::HasSubstr;

ObjectPath Path(std::string class_name, std::string id) {
  ObjectPath path;
  path.name_space = "root/cimv2";
  path.class_name = std::move(class_name);
  path.keys = {{"DeviceID", Value(std::move(id))}};
  return path;
}

Instance SampleInstance(std::string text = "text") {
  Instance instance;
  instance.path = Path("Test_Class", "one");
  instance.properties = {
      {"DeviceID", Value("one")},
      {"Text", Value(std::move(text))},
      {"Small", Value(std::uint8_t{255})},
      {"Large", Value(std::numeric_limits<std::uint64_t>::max())},
      {"Negative", Value(std::int64_t{-5})},
      {"Truth", Value(true)},
      {"Nothing", Value::Null(CMPI_uint16)},
      {"Array", Value::ArrayOf(CMPI_uint16, {Value(std::uint16_t{1}), Value(std::uint16_t{2})})},
      {"Empty", Value::ArrayOf(CMPI_uint16, {})},
      {"Reference", Value(Path("Test_Other", "two"))},
  };
  return instance;
}

using MakeWriter = std::unique_ptr<ElementWriter> (*)(std::ostream&);

std::string Written(MakeWriter make, std::vector<Instance> instances) {
  std::ostringstream out;
  const auto writer = make(out);
  for (Instance& instance : instances) writer->OnInstance(std::move(instance));
  writer->Finish(false);
  return out.str();
}

std::string WrittenTable(std::vector<Instance> instances, TableStyle style) {
  std::ostringstream out;
  const auto writer = MakeTableWriter(out, std::move(style));
  for (Instance& instance : instances) writer->OnInstance(std::move(instance));
  writer->Finish(false);
  return out.str();
}

TEST(JsonWriter, TypesValuesAndKeepsTheirOrder) {
  EXPECT_EQ(
      Json::parse(Written(MakeJsonWriter, {SampleInstance()}))[0].dump(),
      R"({"path":{"namespace":"root/cimv2","className":"Test_Class","keys":{"DeviceID":"one"}},)"
      R"("properties":{"DeviceID":"one","Text":"text","Small":255,)"
      R"("Large":18446744073709551615,"Negative":-5,"Truth":true,"Nothing":null,)"
      R"("Array":[1,2],"Empty":[],"Reference":{"namespace":"root/cimv2",)"
      R"("className":"Test_Other","keys":{"DeviceID":"two"}}}})");
}

// Byte for byte what a JSON library makes of the same in memory.
TEST(JsonWriter, WritesAsADocumentInMemoryIsWritten) {
  std::vector<Instance> instances = {SampleInstance(), SampleInstance("\x7f \xc3\xa4 \t / \x80"),
                                     SampleInstance("")};
  instances[1].path.host = "host";
  instances[1].properties.push_back({"Embedded", Value(SampleInstance("in\\side"))});
  for (const double real : {0.0, -0.0, 0.1, 1e300, -2.5e-7, 3.0}) {
    const std::string number = std::to_string(instances[2].properties.size());
    instances[2].properties.push_back({"Real\"" + number, Value(real)});
  }
  for (const float single : {0.1F, -3e38F, std::numeric_limits<float>::infinity()}) {
    const std::string number = std::to_string(instances[2].properties.size());
    instances[2].properties.push_back({"Single" + number, Value(single)});
  }
  instances[2].properties.push_back({"Letter", Value(u'\x1f')});
  instances[2].properties.push_back({"Half", Value(static_cast<char16_t>(0xd800))});
  instances[2].properties.push_back({"Time", Value(cim::DateTime{"20260101000000.000000+000"})});
  instances[2].properties.push_back({"Least", Value(std::numeric_limits<std::int64_t>::min())});
  instances[2].properties.push_back(
      {"References", Value::ArrayOf(CMPI_ref, {Value(Path("Test_Other", "\n")), Value()})});
  instances[2].path.keys.clear();
  Json document = Json::array();
  for (const Instance& instance : instances) document.push_back(ToJson(instance));
  EXPECT_EQ(Written(MakeJsonWriter, instances), document.dump(2) + "\n");

  std::ostringstream out;
  const auto writer = MakeJsonWriter(out);
  for (const Instance& instance : instances) writer->OnObjectPath(ObjectPath(instance.path));
  writer->Finish(false);
  Json paths = Json::array();
  for (const Instance& instance : instances) paths.push_back(ToJson(instance.path));
  EXPECT_EQ(out.str(), paths.dump(2) + "\n");
}

TEST(JsonWriter, EscapesControlCharactersAndReplacesInvalidBytes) {
  const std::string text = Written(MakeJsonWriter, {SampleInstance("a\"\\\n\x01\xff"
                                                                   "b")});
  EXPECT_THAT(text, HasSubstr(R"("Text": "a\"\\\n\u0001)"
                              "\xef\xbf\xbd"
                              R"(b")"));
  EXPECT_EQ(Json::parse(text)[0]["properties"]["Text"],
            "a\"\\\n\x01\xef\xbf\xbd"
            "b");
}

TEST(JsonWriter, WritesAnArrayOfAnyLength) {
  EXPECT_EQ(Written(MakeJsonWriter, {}), "[]\n");
  EXPECT_EQ(
      Json::parse(Written(MakeJsonWriter, {SampleInstance(), SampleInstance(), SampleInstance()}))
          .size(),
      3U);
}

TEST(JsonWriter, StreamsElements) {
  std::ostringstream out;
  const auto writer = MakeJsonWriter(out);
  EXPECT_EQ(out.str(), "");
  writer->OnObjectPath(Path("Test_Class", "first"));
  EXPECT_THAT(out.str(), HasSubstr("first"));
  writer->Finish(false);
}

TEST(Writers, LeaveNothingBehindOfARequestThatFailedAtOnce) {
  for (const MakeWriter make : {MakeJsonWriter, MakeMofWriter, MakeSheetWriter}) {
    std::ostringstream out;
    make(out)->Finish(true);
    EXPECT_EQ(out.str(), "");
  }
}

TEST(Writers, EndTheDocumentOfARequestThatFailedHalfway) {
  std::ostringstream out;
  const auto writer = MakeJsonWriter(out);
  writer->OnInstance(SampleInstance());
  writer->Finish(true);
  EXPECT_EQ(Json::parse(out.str()).size(), 1U);
}

TEST(MofWriter, WritesInstanceDeclarations) {
  EXPECT_EQ(Written(MakeMofWriter, {SampleInstance()}),
            "instance of Test_Class {\n"
            "  DeviceID = \"one\";\n"
            "  Text = \"text\";\n"
            "  Small = 255;\n"
            "  Large = 18446744073709551615;\n"
            "  Negative = -5;\n"
            "  Truth = TRUE;\n"
            "  Nothing = NULL;\n"
            "  Array = {1, 2};\n"
            "  Empty = {};\n"
            "  Reference = \"root/cimv2:Test_Other.DeviceID=\\\"two\\\"\";\n"
            "};\n");
}

TEST(MofWriter, WritesWhatAReaderOfMofReads) {
  const std::string text = R"(a "quoted" \ one, {1}; $)";
  const mof::File file =
      mof::Read(Written(MakeMofWriter, {SampleInstance(text), SampleInstance("")}));
  ASSERT_EQ(file.instances.size(), 2U);
  EXPECT_EQ(file.instances[0].class_name, "Test_Class");
  EXPECT_EQ(file.instances[0].properties.at("Text"), mof::Literals{text});
  EXPECT_EQ(file.instances[0].properties.at("Array"), (mof::Literals{"1", "2"}));
  EXPECT_EQ(file.instances[1].properties.at("Text"), mof::Literals{""});
}

TEST(MofWriter, EscapesText) {
  EXPECT_THAT(Written(MakeMofWriter, {SampleInstance("\b\t\n\f\r\"'\\\x01\x7f")}),
              HasSubstr(R"(Text = "\b\t\n\f\r\"'\\\x0001\x007F";)"));
}

TEST(MofWriter, WritesPathsOneToALine) {
  std::ostringstream out;
  const auto writer = MakeMofWriter(out);
  for (const char* id : {"one", "two"}) writer->OnObjectPath(Path("Test_Class", id));
  writer->Finish(false);
  EXPECT_EQ(out.str(),
            "root/cimv2:Test_Class.DeviceID=\"one\"\nroot/cimv2:Test_Class.DeviceID=\"two\"\n");
}

TEST(PropertyText, NamesPortTypesAndCodes) {
  EXPECT_EQ(PortTypeName(150), "PCI");
  EXPECT_EQ(PortTypeName(151), "PCI-X");
  EXPECT_EQ(PortTypeName(152), "PCIe");
  EXPECT_EQ(PortTypeName(7), "7");
  EXPECT_EQ(CodeMeaning("Ostrel_PCIBridge", "BridgeType", Value(std::uint16_t{4})), "PCI");
  EXPECT_EQ(CodeMeaning("Ostrel_PCIBridge", "BridgeType", Value(std::uint16_t{60000})), "");
  EXPECT_EQ(CodeMeaning("Ostrel_PCIBridge", "DeviceID", Value("4")), "");
}

TEST(PropertyText, ShowsAWholePathThatHasNoShortName) {
  ObjectPath path = Path("Test_Class", "one");
  EXPECT_EQ(ShortName(path), "one");
  path.keys = {{"Other", Value("two")}};
  EXPECT_EQ(ShortName(path), "root/cimv2:Test_Class.Other=\"two\"");
}

Instance Device(const char* class_name, const char* id) {
  Instance device;
  device.path = Path(class_name, id);
  device.properties = {{"DeviceID", Value(id)},
                       {"DeviceNumber", Value(std::uint8_t{31})},
                       {"ElementName", Value("Maker\x1b Thing #31")},
                       {"ClassCode", Value(std::uint8_t{6})},
                       {"SubClassCode", Value(std::uint8_t{4})},
                       {"ParentDeviceID", Value("top")},
                       {"BridgeType", Value(std::uint16_t{4})},
                       {"SecondaryBusNumber", Value(std::uint8_t{26})}};
  return device;
}

TEST(TableWriter, ShowsWhatAPersonWantsOfEachClass) {
  EXPECT_EQ(WrittenTable({Device("Ostrel_PCIBridge", "a"), Device("Ostrel_PCIDevice", "b"),
                          Device("Ostrel_PCIBridge", "c")},
                         {}),
            "ADDRESS  CLASS       TYPE  BUS  NAME          PARENT\n"
            "a        PCI bridge  PCI   1a   Maker\xef\xbf\xbd Thing  top\n"
            "c        PCI bridge  PCI   1a   Maker\xef\xbf\xbd Thing  top\n"
            "\n"
            "ADDRESS  CLASS       NAME          PARENT\n"
            "b        PCI bridge  Maker\xef\xbf\xbd Thing  top\n");
}

TEST(TableWriter, ShowsTheShortNamesOfBothEndsOfAnAssociation) {
  Instance association;
  association.path.class_name = "Ostrel_PCIControlledBy";
  association.properties = {{"Antecedent", Value(Path("Ostrel_PCIBridge", "bridge"))},
                            {"Dependent", Value(Path("Ostrel_PCIPort", "port"))}};
  EXPECT_EQ(WrittenTable({association}, {}), "Antecedent  Dependent\nbridge      port\n");
}

TEST(TableWriter, ShowsThePropertiesThatWereAskedFor) {
  EXPECT_EQ(WrittenTable({SampleInstance()}, {.properties = {"Array", "text", "Absent"}}),
            "Array   text  Absent\n{1, 2}  text\n");
}

TEST(SheetWriter, TellsWhatCodesMean) {
  EXPECT_THAT(Written(MakeSheetWriter, {Device("Ostrel_PCIBridge", "a")}),
              HasSubstr("  BridgeType          4 (PCI)\n"));
}

}  // namespace
}  // namespace tool
