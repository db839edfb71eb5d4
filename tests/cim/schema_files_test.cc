// The files of schema/ against the class table, and the class table against the rules of CIM.

#include "cim/schema_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "broker/object_manager.h"
#include "cim/class_mof.h"
#include "cim/class_versions.h"
#include "cim/mof_reader.h"
#include "cim/schema.h"
#include "cim/value.h"

namespace {

using cim::schema::AllClasses;
using cim::schema::FindClass;
using cim::schema::FindProperty;
using cim::schema::IsA;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string CheckedIn(std::string_view name) {
  const std::string path = std::string(SCHEMA_FOLDER) + '/' + std::string(name);
  const std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<const cim::schema::Class*> ServedClasses() {
  std::vector<const cim::schema::Class*> served;
  for (const cim::schema::Class& cls : AllClasses()) {
    if (cls.name.starts_with("Ostrel_")) served.push_back(&cls);
  }
  return served;
}

TEST(SchemaFiles, StandCheckedInAsTheClassTableWritesThem) {
  for (const cim::schema::SchemaFile& file : cim::schema::SchemaFiles()) {
    EXPECT_EQ(CheckedIn(file.name), file.text) << file.name << " is stale: run script/schema";
  }
}

TEST(SchemaFiles, KeepTheirLinesWithinEightyColumns) {
  for (const cim::schema::SchemaFile& file : cim::schema::SchemaFiles()) {
    std::istringstream lines(file.text);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80U) << file.name << ": " << line;
      EXPECT_FALSE(line.ends_with(' ')) << file.name << ": " << line;
    }
  }
}

// What the class table says, in the reader's terms.
mof::Literals CodesOf(const cim::schema::Property& property,
                      std::string_view cim::schema::CodedValue::*field) {
  mof::Literals codes;
  for (const cim::schema::CodedValue& value : property.values) {
    codes.emplace_back(value.*field);
  }
  return codes;
}

void ExpectSameProperty(const mof::Property& read, const cim::schema::Property& declared) {
  EXPECT_EQ(read.name, declared.name);
  const std::string type = declared.type == CMPI_ref
                               ? std::string(declared.reference_class) + " REF"
                               : cim::TypeName(declared.type);
  EXPECT_EQ(read.type + (read.array ? "[]" : ""), type);
  EXPECT_EQ(read.qualifiers.contains("Key"), declared.key);
  EXPECT_THAT(read.qualifiers.at("Description"), ElementsAre(std::string(declared.description)));
  if (declared.values.empty()) return;
  EXPECT_EQ(read.qualifiers.at("ValueMap"), CodesOf(declared, &cim::schema::CodedValue::code));
  EXPECT_EQ(read.qualifiers.at("Values"), CodesOf(declared, &cim::schema::CodedValue::meaning));
}

void ExpectSameClass(const mof::Class& read, const cim::schema::Class& declared) {
  SCOPED_TRACE(read.name);
  EXPECT_EQ(read.name, declared.name);
  EXPECT_EQ(read.superclass, declared.superclass);
  EXPECT_EQ(read.qualifiers.contains("Association"), declared.association);
  EXPECT_THAT(read.qualifiers.at("Version"), ElementsAre(std::string(declared.version)));
  EXPECT_THAT(read.qualifiers.at("Description"), ElementsAre(std::string(declared.description)));
  ASSERT_EQ(read.properties.size(), declared.properties.size());
  for (std::size_t i = 0; i < read.properties.size(); ++i) {
    ExpectSameProperty(read.properties[i], declared.properties[i]);
    const cim::schema::Class* superclass = FindClass(declared.superclass);
    const bool inherited =
        superclass != nullptr && FindProperty(*superclass, read.properties[i].name) != nullptr;
    EXPECT_EQ(read.properties[i].qualifiers.contains("Override"), inherited);
  }
}

TEST(SchemaFiles, DeclareTheServedClassesAsTheClassTableDoes) {
  const mof::File file = mof::Read(CheckedIn("Ostrel_PCI.mof"));
  const auto served = ServedClasses();
  EXPECT_THAT(file.instances, SizeIs(0));
  ASSERT_EQ(file.classes.size(), served.size());
  for (std::size_t i = 0; i < served.size(); ++i) ExpectSameClass(file.classes[i], *served[i]);
}

TEST(SchemaFiles, GiveTheSystemClassOneInstanceWithAllKeys) {
  const mof::File file = mof::Read(CheckedIn("OMC_UnitaryComputerSystem.mof"));
  ASSERT_THAT(file.classes, SizeIs(1));
  const cim::schema::Class* system = FindClass(cim::schema::kSystemClass);
  ExpectSameClass(file.classes.front(), *system);
  ASSERT_THAT(file.instances, SizeIs(1));
  EXPECT_EQ(file.instances.front().class_name, system->name);
  for (const std::string_view key : cim::schema::KeyNames(*system)) {
    EXPECT_TRUE(file.instances.front().properties.contains(std::string(key))) << key;
  }
  for (const auto& [name, value] : file.instances.front().properties) {
    EXPECT_NE(FindProperty(*system, name), nullptr) << name;
  }
}

