#include "wbem/operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "broker/object_manager.h"
#include "cim/schema.h"
#include "support/fake_host.h"
#include "wbem/answers.h"
#include "wbem/messages.h"
#include "wbem/scripted_provider.h"

namespace {

using messages::Class;
using messages::Flag;
using messages::InstanceName;
using messages::List;
using messages::Parameter;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr int kFailed = 1, kInvalidNamespace = 3, kInvalidParameter = 4, kInvalidClass = 5,
              kNotFound = 6, kNotSupported = 7;

class TextSink : public wbem::ByteSink {
 public:
  void Write(std::string_view bytes) override {
    ++writes;
    largest = std::max(largest, bytes.size());
    text += bytes;
  }
  std::string text;
  int writes = 0;
  std::size_t largest = 0;
};

std::string AnswerText(broker::ObjectManager& manager, const std::string& call) {
  TextSink sink;
  wbem::Answer(manager, wbem::ParseRequest(call), "a-host", sink);
  return sink.text;
}

// ---------------------------------------------------------------------------------------------
// On the real providers

// A root port with a device below it, a switch, and a plain device.
fake::Host SmallHost() {
  fake::Host host;
  host.SystemName("Small-Host")
      .Add(fake::RootPort("0000:00:1c.0").At(0, 0x1c, 0).Secondary(1))
      .Add(fake::SwitchUpstream("0000:01:00.0").At(1, 0, 0).Secondary(2).Parent("0000:00:1c.0"))
      .Add(fake::SwitchDownstream("0000:02:00.0").At(2, 0, 0).Secondary(3).Parent("0000:01:00.0"))
      .Add(fake::Endpoint("0000:03:00.0").At(3, 0, 0).Parent("0000:02:00.0"))
      .Add(fake::Endpoint("0000:00:1f.2").At(0, 0x1f, 2).Ids(0x8086, 0x2922).NoParent());
  return host;
}

class OperationsTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    fake::Use(SmallHost());
    broker::Options options;
    options.system_name = "small-host";
    manager = std::make_unique<broker::ObjectManager>(std::move(options));
    const auto library = broker::ProviderLibrary::Open(PROVIDER_LIBRARY);
    for (const auto& cls : cim::schema::AllClasses()) {
      if (cls.name.starts_with("Ostrel_")) manager->Register(cls.name, library);
    }
  }
  static void TearDownTestSuite() {
    EXPECT_THAT(manager->ProviderErrors(), IsEmpty());
    manager.reset();
  }

  static CimAnswer Ask(const std::string& method, const std::string& parameters) {
    return {AnswerText(*manager, messages::Call(method, parameters)), method};
  }

  static std::string Device(const std::string& id, const std::string& cls = "Ostrel_PCIDevice") {
    return InstanceName(cls, {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
                              {"SystemName", "small-host"},
                              {"CreationClassName", cls},
                              {"DeviceID", id}});
  }
  static std::string Object(const std::string& name) { return Parameter("ObjectName", name); }
  static std::string ClassParameter(const std::string& parameter, const std::string& cls) {
    return Parameter(parameter, "<CLASSNAME NAME=\"" + cls + "\"/>");
  }
  static std::string Text(const std::string& parameter, const std::string& value) {
    return Parameter(parameter, "<VALUE>" + value + "</VALUE>");
  }

  static std::unique_ptr<broker::ObjectManager> manager;
};

std::unique_ptr<broker::ObjectManager> OperationsTest::manager;

TEST_F(OperationsTest, EnumeratesTheInstancesOfAClass) {
  const CimAnswer answer = Ask("EnumerateInstances", Class("Ostrel_PCIDevice"));
  EXPECT_THAT(answer.keys("DeviceID"), UnorderedElementsAre("0000:00:1f.2", "0000:03:00.0"));
  EXPECT_THAT(answer.classes(), Each("Ostrel_PCIDevice"));
  EXPECT_THAT(answer.properties(),
              IsSupersetOf({"DeviceID", "BusNumber", "SegmentNumber", "ElementName"}));
  EXPECT_STREQ(answer.elements().front().name(), "VALUE.NAMEDINSTANCE");
}

