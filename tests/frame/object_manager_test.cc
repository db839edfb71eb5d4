// The wrapper over the in-process object manager, which checks it: a provider of the test's
// own runs whatever a test says inside a request.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "broker/object_manager.h"
#include "frame/registration.h"
#include "frame/stderr_capture.h"
#include "platform/ostint/cmpi_data.h"
#include "support/imitations.h"

using ostInt::CmpiArray;
using ostInt::CmpiBaseMI;
using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiElementScope;
using ostInt::CmpiInstance;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;
using ostInt::CmpiString;

namespace {

using Operation =
    std::function<void(const CmpiBroker&, const CmpiContext&, CmpiResult&, const CmpiObjectPath&)>;
Operation operation;

constexpr const char* kClass = "Ostrel_PCIPort";
constexpr const char* kOk = "CMPI_RC_OK (0)";

}  // namespace

class ScriptedProbe : virtual public ostInt::CmpiInstanceMI {
 public:
  ScriptedProbe(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override {
    operation(broker(), context, result, path);
    return CMPI_RC_OK;
  }
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** /*properties*/) override {
    operation(broker(), context, result, path);
    return CMPI_RC_OK;
  }
};

OSTREL_REGISTER_INSTANCE_PROVIDER(ScriptedProbe);

namespace {

void* Resolve(const char* symbol) {
  if (std::string_view(symbol) != "Ostrel_PCIPort_Create_InstanceMI") return nullptr;
  return reinterpret_cast<void*>(Ostrel_ScriptedProbe_Create_InstanceMI);
}

CmpiObjectPath PortPath(const char* identifier) {
  CmpiObjectPath path("root/cimv2", kClass);
  path.setKey("SystemCreationClassName", "OMC_UnitaryComputerSystem");
  path.setKey("SystemName", "host");
  path.setKey("CreationClassName", kClass);
  path.setKey("DeviceID", identifier);
  return path;
}

// With mark and release, and without.
class ObjectManagerTest : public testing::TestWithParam<bool> {
 protected:
  ObjectManagerTest() {
    broker::Options options;
    if (GetParam()) options.imitate = &broker::Cmpi10();
    manager_.emplace(std::move(options));
    manager_->Register(kClass, broker::ProviderLibrary::FromResolver(Resolve));
  }

  // Enumerates, with the body as the provider's operation; answers the status as text.
  std::string Enumerate(Operation body) {
    operation = std::move(body);
    const cim::Status status =
        manager_->EnumerateInstances(kClass, manager_->ClassPath(kClass), std::nullopt, found_);
    return Checked(status);
  }
  std::string EnumerateNames(Operation body) {
    operation = std::move(body);
    return Checked(manager_->EnumerateInstanceNames(kClass, manager_->ClassPath(kClass), found_));
  }
  std::string Checked(const cim::Status& status) const {
    for (const broker::ProviderError& error : manager_->ProviderErrors()) {
      ADD_FAILURE() << broker::ToString(error);
    }
    return cim::ToString(status);
  }