TEST(SchemaFiles, GiveTheSystemWhatTheBuiltInObjectManagerSaysOfIt) {
  broker::ObjectManager manager({.system_name = "host"});
  broker::Recorder served;
  ASSERT_TRUE(
      manager.GetInstance(cim::schema::kSystemClass, manager.SystemPath(), std::nullopt, served)
          .ok());
  ASSERT_THAT(served.instances, SizeIs(1));
  std::map<std::string, mof::Literals> properties;
  for (const cim::Property& property : served.instances.front().properties) {
    const std::string text = cim::ToText(property.value);
    properties[property.name] = {text == "host" ? std::string(cim::schema::kSystemNamePlaceholder)
                                                : text};
  }
  const mof::File file = mof::Read(CheckedIn("OMC_UnitaryComputerSystem.mof"));
  EXPECT_EQ(file.instances.front().properties, properties);
}

TEST(SchemaFiles, WriteEveryClassOfTheTableSoThatItReadsBack) {
  for (const cim::schema::Class& cls : AllClasses()) {
    const mof::File file = mof::Read(cim::schema::ClassMof(cls));
    ASSERT_THAT(file.classes, SizeIs(1)) << cls.name;
    ExpectSameClass(file.classes.front(), cls);
  }
}

TEST(SchemaFiles, EscapeWhatEndsAText) {
  cim::schema::Class cls;
  cls.name = "A";
  cls.version = "1.0.0";
  cls.description = R"(a "quoted" \ one)";
  EXPECT_NE(ClassMof(cls).find(R"("a \"quoted\" \\ one")"), std::string::npos) << ClassMof(cls);
  EXPECT_EQ(mof::Read(ClassMof(cls)).classes.size(), 1U);
}

TEST(SchemaFiles, RegisterEveryServedClassWithSfcbOnce) {
  std::string expected;
  for (const cim::schema::Class* cls : ServedClasses()) {
    expected += "[" + std::string(cls->name) + "] provider: " + std::string(cls->name) +
                " location: OstrelPCI type: instance" + (cls->association ? " association" : "") +
                " namespace: root/cimv2 ";
  }
  std::istringstream lines(CheckedIn("ostrel-pci.sfcb.reg"));
  std::string stanzas;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    stanzas += line.substr(line.find_first_not_of(' ')) + ' ';
  }
  EXPECT_EQ(stanzas, expected);
}

TEST(SchemaFiles, RegisterEveryServedClassWithOpenPegasusOnce) {
  const mof::File file = mof::Read(CheckedIn("ostrel-pci.pegasus.mof"));
  const auto served = ServedClasses();
  ASSERT_EQ(file.instances.size(), 1 + 2 * served.size());
  const mof::Instance& module = file.instances.front();
  EXPECT_EQ(module.class_name, "PG_ProviderModule");
  EXPECT_THAT(module.properties.at("Location"), ElementsAre("OstrelPCI"));
  EXPECT_THAT(module.properties.at("InterfaceType"), ElementsAre("CMPI"));
  EXPECT_THAT(module.properties.at("InterfaceVersion"), ElementsAre("2.0.0"));

  for (std::size_t i = 0; i < served.size(); ++i) {
    const mof::Literals name = {std::string(served[i]->name)};
    const mof::Instance& provider = file.instances[1 + 2 * i];
    EXPECT_EQ(provider.class_name, "PG_Provider");
    EXPECT_EQ(provider.properties.at("Name"), name);
    EXPECT_EQ(provider.properties.at("ProviderModuleName"), module.properties.at("Name"));
    const mof::Instance& capabilities = file.instances[2 + 2 * i];
    EXPECT_EQ(capabilities.class_name, "PG_ProviderCapabilities");
    EXPECT_EQ(capabilities.properties.at("ProviderModuleName"), module.properties.at("Name"));
    EXPECT_EQ(capabilities.properties.at("ProviderName"), name);
    EXPECT_EQ(capabilities.properties.at("ClassName"), name);
    EXPECT_THAT(capabilities.properties.at("Namespaces"), ElementsAre("root/cimv2"));
    const mof::Literals kinds =
        served[i]->association ? mof::Literals{"2", "3"} : mof::Literals{"2"};
    EXPECT_EQ(capabilities.properties.at("ProviderType"), kinds);
  }
}

// An object manager may keep the class that it has where the Version is the same.
TEST(ClassVersions, RoseWithEveryChangeOfADeclaration) {
  EXPECT_THAT(cim::schema::VersionFaults(CheckedIn(cim::schema::kClassVersionsFile),
                                         cim::schema::DeclaredClasses()),
              IsEmpty());
}

class VersionFaultsTest : public testing::Test {
 protected:
  std::vector<std::string> Faults() const {
    const cim::schema::Class* const now[] = {&class_};
    return cim::schema::VersionFaults(record_, now);
  }

  cim::schema::Class class_ = *FindClass("Ostrel_PCIPort");
  std::string record_ = CheckedIn(cim::schema::kClassVersionsFile);
};