TEST_F(OperationsTest, EnumeratesTheInstancesBelowASuperclass) {
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames"}) {
    EXPECT_THAT(Ask(method, Class("CIM_PCIDevice")).classes(),
                UnorderedElementsAre("Ostrel_PCIDevice", "Ostrel_PCIDevice", "Ostrel_PCIBridge",
                                     "Ostrel_PCIeSwitch"))
        << method;
    EXPECT_THAT(Ask(method, Class("cim_logicaldevice")).classes(),
                IsSupersetOf({"Ostrel_PCIDevice", "Ostrel_PCIBridge", "Ostrel_PCIPort"}))
        << method;
    EXPECT_THAT(Ask(method, Class("CIM_ManagedElement")).classes(),
                IsSupersetOf({"Ostrel_PCIPortGroup", "OMC_UnitaryComputerSystem"}))
        << method;
    EXPECT_THAT(Ask(method, Class("CIM_Dependency")).classes(), Contains("Ostrel_PCIControlledBy"))
        << method;
  }
}

TEST_F(OperationsTest, ShallowEnumerationHasTheNamedClassesProperties) {
  const auto answer =
      Ask("EnumerateInstances", Class("CIM_LogicalDevice") + Flag("DeepInheritance", false));
  EXPECT_THAT(answer.classes(), Contains("Ostrel_PCIDevice"));
  EXPECT_THAT(answer.properties(), Contains("DeviceID"));
  EXPECT_THAT(answer.properties(), Not(Contains("BusNumber")));
}

// DSP0200, 5.4.2.11: what is not said about DeepInheritance is TRUE.
TEST_F(OperationsTest, EnumerationsAreDeepUnlessOtherwiseAsked) {
  const auto answer = Ask("EnumerateInstances", Class("CIM_LogicalDevice"));
  EXPECT_THAT(answer.properties(), Contains("BusNumber"));
}

TEST_F(OperationsTest, PropertyListsNarrowInstances) {
  const auto answer = Ask("EnumerateInstances",
                          Class("Ostrel_PCIDevice") + List("PropertyList", {"busnumber", "None"}));
  EXPECT_THAT(answer.properties(), ElementsAre("BusNumber"));
  EXPECT_THAT(answer.keys("DeviceID"), Contains("0000:00:1f.2"));
  EXPECT_THAT(
      Ask("EnumerateInstances", Class("Ostrel_PCIDevice") + List("PropertyList", {})).properties(),
      IsEmpty());
  EXPECT_THAT(
      Ask("EnumerateInstances", Class("Ostrel_PCIDevice") + "<IPARAMVALUE NAME=\"PropertyList\"/>")
          .properties(),
      Contains("DeviceID"));
}

TEST_F(OperationsTest, ClassOriginIsToldWhenAskedFor) {
  const std::string device = Parameter("InstanceName", Device("0000:00:1f.2"));
  const auto with = Ask("GetInstance", device + Flag("IncludeClassOrigin", true));
  const auto property = with.elements().at(0).find_child_by_attribute("NAME", "BusNumber");
  EXPECT_STREQ(property.attribute("CLASSORIGIN").value(), "CIM_PCIDevice");
  const auto without = Ask("GetInstance", device);
  EXPECT_TRUE(without.elements().at(0).first_child().attribute("CLASSORIGIN").empty());
}

TEST_F(OperationsTest, GetsAnInstanceByKeysInAnyOrderAndCase) {
  const auto answer =
      Ask("GetInstance",
          Parameter("instanceNAME",
                    InstanceName("ostrel_pcidevice",
                                 {{"DEVICEID", "0000:00:1f.2"},
                                  {"systemname", "small-host"},
                                  {"CreationClassName", "Ostrel_PCIDevice"},
                                  {"SystemCreationClassName", "OMC_UnitaryComputerSystem"}})));
  ASSERT_THAT(answer.elements(), SizeIs(1));
  EXPECT_STREQ(answer.elements()[0].name(), "INSTANCE");
  EXPECT_STREQ(answer.elements()[0].attribute("CLASSNAME").value(), "Ostrel_PCIDevice");
}

