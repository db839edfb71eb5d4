// Each of the ways that the object manager can take, as a provider in C and its client see them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "broker/object_manager.h"
#include "support/imitations.h"

namespace broker {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kDevice = "Ostrel_PCIDevice";
constexpr const char* kLink = "Ostrel_PCISystemDevice";

// ---------------------------------------------------------------------------------------------
// The provider of both classes; its operations are the test's own

struct Arguments {
  const CMPIBroker* broker;
  const CMPIContext* context;
  const CMPIResult* result;
};

// What a test's provider does, and what was done to it.
struct Script {
  std::function<CMPIStatus(const Arguments&)> operation;
  std::vector<const CMPIBroker*> made_with;
  int cleanups = 0;
};
Script* script = nullptr;

CMPIStatus Run(const CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result) {
  return script->operation({static_cast<const CMPIBroker*>(mi->hdl), context, result});
}
CMPIStatus EnumerateAll(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                        const CMPIObjectPath*, const char**) {
  return Run(mi, context, result);
}
CMPIStatus GetOne(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                  const CMPIObjectPath*, const char**) {
  return Run(mi, context, result);
}
CMPIStatus CleanUp(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) {
  ++script->cleanups;
  return {CMPI_RC_OK, nullptr};
}

CMPIInstanceMI* Create(CMPIInstanceMI& record, const CMPIBroker* broker) {
  static CMPIInstanceMIFT table = [] {
    CMPIInstanceMIFT functions{};
    functions.cleanup = CleanUp;
    functions.enumerateInstances = EnumerateAll;
    functions.getInstance = GetOne;
    return functions;
  }();
  script->made_with.push_back(broker);
  record = {const_cast<CMPIBroker*>(broker), &table};
  return &record;
}
CMPIInstanceMI* CreateDevices(const CMPIBroker* broker, const CMPIContext*) {
  static CMPIInstanceMI record;
  return Create(record, broker);
}
CMPIInstanceMI* CreateLinks(const CMPIBroker* broker, const CMPIContext*) {
  static CMPIInstanceMI record;
  return Create(record, broker);
}

void* Resolve(const char* symbol) {
  const std::string_view name = symbol;
  if (name == "Ostrel_PCIDevice_Create_InstanceMI") return reinterpret_cast<void*>(CreateDevices);
  if (name == "Ostrel_PCISystemDevice_Create_InstanceMI") {
    return reinterpret_cast<void*>(CreateLinks);
  }
  return nullptr;
}

// ---------------------------------------------------------------------------------------------

class ImitationTest : public ::testing::Test {
 protected:
  ImitationTest() { script = &script_; }
  ~ImitationTest() override { script = nullptr; }

  static Options OptionsFor(const Imitation& imitation) {
    Options options;
    options.system_name = "host";
    options.imitate = &imitation;
    return options;
  }
  static ObjectManager& WithProviders(ObjectManager& manager) {
    const auto library = ProviderLibrary::FromResolver(Resolve);
    manager.Register(kDevice, library);
    manager.Register(kLink, library);
    return manager;
  }

  // A new instance of the class, of a path with one key.
  static CMPIInstance* NewDevice(const Arguments& call, const char* id) {
    CMPIObjectPath* path =
        call.broker->eft->newObjectPath(call.broker, "root/cimv2", kDevice, nullptr);
    path->ft->addKey(path, "DeviceID", reinterpret_cast<const CMPIValue*>(id), CMPI_chars);
    return call.broker->eft->newInstance(call.broker, path, nullptr);
  }
  static CMPIStatus Set(CMPIInstance* instance, const char* name, CMPIUint16 number) {
    CMPIValue value{};
    value.uint16 = number;
    return instance->ft->setProperty(instance, name, &value, CMPI_uint16);
  }
  static std::string TextOf(const CMPIStatus& status) {
    return status.msg == nullptr ? "" : status.msg->ft->getCharPtr(status.msg, nullptr);
  }

  // Enumerates devices, with the body as the provider's operation.
  Recorder Enumerate(const Imitation& imitation, std::function<CMPIStatus(const Arguments&)> body) {
    ObjectManager manager(OptionsFor(imitation));
    WithProviders(manager);
    script_.operation = std::move(body);
    Recorder found;
    EXPECT_TRUE(
        manager.EnumerateInstances(kDevice, manager.ClassPath(kDevice), std::nullopt, found).ok());
    errors_ = manager.ProviderErrors();
    return found;
  }

  // Gets a device, of which the provider returns so many; notes what each return was answered.
  cim::Status Get(const Imitation& imitation, int instances, Recorder& found) {
    ObjectManager manager(OptionsFor(imitation));
    WithProviders(manager);
    answers_.clear();
    script_.operation = [this, instances](const Arguments& call) {
      for (int i = 0; i < instances; ++i) {
        CMPIInstance* device = NewDevice(call, i == 0 ? "first" : "other");
        const CMPIStatus status = call.result->ft->returnInstance(call.result, device);
        answers_.push_back(status.rc == CMPI_RC_OK ? "OK" : TextOf(status));
      }
      return call.result->ft->returnDone(call.result);
    };
    return manager.GetInstance(kDevice, manager.ClassPath(kDevice), std::nullopt, found);
  }