TEST_F(VersionFaultsTest, RefusesAChangedClassThatKeepsItsVersion) {
  const char* fault =
      "Ostrel_PCIPort: the declaration changed, the Version is still 1.0.0; make it 1.1.0 in "
      "src/cim/schema_table.h, then run script/schema";
  class_.version = "1.0.0";
  record_ = cim::schema::ClassVersions(std::vector<const cim::schema::Class*>{&class_});
  EXPECT_THAT(Faults(), IsEmpty());
  const cim::schema::Class before = class_;

  class_.description = "Another text.";
  EXPECT_THAT(Faults(), ElementsAre(fault));
  class_ = before;
  class_.superclass = "CIM_LogicalPort";
  EXPECT_THAT(Faults(), ElementsAre(fault));
  class_ = before;
  class_.association = true;
  EXPECT_THAT(Faults(), ElementsAre(fault));
  class_ = before;
  class_.properties = class_.properties.first(class_.properties.size() - 1);
  EXPECT_THAT(Faults(), ElementsAre(fault));

  class_.version = "1.0.1";
  EXPECT_THAT(Faults(), IsEmpty());
}

TEST_F(VersionFaultsTest, RefusesAChangeOfAnythingThatAPropertyDeclares) {
  void (*const changes[])(cim::schema::Property&) = {
      [](cim::schema::Property& property) { property.name = "Other"; },
      [](cim::schema::Property& property) { property.type = CMPI_uint32; },
      [](cim::schema::Property& property) { property.key = true; },
      [](cim::schema::Property& property) { property.values = {}; },
      [](cim::schema::Property& property) { property.description = ""; }};
  for (const auto& change : changes) {
    std::vector<cim::schema::Property> properties(FindClass("Ostrel_PCIPort")->properties.begin(),
                                                  FindClass("Ostrel_PCIPort")->properties.end());
    const auto coded = std::find_if(properties.begin(), properties.end(),
                                    [](const auto& property) { return !property.values.empty(); });
    ASSERT_NE(coded, properties.end());
    change(*coded);
    class_.properties = properties;
    EXPECT_THAT(Faults(), SizeIs(1));
  }
}

TEST_F(VersionFaultsTest, ComparesVersionsByNumber) {
  class_.version = "1.9.0";
  record_ = cim::schema::ClassVersions(std::vector<const cim::schema::Class*>{&class_});
  class_.version = "1.10.0";
  EXPECT_THAT(Faults(), IsEmpty());
  class_.version = "1.8.12";
  EXPECT_THAT(Faults(), ElementsAre("Ostrel_PCIPort: Version 1.8.12 is lower than 1.9.0, which was "
                                    "there before; give it 1.10.0"));
  for (const char* none : {"", "1", "1.9", "1.9.0.0", "1.9.x", "2.41.0 "}) {
    class_.version = none;
    EXPECT_THAT(Faults(), SizeIs(1)) << none;
  }
}

TEST_F(VersionFaultsTest, RefusesADamagedRecord) {
  record_ = "Ostrel_PCIPort\n";
  EXPECT_THAT(Faults(), ElementsAre("Ostrel_PCIPort: no Version on record: \"\""));
}

TEST_F(VersionFaultsTest, TakesANewClassWithAnyVersion) {
  record_ = "# nothing yet\n";
  EXPECT_THAT(Faults(), IsEmpty());
}

// An override may narrow a reference, and nothing else (DSP0004, 5.6.3.34).
TEST(ClassTable, RedeclaresOnlyKeysOfTheSameTypeAndNarrowerReferences) {
  for (const cim::schema::Class& cls : AllClasses()) {
    const cim::schema::Class* superclass = FindClass(cls.superclass);
    if (superclass == nullptr) continue;
    for (const cim::schema::Property& declared : cls.properties) {
      const cim::schema::Property* inherited = FindProperty(*superclass, declared.name);
      if (inherited == nullptr) continue;
      SCOPED_TRACE(std::string(cls.name) + "." + std::string(declared.name));
      EXPECT_TRUE(declared.key && inherited->key);
      EXPECT_EQ(declared.type, inherited->type);
      EXPECT_TRUE(IsA(declared.reference_class, inherited->reference_class));
    }
  }
}

TEST(ClassTable, DescribesAndVersionsEveryServedClassAndProperty) {
  for (const cim::schema::Class* cls : ServedClasses()) {
    EXPECT_NE(cls->version, FindClass(cls->superclass)->version) << cls->name;
    EXPECT_TRUE(cls->description.ends_with('.')) << cls->name;
    EXPECT_NE(FindClass(cls->superclass), nullptr) << cls->name;
    for (const cim::schema::Property& property : cls->properties) {
      EXPECT_TRUE(property.description.ends_with('.')) << cls->name << '.' << property.name;
    }
  }
}

TEST(MofReader, RefusesWhatIsNoMof) {
  EXPECT_THROW(mof::Read("class A { uint8 B }; "), std::runtime_error);
  EXPECT_THROW(mof::Read("class A { uint8 B; }"), std::runtime_error);
  EXPECT_THROW(mof::Read("[Description ( \"open )] class A { };"), std::runtime_error);
  EXPECT_THROW(mof::Read("[Key, Key] class A { };"), std::runtime_error);
}

}  // namespace