TEST_F(OperationsTest, GetsTheOnePortOfABridgeThatIsMeant) {
  const auto ports = Ask("EnumerateInstanceNames", Class("Ostrel_PCIPort")).keys("DeviceID");
  ASSERT_THAT(ports, SizeIs(testing::Gt(2)));
  for (const std::string& id : ports) {
    const auto answer = Ask("GetInstance", Parameter("InstanceName", Device(id, "Ostrel_PCIPort")));
    ASSERT_THAT(answer.elements(), SizeIs(1)) << id;
    const auto property = answer.elements()[0].find_child_by_attribute("NAME", "DeviceID");
    EXPECT_EQ(property.child_value("VALUE"), id);
  }
}

// Every path that an enumeration names is the path of an instance.
TEST_F(OperationsTest, EveryNamedInstanceCanBeGot) {
  for (const std::string& cls : manager->ProvidersFor("CIM_ManagedElement")) {
    const CimAnswer names = Ask("EnumerateInstanceNames", Class(cls));
    for (const auto& element : names.elements()) {
      std::ostringstream name;
      element.print(name, "", pugi::format_raw);
      const auto answer = Ask("GetInstance", Parameter("InstanceName", name.str()));
      EXPECT_EQ(answer.error(), 0) << name.str() << answer.description();
    }
  }
}

TEST_F(OperationsTest, GetsAnAssociationByItsReferences) {
  const auto names = Ask("EnumerateInstanceNames", Class("Ostrel_PCISystemDevice"));
  ASSERT_THAT(names.elements(), Not(IsEmpty()));
  std::ostringstream name;
  names.elements()[0].print(name, "", pugi::format_raw);
  const auto answer = Ask("GetInstance", Parameter("InstanceName", name.str()));
  ASSERT_THAT(answer.elements(), SizeIs(1)) << answer.description();
  EXPECT_THAT(answer.properties(), UnorderedElementsAre("GroupComponent", "PartComponent"));
}

TEST_F(OperationsTest, AKeyMayGoUnnamedWhereThereIsOne) {
  const auto groups = Ask("EnumerateInstanceNames", Class("Ostrel_PCIPortGroup"));
  ASSERT_THAT(groups.elements(), Not(IsEmpty()));
  const std::string id = groups.keys("InstanceID").at(0);
  EXPECT_EQ(Ask("GetInstance", Parameter("InstanceName",
                                         "<INSTANCENAME CLASSNAME=\"Ostrel_PCIPortGroup\">"
                                         "<KEYVALUE>" +
                                             id + "</KEYVALUE></INSTANCENAME>"))
                .error(),
            0);
  EXPECT_EQ(Ask("GetInstance", Parameter("InstanceName",
                                         "<INSTANCENAME CLASSNAME=\"Ostrel_PCIDevice\">"
                                         "<KEYVALUE>x</KEYVALUE></INSTANCENAME>"))
                .error(),
            kInvalidParameter);
}

TEST_F(OperationsTest, WrongKeys) {
  const auto error = [](const std::string& name) {
    return Ask("GetInstance", Parameter("InstanceName", name)).error();
  };
  EXPECT_EQ(error(Device("0000:ff:00.0")), kNotFound);
  EXPECT_EQ(error(InstanceName("Ostrel_PCIDevice", {{"DeviceID", "0000:00:1f.2"}})),
            kInvalidParameter);
  EXPECT_EQ(error("<INSTANCENAME CLASSNAME=\"Ostrel_PCIDevice\"/>"), kInvalidParameter);
  EXPECT_EQ(error(InstanceName("Ostrel_PCIPortGroup", {{"InstanceId", "x"}, {"Odd", "y"}})),
            kInvalidParameter);
  EXPECT_EQ(error(InstanceName("Ostrel_PCIPortGroup", {{"InstanceID", "x"}, {"InstanceID", "x"}})),
            kInvalidParameter);
  EXPECT_EQ(error("<INSTANCENAME CLASSNAME=\"Ostrel_PCIPortGroup\"><KEYBINDING NAME=\"InstanceID\">"
                  "<KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE></KEYBINDING></INSTANCENAME>"),
            kInvalidParameter);
  EXPECT_EQ(error("<INSTANCENAME CLASSNAME=\"Ostrel_PCIPortGroup\"><KEYBINDING NAME=\"InstanceID\">"
                  "<VALUE.REFERENCE>" +
                  Device("x") +
                  "</VALUE.REFERENCE></KEYBINDING>"
                  "</INSTANCENAME>"),
            kInvalidParameter);
  EXPECT_EQ(error(InstanceName("Ostrel_PCISystemDevice",
                               {{"GroupComponent", "x"}, {"PartComponent", "y"}})),
            kInvalidParameter);
}

