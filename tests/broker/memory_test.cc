// An object manager that has no memory left: what its provider gets from every function that makes
// something, what is left over, and what the next request gets.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "broker/object_manager.h"
#include "support/failing_allocator.h"

namespace broker {
namespace {

constexpr const char* kClass = "Test_Memory";

// ---------------------------------------------------------------------------------------------
// A provider in this program, whose one operation is the test's

struct Surroundings {
  const CMPIBroker* broker;
  const CMPIContext* context;
  const CMPIResult* result;
};
std::function<void(const Surroundings&)> operation;
const CMPIBroker* test_broker = nullptr;

CMPIStatus EnumerateInstances(CMPIInstanceMI*, const CMPIContext* context, const CMPIResult* result,
                              const CMPIObjectPath*, const char**) {
  operation({test_broker, context, result});
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus Cleanup(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) {
  return {CMPI_RC_OK, nullptr};
}

CMPIInstanceMI* Factory(const CMPIBroker* broker, const CMPIContext*) {
  static CMPIInstanceMIFT table = {
      CMPIVersion200, CMPIVersion200, "memory", Cleanup, nullptr, EnumerateInstances,
      nullptr,        nullptr,        nullptr,  nullptr, nullptr};
  static CMPIInstanceMI record = {nullptr, &table};
  test_broker = broker;
  return &record;
}

std::shared_ptr<const ProviderLibrary> Library() {
  return ProviderLibrary::FromResolver([](const char* symbol) -> void* {
    const bool instance = std::string_view(symbol) == "Test_Memory_Create_InstanceMI";
    return instance ? reinterpret_cast<void*>(Factory) : nullptr;
  });
}

// ---------------------------------------------------------------------------------------------
// The functions

// The objects that the functions are tried on.
struct Objects {
  explicit Objects(const Surroundings& with)
      : broker(with.broker), eft(*with.broker->eft), context(with.context), result(with.result) {
    path->ft->addKey(path, "Name", chars, CMPI_chars);
  }

  const CMPIBroker* broker;
  const CMPIBrokerEncFT& eft;
  const CMPIContext* context;
  const CMPIResult* result;
  const CMPIValue* chars = reinterpret_cast<const CMPIValue*>("a text");
  CMPIObjectPath* path = eft.newObjectPath(broker, "root/cimv2", kClass, nullptr);
  CMPIInstance* instance = eft.newInstance(broker, path, nullptr);
  CMPIString* string = eft.newString(broker, "a text", nullptr);
  CMPIArray* array = eft.newArray(broker, 3, CMPI_string, nullptr);
  CMPIObjectPath* system_class =
      eft.newObjectPath(broker, "root/cimv2", "OMC_UnitaryComputerSystem", nullptr);
  CMPIEnumeration* names =
      broker->bft->enumerateInstanceNames(broker, context, system_class, nullptr);
};

// The code, where an object came with CMPI_RC_OK and none with any other.
CMPIrc Consistent(const CMPIStatus& status, const void* object) {
  const bool consistent = (object != nullptr) == (status.rc == CMPI_RC_OK);
  return consistent ? status.rc : CMPI_RC_ERROR;
}

// Runs a function that makes an object and takes a status last.
template <typename Function, typename... Arguments>
CMPIrc Make(Function function, Arguments... arguments) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const void* object = function(arguments..., &status);
  return Consistent(status, object);
}

struct Function {
  const char* name;
  CMPIrc (*call)(const Objects&);
};

const Function kFunctions[] = {
    {"newObjectPath",
     [](const Objects& o) { return Make(o.eft.newObjectPath, o.broker, "root/cimv2", kClass); }},
    {"newInstance", [](const Objects& o) { return Make(o.eft.newInstance, o.broker, o.path); }},
    {"newString", [](const Objects& o) { return Make(o.eft.newString, o.broker, "a text"); }},
    {"newArray",
     [](const Objects& o) { return Make(o.eft.newArray, o.broker, CMPICount{3}, CMPI_uint8); }},
    {"toString", [](const Objects& o) { return Make(o.eft.toString, o.broker, o.path); }},
    {"enumerateInstanceNames",
     [](const Objects& o) {
       return Make(o.broker->bft->enumerateInstanceNames, o.broker, o.context, o.system_class);
     }},
    {"enumerateInstances",
     [](const Objects& o) {
       const char** all = nullptr;
       return Make(o.broker->bft->enumerateInstances, o.broker, o.context, o.system_class, all);
     }},
    {"mark and release",
     [](const Objects& o) {
       CMPIStatus status{CMPI_RC_OK, nullptr};
       const CMPIGcStat* mark = o.broker->mft->mark(o.broker, &status);
       if (mark != nullptr) o.broker->mft->release(o.broker, mark);
       return Consistent(status, mark);
     }},
    {"CMPIObjectPath.addKey",
     [](const Objects& o) { return o.path->ft->addKey(o.path, "Key", o.chars, CMPI_chars).rc; }},
    {"CMPIObjectPath.getNameSpace",
     [](const Objects& o) { return Make(o.path->ft->getNameSpace, o.path); }},
    {"CMPIObjectPath.getClassName",
     [](const Objects& o) { return Make(o.path->ft->getClassName, o.path); }},
    {"CMPIObjectPath.getKeyAt",
     [](const Objects& o) {
       CMPIStatus status{CMPI_RC_OK, nullptr};
       CMPIString* name = nullptr;
       o.path->ft->getKeyAt(o.path, 0, &name, &status);
       return Consistent(status, name);
     }},
    {"CMPIInstance.setProperty",
     [](const Objects& o) {
       return o.instance->ft->setProperty(o.instance, "Text", o.chars, CMPI_chars).rc;
     }},
    {"CMPIInstance.getObjectPath",
     [](const Objects& o) { return Make(o.instance->ft->getObjectPath, o.instance); }},
    {"CMPIArray.setElementAt",
     [](const Objects& o) {
       return o.array->ft->setElementAt(o.array, 0, o.chars, CMPI_chars).rc;
     }},
};

// ---------------------------------------------------------------------------------------------

class MemoryTest : public testing::Test {
 protected:
  MemoryTest() { manager_.Register(kClass, Library()); }