  StderrCapture stderr_;  // the trace lines
  std::optional<broker::ObjectManager> manager_;
  broker::Recorder found_;
};

INSTANTIATE_TEST_SUITE_P(Versions, ObjectManagerTest, testing::Bool(),
                         [](const auto& version) { return version.param ? "Cmpi10" : "Cmpi20"; });

TEST_P(ObjectManagerTest, AnInstanceArrivesAsItWasBuilt) {
  EXPECT_EQ(Enumerate([](const CmpiBroker&, const CmpiContext&, CmpiResult& result,
                         const CmpiObjectPath&) {
              CmpiInstance instance(PortPath("0000:00:01.0-ep"));
              instance.setProperty("ElementName", "text");
              instance.setProperty("BusNumber", static_cast<unsigned char>(3));
              instance.setProperty("PortType", static_cast<unsigned short>(152));
              instance.setPropertyFilter(nullptr, nullptr);
              result.returnData(instance);
              result.returnDone();
            }),
            kOk);
  ASSERT_EQ(found_.instances.size(), 1U);
  const cim::Instance& instance = found_.instances.front();
  EXPECT_EQ(*instance.path.Key("DeviceID")->text(), "0000:00:01.0-ep");
  EXPECT_EQ(*instance.Find("ElementName")->text(), "text");
  EXPECT_EQ(instance.Find("BusNumber")->as_unsigned(), 3U);
  EXPECT_EQ(instance.Find("PortType")->type(), CMPI_uint16);
  EXPECT_EQ(found_.done_count, 1);
}

TEST_P(ObjectManagerTest, APathArrivesAsItWasBuilt) {
  EXPECT_EQ(EnumerateNames([](const CmpiBroker&, const CmpiContext&, CmpiResult& result,
                              const CmpiObjectPath&) { result.returnData(PortPath("E")); }),
            kOk);
  ASSERT_EQ(found_.paths.size(), 1U);
  EXPECT_EQ(found_.paths.front().class_name, kClass);
  EXPECT_EQ(found_.paths.front().keys.size(), 4U);
  EXPECT_EQ(found_.done_count, 0);
}

TEST_P(ObjectManagerTest, PathsOfTheObjectManagerAreReadAndCompared) {
  const std::string status = Enumerate(
      [](const CmpiBroker&, const CmpiContext&, CmpiResult&, const CmpiObjectPath& request) {
        const CmpiObjectPath path = PortPath("E");
        EXPECT_STREQ(CmpiString(path.getKey("deviceid")).charPtr(), "E");
        EXPECT_TRUE(path == PortPath("E"));
        EXPECT_TRUE(path != PortPath("e"));
        EXPECT_TRUE(path != request);
        EXPECT_TRUE(path.classPathIsA("CIM_LogicalPort"));
        EXPECT_FALSE(path.classPathIsA("CIM_System"));
        EXPECT_FALSE(path.classPathIsA("No_SuchClass"));
        EXPECT_THAT(path.toString().charPtr(), testing::HasSubstr(kClass));
        CmpiArray array(1, CMPI_uint16);
        array[0] = static_cast<unsigned short>(1);
        EXPECT_THROW(path.getKey("NoSuchKey"), CmpiStatus);
      });
  EXPECT_EQ(status, kOk);
}

TEST_P(ObjectManagerTest, TheHostingSystemIsFoundByUpCalls) {
  bool asked = false;
  EXPECT_EQ(Enumerate([&](const CmpiBroker& broker, const CmpiContext& context, CmpiResult&,
                          const CmpiObjectPath&) {
              const CmpiObjectPath system("root/cimv2", "OMC_UnitaryComputerSystem");
              ostInt::CmpiEnumeration names = broker.enumInstanceNames(context, system);
              EXPECT_STREQ(CmpiString(CmpiObjectPath(names.getNext()).getKey("Name")).charPtr(),
                           "localhost");
              EXPECT_TRUE(names.getNext().isNull());
              ostInt::CmpiEnumeration instances = broker.enumInstances(context, system, nullptr);
              EXPECT_THAT(CmpiInstance(instances.getNext()).toString().charPtr(),
                          testing::HasSubstr("localhost"));
              EXPECT_TRUE(instances.getNext().isNull());
              asked = true;
            }),
            kOk);
  EXPECT_TRUE(asked);
}

TEST_P(ObjectManagerTest, TheMessageOfAnExceptionArrivesFromInsideAnElementScope) {
  const std::string status =
      Enumerate([](const CmpiBroker&, const CmpiContext&, CmpiResult&, const CmpiObjectPath&) {
        const CmpiElementScope scope;
        PortPath("E");
        throw std::runtime_error("text of the failure");
      });
  EXPECT_EQ(status, "CMPI_RC_ERR_FAILED (1): text of the failure");
}

TEST_P(ObjectManagerTest, ElementScopesKeepALongWalkFlatWhereTheyCan) {
  const auto walk = [](int elements) {
    return [elements](const CmpiBroker&, const CmpiContext&, CmpiResult& result,
                      const CmpiObjectPath&) {
      for (int element = 0; element < elements; ++element) {
        const CmpiElementScope scope;
        result.returnData(PortPath(std::to_string(element).c_str()));
      }
    };
  };
  EXPECT_EQ(EnumerateNames(walk(10)), kOk);
  const std::uint64_t few = manager_->GetStatistics().peak_call_bytes;
  EXPECT_EQ(EnumerateNames(walk(1000)), kOk);
  const std::uint64_t many = manager_->GetStatistics().peak_call_bytes;
  EXPECT_EQ(found_.paths.size(), 1010U);
  if (GetParam()) {
    EXPECT_GT(many, 10 * few);  // nothing is released early
  } else {
    EXPECT_LT(many, 2 * few);
  }
}

TEST_P(ObjectManagerTest, CleanupTakesTheProviderAndTheNextRequestMakesANewOne) {
  const Operation nothing = [](const CmpiBroker&, const CmpiContext&, CmpiResult&,
                               const CmpiObjectPath&) {};
  EXPECT_EQ(Enumerate(nothing), kOk);
  EXPECT_NE(baseOstrel_ScriptedProbe.getBaseMI(), nullptr);
  EXPECT_EQ(manager_->Cleanup(kClass, broker::ProviderKind::kInstance, false).code, CMPI_RC_OK);
  EXPECT_EQ(baseOstrel_ScriptedProbe.getBaseMI(), nullptr);
  EXPECT_EQ(Enumerate(nothing), kOk);
  manager_.reset();
  EXPECT_EQ(baseOstrel_ScriptedProbe.getBaseMI(), nullptr);
  EXPECT_EQ(baseOstrel_ScriptedProbe.useCount(), 0U);
}

TEST_P(ObjectManagerTest, OperationsThatTheProviderLeavesOutAreNotSupported) {
  broker::Recorder sink;
  const cim::ObjectPath path = manager_->ClassPath(kClass);
  EXPECT_EQ(manager_->DeleteInstance(kClass, path, sink).code, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(manager_->ExecQuery(kClass, path, "select *", "WQL", sink).code,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_TRUE(sink.events.empty());
}

}  // namespace