TEST_F(OperationsTest, ReferencesInKeysMustBeOfKnownClassesAndNotTooDeep) {
  const auto nested = [](int depth, const std::string& innermost) {
    std::string name = innermost;
    for (int i = 0; i < depth; ++i) {
      std::string keys;
      for (const char* key : {"GroupComponent", "PartComponent"}) {
        keys += std::string("<KEYBINDING NAME=\"") + key + "\"><VALUE.REFERENCE>" +
                (key[0] == 'G' ? name : Device("x")) + "</VALUE.REFERENCE></KEYBINDING>";
      }
      name = "<INSTANCENAME CLASSNAME=\"Ostrel_PCISystemDevice\">" + keys + "</INSTANCENAME>";
    }
    return Parameter("InstanceName", name);
  };
  EXPECT_EQ(Ask("GetInstance", nested(2, Device("x"))).error(), kNotFound);
  EXPECT_EQ(Ask("GetInstance", nested(2, InstanceName("Unknown", {}))).error(), kInvalidParameter);
  EXPECT_EQ(Ask("GetInstance", nested(3, Device("x"))).error(), kInvalidParameter);
  EXPECT_EQ(Ask("GetInstance", nested(10, Device("x"))).error(), kInvalidParameter);
}

TEST_F(OperationsTest, UnknownClasses) {
  EXPECT_EQ(Ask("EnumerateInstances", Class("No_Such")).error(), kInvalidClass);
  EXPECT_EQ(Ask("EnumerateInstanceNames", Class("No_Such")).error(), kInvalidClass);
  EXPECT_EQ(Ask("GetInstance", Parameter("InstanceName", InstanceName("No_Such", {}))).error(),
            kInvalidClass);
  EXPECT_EQ(Ask("GetClass", Class("No_Such")).error(), kNotFound);
  EXPECT_EQ(Ask("EnumerateClasses", Class("No_Such")).error(), kInvalidClass);
  EXPECT_EQ(Ask("EnumerateClassNames", Class("No_Such")).error(), kInvalidClass);
  EXPECT_EQ(Ask("Associators", Object(InstanceName("No_Such", {}))).error(), kInvalidParameter);
  EXPECT_EQ(Ask("AssociatorNames",
                Object(Device("0000:00:1f.2")) + ClassParameter("AssocClass", "No_Such"))
                .error(),
            kInvalidParameter);
  EXPECT_EQ(
      Ask("References", Object(Device("0000:00:1f.2")) + ClassParameter("ResultClass", "No_Such"))
          .error(),
      kInvalidParameter);
}

TEST_F(OperationsTest, AClassWithoutAProviderHasNoInstances) {
  EXPECT_EQ(Ask("GetInstance", Parameter("InstanceName", Device("0000:00:1f.2", "CIM_PCIDevice")))
                .error(),
            kNotFound);
}

TEST_F(OperationsTest, ParametersOfTheWrongKind) {
  const std::string device = Class("Ostrel_PCIDevice");
  EXPECT_EQ(Ask("EnumerateInstances", "").error(), kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", "<IPARAMVALUE NAME=\"ClassName\"/>").error(),
            kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", Text("ClassName", "Ostrel_PCIDevice")).error(),
            kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", device + Text("LocalOnly", "1")).error(), kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", device + "<IPARAMVALUE NAME=\"LocalOnly\"/>").error(),
            kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", device + Text("PropertyList", "x")).error(),
            kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", device + device).error(), kInvalidParameter);
  EXPECT_EQ(Ask("EnumerateInstances", device + Text("Odd", "x")).error(), kInvalidParameter);
  EXPECT_EQ(Ask("GetInstance", "").error(), kInvalidParameter);
  EXPECT_EQ(Ask("GetInstance", Parameter("InstanceName", "<CLASSNAME NAME=\"x\"/>")).error(),
            kInvalidParameter);
  EXPECT_EQ(Ask("Associators", "").error(), kInvalidParameter);
  EXPECT_EQ(Ask("Associators", Object(Device("x")) + Flag("Role", true)).error(), 0);
  EXPECT_EQ(Ask("Associators", Object(Device("x")) + List("Role", {"a"})).error(),
            kInvalidParameter);
}