  // Runs `work` as the provider's operation.
  cim::Status InProvider(const std::function<void(const Objects&)>& work) {
    operation = [&](const Surroundings& with) { work(Objects(with)); };
    return Enumerate();
  }
  cim::Status Enumerate() {
    return manager_.EnumerateInstances(kClass, manager_.ClassPath(kClass), std::nullopt, found_);
  }

  ObjectManager manager_{{}};
  Recorder found_;
};

// Makes the smallest objects until there is no room for one more, while no allocation succeeds.
void FillUp(const Objects& o) {
  while (o.eft.newString(o.broker, "", nullptr) != nullptr) {
  }
}

TEST_F(MemoryTest, EveryFunctionThatMakesSomethingAnswersAFailure) {
  for (const Function& function : kFunctions) {
    std::size_t failed = 0;
    const cim::Status status = InProvider([&](const Objects& o) {
      ASSERT_EQ(function.call(o), CMPI_RC_OK) << function.name;
      AllocationReport report;
      CMPIrc code = CMPI_RC_OK;
      {
        const FailingAllocations failing(1, Fail::kFromThen, report);
        FillUp(o);
        code = function.call(o);
      }
      failed = report.failed();
      EXPECT_EQ(code, CMPI_RC_ERR_FAILED) << function.name;
      EXPECT_EQ(function.call(o), CMPI_RC_OK) << function.name;
    });
    EXPECT_TRUE(status.ok());
    EXPECT_GE(failed, 2U) << function.name;  // the one that ended the filling, and one here
  }
  EXPECT_TRUE(manager_.ProviderErrors().empty());
}

// Least of all a text of what might have been wrong with it.
TEST_F(MemoryTest, APropertyThatItsClassHasIsSetInTheRegionAlone) {
  InProvider([](const Objects& o) {
    CMPIObjectPath* path = o.eft.newObjectPath(o.broker, "root/cimv2", "Ostrel_PCIDevice", nullptr);
    CMPIInstance* device = o.eft.newInstance(o.broker, path, nullptr);
    CMPIValue number{};
    AllocationReport report;
    {
      const FailingAllocations failing(0, Fail::kOnce, report);
      for (const char* name : {"VendorID", "PCIDeviceID", "SubsystemVendorID", "EnabledState"}) {
        EXPECT_EQ(device->ft->setProperty(device, name, &number, CMPI_uint16).rc, CMPI_RC_OK);
      }
      EXPECT_EQ(device->ft->setProperty(device, "ElementName", o.chars, CMPI_chars).rc, CMPI_RC_OK);
    }
    EXPECT_EQ(report.allocations, 0U);
  });
  EXPECT_TRUE(manager_.ProviderErrors().empty());
}

TEST_F(MemoryTest, ACloneThatCannotBeMadeLeavesNothingBehind) {
  InProvider([&](const Objects& o) {
    for (int i = 0; i < 20; ++i) {  // more than fits into a clone's first piece of memory
      o.instance->ft->setProperty(o.instance, ("Property" + std::to_string(i)).c_str(), o.chars,
                                  CMPI_chars);
    }
    AllocationReport whole;
    {
      const FailingAllocations failing(0, Fail::kOnce, whole);
      o.instance->ft->release(o.instance->ft->clone(o.instance, nullptr));
    }
    ASSERT_GT(whole.allocations, 1U);
    for (std::size_t n = 1; n <= whole.allocations; ++n) {
      AllocationReport report;
      CMPIrc code = CMPI_RC_OK;
      {
        const FailingAllocations failing(n, Fail::kOnce, report);
        code = Make(o.instance->ft->clone, o.instance);
      }
      EXPECT_EQ(code, CMPI_RC_ERR_FAILED);
      EXPECT_EQ(report.thrown, 1U);
      EXPECT_EQ(manager_.GetStatistics().clones_alive, 0);
    }
  });
}

// Before and after the provider runs, an allocation that fails leaves the request: it is C++ there.
TEST_F(MemoryTest, ARequestThatFailsLeavesTheNextOneAsItWas) {
  operation = [](const Surroundings& with) {
    const Objects objects(with);
    with.result->ft->returnInstance(with.result, objects.instance);
  };
  std::size_t failures = 0;
  for (std::size_t n = 1;; ++n) {
    ObjectManager manager({});
    manager.Register(kClass, Library());
    const cim::ObjectPath path = manager.ClassPath(kClass);
    AllocationReport report;
    bool thrown = false;
    Recorder found;
    {
      const FailingAllocations failing(n, Fail::kOnce, report);
      try {
        manager.EnumerateInstances(kClass, path, std::nullopt, found);
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
    }
    if (report.failed() == 0) break;
    failures += thrown ? 1 : 0;
    Recorder again;
    EXPECT_EQ(manager.EnumerateInstances(kClass, path, std::nullopt, again), cim::Status{})
        << "after allocation " << n << " failed";
    EXPECT_EQ(again.instances.size(), 1U);
  }
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace broker