  Script script_;
  std::vector<std::string> answers_;
  std::vector<ProviderError> errors_;
};

TEST_F(ImitationTest, TellsTheNameAndWhatIsOffered) {
  struct Expectation {
    const Imitation& imitation;
    std::string name;
    unsigned version;
    bool offers_memory;
  };
  for (const Expectation& expected :
       {Expectation{Itself(), "ostrel in-process object manager", 200, true},
        Expectation{Cmpi10(), "ostrel in-process object manager", 100, false},
        Expectation{Sfcb(), "RequestHandler", 0, false},
        Expectation{OpenPegasus(), "Pegasus", 200, false}}) {
    const ObjectManager manager(OptionsFor(expected.imitation));
    const CMPIBroker* broker = manager.broker();
    EXPECT_EQ(broker->bft->brokerName, expected.name);
    EXPECT_EQ(broker->bft->brokerVersion, expected.version);
    const bool offers = (broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements) != 0;
    EXPECT_EQ(offers, expected.offers_memory);
    EXPECT_EQ(broker->mft != nullptr, expected.offers_memory);
  }
}

TEST_F(ImitationTest, KeysAreCopiedOrNull) {
  const auto return_device = [](const Arguments& call) {
    call.result->ft->returnInstance(call.result, NewDevice(call, "d"));
    return call.result->ft->returnDone(call.result);
  };
  for (const Imitation* copying : {&Itself(), &Cmpi10(), &Sfcb()}) {
    const Recorder found = Enumerate(*copying, return_device);
    EXPECT_EQ(*found.instances.at(0).Find("DeviceID"), cim::Value("d"));
  }
  const Recorder found = Enumerate(OpenPegasus(), return_device);
  EXPECT_EQ(*found.instances.at(0).path.Key("DeviceID"), cim::Value("d"));
  EXPECT_EQ(*found.instances.at(0).Find("DeviceID"), cim::Value::Null(CMPI_string));
}

TEST_F(ImitationTest, ServersPutTheDefaultsOfTheClassIn) {
  const auto return_device = [](const Arguments& call) {
    CMPIInstance* device = NewDevice(call, "d");
    Set(device, "VendorID", 7);
    Set(device, "EnabledState", 0);
    call.result->ft->returnInstance(call.result, device);
    return call.result->ft->returnDone(call.result);
  };
  const auto number = [](int value) { return cim::Value(static_cast<std::uint16_t>(value)); };
  EXPECT_THAT(
      Enumerate(Itself(), return_device).instances.at(0).properties,
      ElementsAre(cim::Property{"DeviceID", cim::Value("d")}, cim::Property{"VendorID", number(7)},
                  cim::Property{"EnabledState", number(0)}));
  EXPECT_THAT(
      Enumerate(Sfcb(), return_device).instances.at(0).properties,
      ElementsAre(cim::Property{"DeviceID", cim::Value("d")},
                  cim::Property{"RequestedState", number(12)},
                  cim::Property{"EnabledDefault", number(2)},
                  cim::Property{"TransitioningToState", number(12)},
                  cim::Property{"VendorID", number(7)}, cim::Property{"EnabledState", number(0)}));
  EXPECT_EQ(*Enumerate(OpenPegasus(), return_device).instances.at(0).Find("EnabledDefault"),
            number(2));
}

// Whatever the answer, the object manager keeps that it was the provider's error.
TEST_F(ImitationTest, PropertiesThatTheClassHasNotAreRefusedOrDropped) {
  CMPIrc unknown = CMPI_RC_OK;
  CMPIrc wrong_type = CMPI_RC_OK;
  const auto set_wrong = [&](const Arguments& call) {
    CMPIInstance* device = NewDevice(call, "d");
    unknown = Set(device, "Colour", 1).rc;
    wrong_type = Set(device, "BusNumber", 1).rc;
    EXPECT_EQ(Set(device, "VendorID", 7).rc, CMPI_RC_OK);
    call.result->ft->returnInstance(call.result, device);
    return call.result->ft->returnDone(call.result);
  };
  for (const Imitation* imitation : {&Itself(), &Cmpi10(), &Sfcb(), &OpenPegasus()}) {
    const Recorder found = Enumerate(*imitation, set_wrong);
    const bool drops = imitation == &OpenPegasus();
    EXPECT_EQ(unknown, drops ? CMPI_RC_OK : CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(wrong_type, drops ? CMPI_RC_ERR_INVALID_DATA_TYPE : CMPI_RC_ERR_TYPE_MISMATCH);
    EXPECT_EQ(found.instances.at(0).Find("Colour"), nullptr);
    EXPECT_EQ(found.instances.at(0).Find("BusNumber"), nullptr);
    EXPECT_THAT(errors_, SizeIs(2));
  }
}

TEST_F(ImitationTest, ElementsOfUpCallsAreGoodOrCalledNull) {
  CMPIData element{};
  const auto ask_for_system = [&](const Arguments& call) {
    const CMPIObjectPath* path = call.broker->eft->newObjectPath(
        call.broker, "root/cimv2", "OMC_UnitaryComputerSystem", nullptr);
    const CMPIEnumeration* found =
        call.broker->bft->enumerateInstances(call.broker, call.context, path, nullptr, nullptr);
    EXPECT_EQ(found->ft->hasNext(found, nullptr), 1);
    CMPIStatus status{CMPI_RC_ERR_FAILED, nullptr};
    element = found->ft->getNext(found, &status);
    EXPECT_NE(element.value.inst, nullptr);
    return status;
  };
  for (const Imitation* good : {&Itself(), &Cmpi10(), &Sfcb()}) {
    Enumerate(*good, ask_for_system);
    EXPECT_EQ(element.state, CMPI_goodValue);
  }
  Enumerate(OpenPegasus(), ask_for_system);
  EXPECT_EQ(element.state, CMPI_nullValue);
}

TEST_F(ImitationTest, GetInstanceTakesAllOrTheFirstOrOne) {
  Recorder all;
  EXPECT_TRUE(Get(Itself(), 2, all).ok());
  EXPECT_THAT(all.instances, SizeIs(2));

  Recorder first;
  EXPECT_TRUE(Get(Sfcb(), 2, first).ok());
  EXPECT_THAT(answers_, ElementsAre("OK", "OK"));
  ASSERT_THAT(first.instances, SizeIs(1));
  EXPECT_EQ(*first.instances[0].Find("DeviceID"), cim::Value("first"));

  Recorder only;
  Get(OpenPegasus(), 2, only);
  EXPECT_THAT(answers_, ElementsAre("OK", "Too many objects delivered."));
  EXPECT_THAT(only.instances, SizeIs(1));
}

TEST_F(ImitationTest, GetInstanceWithoutInstanceIsOkNotFoundOrFailed) {
  Recorder found;
  EXPECT_EQ(Get(Itself(), 0, found), cim::Status{});
  EXPECT_EQ(Get(Sfcb(), 0, found), (cim::Status{CMPI_RC_ERR_NOT_FOUND, {}}));
  EXPECT_EQ(Get(OpenPegasus(), 0, found),
            (cim::Status{CMPI_RC_ERR_FAILED, "Too few objects delivered."}));
  EXPECT_THAT(found.instances, IsEmpty());
}

// Enumerations return as many as there are.
TEST_F(ImitationTest, EnumerationsTakeAll) {
  for (const Imitation* imitation : {&Itself(), &Sfcb(), &OpenPegasus()}) {
    const Recorder found = Enumerate(*imitation, [](const Arguments& call) {
      for (const char* id : {"a", "b"}) {
        call.result->ft->returnInstance(call.result, NewDevice(call, id));
      }
      return CMPIStatus{CMPI_RC_OK, nullptr};
    });
    EXPECT_THAT(found.instances, SizeIs(2));
  }
}

class ProvidersOf : public ImitationTest {
 protected:
  // Asks both classes in turn.
  void Ask(ObjectManager& manager, int rounds) {
    script_.operation = [](const Arguments&) { return CMPIStatus{CMPI_RC_OK, nullptr}; };
    for (int round = 0; round < rounds; ++round) {
      for (const char* name : {kDevice, kLink}) {
        Recorder found;
        EXPECT_TRUE(
            manager.EnumerateInstances(name, manager.ClassPath(name), std::nullopt, found).ok());
      }
    }
  }
};

TEST_F(ProvidersOf, OneObjectManagerShareItsBrokerAndStay) {
  for (const Imitation* imitation : {&Itself(), &Sfcb()}) {
    script_ = {};
    ObjectManager manager(OptionsFor(*imitation));
    Ask(WithProviders(manager), 20);
    EXPECT_THAT(script_.made_with, ElementsAre(manager.broker(), manager.broker()));
    EXPECT_EQ(script_.cleanups, 0);
  }
}

TEST_F(ProvidersOf, Cmpi10HaveBrokersThatEndBeforeAndStay) {
  ObjectManager manager(OptionsFor(Cmpi10()));
  Ask(WithProviders(manager), 20);
  ASSERT_THAT(script_.made_with, SizeIs(2));
  EXPECT_NE(script_.made_with[0], manager.broker());
  EXPECT_EQ(script_.made_with[0]->xft, manager.broker()->xft);
  EXPECT_EQ(script_.cleanups, 0);
}

TEST_F(ProvidersOf, OpenPegasusHaveBrokersOfTheirOwnAndGoWhenIdle) {
  ObjectManager manager(OptionsFor(OpenPegasus()));
  Ask(WithProviders(manager), 2);
  ASSERT_THAT(script_.made_with, SizeIs(2));
  EXPECT_NE(script_.made_with[0], script_.made_with[1]);
  EXPECT_NE(script_.made_with[0], manager.broker());
  EXPECT_EQ(script_.cleanups, 0);
  Ask(manager, 20);
  EXPECT_GT(script_.cleanups, 4);
  EXPECT_THAT(script_.made_with, SizeIs(script_.cleanups + 2));
}

}  // namespace
}  // namespace broker