TEST_F(OperationsTest, TheInteropNamespaceTellsOfTheServer) {
  for (const std::vector<std::string>& interop :
       {std::vector<std::string>{"interop"}, std::vector<std::string>{"ROOT", "Interop"}}) {
    const auto ask = [&](const std::string& method, const std::string& parameters) {
      return CimAnswer(AnswerText(*manager, messages::Call(method, parameters, interop)), method);
    };
    const std::string manager_class = Class("CIM_ObjectManager");
    EXPECT_THAT(ask("EnumerateInstances", manager_class).keys("Name"), ElementsAre("ostrel-pci"));
    EXPECT_THAT(ask("EnumerateInstanceNames", Class("cim_namespace")).keys("Name"),
                ElementsAre("interop", "root/interop", "root/cimv2"));
    EXPECT_THAT(
        ask("EnumerateInstances", manager_class + List("PropertyList", {"version"})).properties(),
        ElementsAre("Version"));
    EXPECT_EQ(ask("EnumerateInstances", Class("Ostrel_PCIDevice")).error(), kInvalidClass);
    EXPECT_EQ(ask("EnumerateInstanceNames", Class("CIM_RegisteredProfile")).error(), kInvalidClass);
    EXPECT_EQ(ask("EnumerateInstances", "").error(), kInvalidParameter);

    const std::string system = *manager->SystemPath().Key("Name")->text();
    std::vector<std::pair<std::string, std::string>> keys = {
        {"Name", "ostrel-pci"},
        {"SystemName", system},
        {"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
        {"CreationClassName", "CIM_ObjectManager"}};
    const auto get = [&] {
      return ask("GetInstance",
                 Parameter("InstanceName", messages::InstanceName("CIM_ObjectManager", keys)));
    };
    EXPECT_EQ(get().error(), 0);
    keys[0].second = "other";
    EXPECT_EQ(get().error(), kNotFound);
    keys.erase(keys.begin());
    EXPECT_EQ(get().error(), kNotFound);
  }
}

TEST_F(OperationsTest, OtherNamespacesAreUnknown) {
  const auto ask = [](const std::vector<std::string>& name_space) {
    return CimAnswer(AnswerText(*manager, messages::Call("EnumerateClassNames", "", name_space)),
                     "EnumerateClassNames")
        .error();
  };
  EXPECT_EQ(ask({"root", "interop"}), kNotSupported);  // of this method
  EXPECT_EQ(ask({"root"}), kInvalidNamespace);
  EXPECT_EQ(ask({"root", "cimv2", "x"}), kInvalidNamespace);
  EXPECT_EQ(ask({"root/cimv2"}), 0);
  EXPECT_EQ(ask({"ROOT", "CIMV2"}), 0);
}

TEST_F(OperationsTest, OtherMethodsAreNotSupported) {
  for (const char* method :
       {"CreateInstance", "ModifyInstance", "DeleteInstance", "CreateClass", "ModifyClass",
        "DeleteClass", "ExecQuery", "GetProperty", "SetProperty", "GetQualifier", "SetQualifier",
        "DeleteQualifier", "EnumerateQualifiers", "OpenEnumerateInstances", "Whatever"}) {
    EXPECT_EQ(Ask(method, "").error(), kNotSupported) << method;
  }
}

TEST_F(OperationsTest, ExtrinsicMethodsAreNotSupported) {
  wbem::Request request;
  request.message_id = "m<1>";
  request.intrinsic = false;
  request.method = "RequestStateChange";
  request.name_space = "root/cimv2";
  TextSink sink;
  wbem::Answer(*manager, request, "a-host", sink);
  EXPECT_NE(sink.text.find("<MESSAGE ID=\"m&lt;1&gt;\""), std::string::npos) << sink.text;
  EXPECT_NE(sink.text.find("<METHODRESPONSE NAME=\"RequestStateChange\"><ERROR CODE=\"7\""),
            std::string::npos)
      << sink.text;
}

TEST_F(OperationsTest, MethodNamesIgnoreCase) {
  EXPECT_EQ(
      CimAnswer(AnswerText(*manager, messages::Call("getclass", Class("CIM_System"))), "GetClass")
          .error(),
      0);
}

// ---------------------------------------------------------------------------------------------
// Classes

TEST_F(OperationsTest, GetsAClass) {
  const auto local = Ask("GetClass", Class("ostrel_pciport"));
  EXPECT_THAT(local.classes(), ElementsAre("Ostrel_PCIPort"));
  EXPECT_THAT(local.properties(), Contains("ControllerDeviceID"));
  EXPECT_THAT(local.properties(), Not(Contains("DeviceID")));
  EXPECT_FALSE(local.elements()[0].child("QUALIFIER").empty());
  const auto all = Ask("GetClass", Class("Ostrel_PCIPort") + Flag("LocalOnly", false) +
                                       Flag("IncludeQualifiers", false) +
                                       List("PropertyList", {"deviceid", "BusNumber"}));
  EXPECT_THAT(all.properties(), UnorderedElementsAre("DeviceID", "BusNumber"));
  EXPECT_TRUE(all.elements()[0].child("QUALIFIER").empty());
}

TEST_F(OperationsTest, EnumeratesClasses) {
  EXPECT_THAT(Ask("EnumerateClassNames", "").classes(),
              UnorderedElementsAre("CIM_ManagedElement", "CIM_Component", "CIM_Dependency",
                                   "CIM_MemberOfCollection"));
  EXPECT_THAT(Ask("EnumerateClassNames", Flag("DeepInheritance", true)).classes(),
              SizeIs(cim::schema::AllClasses().size()));
  EXPECT_THAT(Ask("EnumerateClassNames", Class("CIM_PCIDevice")).classes(),
              UnorderedElementsAre("Ostrel_PCIDevice", "CIM_PCIBridge", "CIM_PCIeSwitch"));
  EXPECT_THAT(
      Ask("EnumerateClassNames", Class("CIM_PCIBridge") + Flag("DeepInheritance", true)).classes(),
      ElementsAre("Ostrel_PCIBridge"));
  const auto classes = Ask("EnumerateClasses", Class("CIM_PCIBridge") + Flag("LocalOnly", false));
  EXPECT_THAT(classes.classes(), ElementsAre("Ostrel_PCIBridge"));
  EXPECT_THAT(classes.properties(), IsSupersetOf({"DeviceID", "SecondaryBusNumber"}));
  EXPECT_THAT(Ask("EnumerateClassNames", Class("Ostrel_PCIPort")).classes(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Associations

TEST_F(OperationsTest, FollowsAssociations) {
  const std::string device = Object(Device("0000:03:00.0"));
  const auto names = Ask("AssociatorNames", device);
  EXPECT_THAT(names.classes(), IsSupersetOf({"OMC_UnitaryComputerSystem", "Ostrel_PCIPort"}));
  EXPECT_STREQ(names.elements().at(0).name(), "OBJECTPATH");
  const auto objects = Ask("Associators", device);
  EXPECT_EQ(objects.classes(), names.classes());
  EXPECT_STREQ(objects.elements().at(0).name(), "VALUE.OBJECTWITHPATH");
  EXPECT_STREQ(objects.elements()[0].select_node(".//HOST").node().child_value(), "a-host");
  const auto references = Ask("ReferenceNames", device);
  EXPECT_THAT(references.classes(),
              IsSupersetOf({"Ostrel_PCISystemDevice", "Ostrel_PCIControlledBy"}));
  EXPECT_EQ(Ask("References", device).classes(), references.classes());
}

TEST_F(OperationsTest, AssociationClassesAboveTheServedOnesCount) {
  const std::string device = Object(Device("0000:03:00.0"));
  EXPECT_THAT(
      Ask("AssociatorNames", device + ClassParameter("AssocClass", "CIM_SystemDevice")).classes(),
      ElementsAre("OMC_UnitaryComputerSystem"));
  EXPECT_THAT(
      Ask("AssociatorNames", device + ClassParameter("AssocClass", "CIM_Dependency")).classes(),
      Not(Contains("OMC_UnitaryComputerSystem")));
  EXPECT_THAT(
      Ask("ReferenceNames", device + ClassParameter("ResultClass", "CIM_Dependency")).classes(),
      Each("Ostrel_PCIControlledBy"));
  EXPECT_THAT(
      Ask("References", device + ClassParameter("ResultClass", "CIM_HostedCollection")).classes(),
      IsEmpty());
  // A class that is no association has no associations.
  EXPECT_THAT(Ask("AssociatorNames", device + ClassParameter("AssocClass", "CIM_System")).classes(),
              IsEmpty());
}

TEST_F(OperationsTest, ResultClassesAboveTheReturnedOnesCount) {
  const std::string device = Object(Device("0000:03:00.0"));
  EXPECT_THAT(
      Ask("AssociatorNames", device + ClassParameter("ResultClass", "CIM_System")).classes(),
      ElementsAre("OMC_UnitaryComputerSystem"));
  EXPECT_THAT(
      Ask("Associators", device + ClassParameter("ResultClass", "cim_logicalport")).classes(),
      AllOf(Not(IsEmpty()), Each("Ostrel_PCIPort")));
  EXPECT_THAT(
      Ask("Associators", device + ClassParameter("ResultClass", "CIM_Collection")).classes(),
      IsEmpty());
}

TEST_F(OperationsTest, RolesAreHeldAgainstTheSchema) {
  const std::string device = Object(Device("0000:03:00.0"));
  const auto classes = [&](const std::string& filters) {
    return Ask("AssociatorNames", device + filters).classes();
  };
  EXPECT_THAT(classes(Text("Role", "partcomponent")), ElementsAre("OMC_UnitaryComputerSystem"));
  EXPECT_THAT(classes(Text("ResultRole", "GroupComponent")),
              ElementsAre("OMC_UnitaryComputerSystem"));
  EXPECT_THAT(classes(Text("Role", "GroupComponent")), IsEmpty());
  EXPECT_THAT(classes(Text("ResultRole", "PartComponent")), IsEmpty());
  EXPECT_THAT(classes(Text("Role", "Antecedent")), AllOf(Not(IsEmpty()), Each("Ostrel_PCIPort")));
  EXPECT_THAT(classes(Text("Role", "Dependent")), IsEmpty());
  EXPECT_THAT(classes(Text("Role", "NoSuchRole")), IsEmpty());
  EXPECT_THAT(classes(Text("Role", "Antecedent") + Text("ResultRole", "Antecedent")), IsEmpty());
}

TEST_F(OperationsTest, ReferencesHaveTheSourceInItsRole) {
  const std::string device = Object(Device("0000:03:00.0"));
  const auto classes = [&](const std::string& filters) {
    return Ask("ReferenceNames", device + filters).classes();
  };
  EXPECT_THAT(classes(Text("Role", "Antecedent")),
              AllOf(Not(IsEmpty()), Each("Ostrel_PCIControlledBy")));
  EXPECT_THAT(classes(Text("Role", "PartComponent")),
              AllOf(Not(IsEmpty()), Each("Ostrel_PCISystemDevice")));
  EXPECT_THAT(classes(Text("Role", "GroupComponent")), IsEmpty());
  EXPECT_EQ(Ask("References", device + Text("Role", "Antecedent")).classes(),
            classes(Text("Role", "Antecedent")));
}

TEST_F(OperationsTest, ClassesAsSourcesAreNotSupported) {
  EXPECT_EQ(Ask("Associators", Object("<CLASSNAME NAME=\"Ostrel_PCIDevice\"/>")).error(),
            kNotSupported);
}

TEST_F(OperationsTest, AKnownSourceThatIsNotThereHasNoAssociations) {
  EXPECT_THAT(Ask("AssociatorNames",
                  Object(Device("0000:ff:00.0")) + ClassParameter("AssocClass", "CIM_ControlledBy"))
                  .classes(),
              IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// On a provider that does as it is told

class ScriptedProviderTest : public testing::Test {
 protected:
  void TearDown() override { scripted::Behave({}); }

  std::string Enumerate() {
    return AnswerText(*manager_, messages::Call("EnumerateInstances", Class(scripted::kClass)));
  }

  std::unique_ptr<broker::ObjectManager> manager_ = scripted::Manager();
};

TEST_F(ScriptedProviderTest, AProvidersFailureIsTheAnswer) {
  scripted::Behaviour behaviour;
  behaviour.status = CMPI_RC_ERR_ACCESS_DENIED;
  scripted::Behave(behaviour);
  EXPECT_EQ(CimAnswer(Enumerate(), "EnumerateInstances").error(), 2);
}

TEST_F(ScriptedProviderTest, AFailureThatCimDoesNotKnowIsFailed) {
  scripted::Behaviour behaviour;
  behaviour.status = CMPI_RC_ERROR_SYSTEM;
  scripted::Behave(behaviour);
  EXPECT_EQ(CimAnswer(Enumerate(), "EnumerateInstances").error(), kFailed);
}

TEST_F(ScriptedProviderTest, AProviderIsToldEachKnownPropertyOnce) {
  std::vector<std::string> told;
  scripted::Behaviour behaviour;
  behaviour.on_list = [&](const char** list) {
    for (; *list != nullptr; ++list) told.emplace_back(*list);
  };
  scripted::Behave(behaviour);
  const std::string list =
      List("PropertyList", {"elementname", "None", "ElementName", "BUSNUMBER", "elementname"});
  const CimAnswer answer(
      AnswerText(*manager_, messages::Call("EnumerateInstances", Class(scripted::kClass) + list)),
      "EnumerateInstances");
  EXPECT_THAT(told, UnorderedElementsAre("ElementName", "BusNumber"));
  EXPECT_THAT(answer.properties(), UnorderedElementsAre("ElementName", "BusNumber"));
}

TEST_F(ScriptedProviderTest, TextThatXmlDoesNotAllowIsReplaced) {
  scripted::Behaviour behaviour;
  behaviour.element_name = "a\x01\xff<";
  scripted::Behave(behaviour);
  const CimAnswer answer(Enumerate(), "EnumerateInstances");
  const auto property = answer.elements().at(0).select_node(".//PROPERTY[@NAME='ElementName']");
  EXPECT_STREQ(property.node().child_value("VALUE"), "a\ufffd\ufffd<");
}

TEST_F(ScriptedProviderTest, AFailureAfterAPartWasSentBreaksTheStream) {
  scripted::Behaviour behaviour;
  behaviour.instances = 2000;
  behaviour.status = CMPI_RC_ERR_FAILED;
  scripted::Behave(behaviour);
  TextSink sink;
  EXPECT_THROW(wbem::Answer(*manager_,
                            wbem::ParseRequest(
                                messages::Call("EnumerateInstances", Class(scripted::kClass))),
                            "h", sink),
               wbem::StreamBroken);
  EXPECT_NE(sink.text, "");
  EXPECT_EQ(sink.text.find("</CIM>"), std::string::npos);
  EXPECT_EQ(sink.text.find("<ERROR"), std::string::npos);
}

TEST_F(ScriptedProviderTest, AnswersAreWrittenInPieces) {
  scripted::Behaviour behaviour;
  behaviour.instances = 5000;
  scripted::Behave(behaviour);
  TextSink sink;
  wbem::Answer(*manager_,
               wbem::ParseRequest(messages::Call("EnumerateInstances", Class(scripted::kClass))),
               "h", sink);
  const CimAnswer answer(sink.text, "EnumerateInstances");
  EXPECT_THAT(answer.elements(), SizeIs(5000));
  EXPECT_GT(sink.writes, 10);
  EXPECT_LT(sink.largest, 2 * wbem::AnswerStream::kHoldBackBytes);
}

class GoneSink : public wbem::ByteSink {
 public:
  void Write(std::string_view /*bytes*/) override { throw wbem::StreamBroken("gone"); }
};

TEST_F(ScriptedProviderTest, AnOperationEndsWhenItsClientIsGone) {
  scripted::Behaviour behaviour;
  behaviour.instances = 1'000'000;
  int last = 0;
  behaviour.on_element = [&](int number) { last = number; };
  scripted::Behave(behaviour);
  GoneSink sink;
  EXPECT_THROW(wbem::Answer(*manager_,
                            wbem::ParseRequest(
                                messages::Call("EnumerateInstances", Class(scripted::kClass))),
                            "h", sink),
               wbem::StreamBroken);
  EXPECT_LT(last, 5000);
}

// The keys that requests can name.
TEST(Keys, OfAllClassesAreStringsAndReferences) {
  for (const auto& cls : cim::schema::AllClasses()) {
    for (const auto* property : AllProperties(cls)) {
      EXPECT_TRUE(!property->key || property->type == CMPI_string || property->type == CMPI_ref)
          << cls.name << "." << property->name;
    }
  }
}

}  // namespace
