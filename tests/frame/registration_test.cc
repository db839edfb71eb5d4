// Registration, seen through a provider class of the test's own.

#include "frame/registration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "frame/stderr_capture.h"
#include "ostint/recording_broker.h"

using ostInt::CmpiBaseMI;
using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiStatus;
using testing::ElementsAre;

namespace {

// What the provider of this test does, and what happened to it.
struct Script {
  bool constructor_throws = false;
  bool constructor_is_cancelled = false;
  bool initialize_throws = false;
  CmpiStatus initialize_status = CMPI_RC_OK;
  int alive = 0;
  int alive_bases = 0;
  std::vector<std::string> steps;
  const CMPIBroker* broker = nullptr;
  const CMPIContext* context = nullptr;
};
Script script;

// A part of the provider that is complete when the provider's constructor throws.
struct CountedBase {
  CountedBase() { ++script.alive_bases; }
  ~CountedBase() { --script.alive_bases; }
  CountedBase(const CountedBase&) = delete;
  CountedBase& operator=(const CountedBase&) = delete;
};

}  // namespace

class FrameProbe : virtual public ostInt::CmpiInstanceMI,
                   virtual public ostInt::CmpiAssociationMI,
                   private CountedBase {
 public:
  FrameProbe(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {
    script.steps.emplace_back("construct");
    script.broker = broker.raw();
    if (script.constructor_throws) throw std::runtime_error("cannot be built");
    if (script.constructor_is_cancelled) {
      pthread_cancel(pthread_self());
      pthread_testcancel();
    }
    ++script.alive;
  }
  ~FrameProbe() override { --script.alive; }

  CmpiStatus initialize(const CmpiContext& context) override;
};

class FrameInstanceProbe : virtual public ostInt::CmpiInstanceMI {
 public:
  FrameInstanceProbe(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}
};

OSTREL_REGISTER_ASSOCIATION_PROVIDER(FrameProbe);
OSTREL_REGISTER_INSTANCE_PROVIDER(FrameInstanceProbe);

CmpiStatus FrameProbe::initialize(const CmpiContext& context) {
  script.steps.emplace_back(baseOstrel_FrameProbe.getBaseMI() == nullptr ? "initialize"
                                                                         : "initialize too late");
  script.context = context.raw();
  if (script.initialize_throws) throw std::runtime_error("cannot be initialized");
  return script.initialize_status;
}

namespace {

class RegistrationTest : public testing::Test {
 protected:
  RegistrationTest() { script = Script{}; }
  ~RegistrationTest() override {
    while (baseOstrel_FrameProbe.useCount() > 0) baseOstrel_FrameProbe.dropUse();
    EXPECT_EQ(script.alive, 0);
    EXPECT_EQ(script.alive_bases, 0);
  }

  CMPIInstanceMI* CreateInstanceMI() {
    return Ostrel_FrameProbe_Create_InstanceMI(broker_.raw(), context_);
  }
  CMPIAssociationMI* CreateAssociationMI() {
    return Ostrel_FrameProbe_Create_AssociationMI(broker_.raw(), context_);
  }

  RecordingBroker broker_;
  const CMPIContext* context_ = RecordingBroker::Context();
  StderrCapture stderr_;
};

TEST_F(RegistrationTest, BothRecordsOfAClassShareOneProviderObject) {
  CMPIInstanceMI* instance = CreateInstanceMI();
  CMPIAssociationMI* association = CreateAssociationMI();
  EXPECT_NE(static_cast<void*>(instance), static_cast<void*>(association));
  EXPECT_EQ(instance->hdl, association->hdl);
  EXPECT_EQ(instance->hdl, baseOstrel_FrameProbe.getBaseMI());
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 2U);
  EXPECT_EQ(script.alive, 1);
}

TEST_F(RegistrationTest, TheAssociationFactoryMayBeTheFirst) {
  CMPIAssociationMI* association = CreateAssociationMI();
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 1U);
  EXPECT_EQ(CreateInstanceMI()->hdl, association->hdl);
  EXPECT_THAT(script.steps, ElementsAre("construct", "initialize"));
}

TEST_F(RegistrationTest, LaterCallsHandOutTheSameRecordAndObject) {
  CMPIInstanceMI* first = CreateInstanceMI();
  const void* object = first->hdl;
  EXPECT_EQ(CreateInstanceMI(), first);
  EXPECT_EQ(first->hdl, object);
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 2U);
  EXPECT_THAT(script.steps, ElementsAre("construct", "initialize"));
}

TEST_F(RegistrationTest, ClassesAreApartFromEachOther) {
  CMPIInstanceMI* other = Ostrel_FrameInstanceProbe_Create_InstanceMI(broker_.raw(), context_);
  EXPECT_NE(CreateInstanceMI()->hdl, other->hdl);
  EXPECT_EQ(baseOstrel_FrameInstanceProbe.useCount(), 1U);
  other->ft->cleanup(other, context_, 0);
  EXPECT_EQ(other->hdl, nullptr);
  EXPECT_EQ(script.alive, 1);
}

TEST_F(RegistrationTest, TheProviderIsBuiltWithTheBrokerAndInitializedWithTheContext) {
  CreateInstanceMI();
  EXPECT_EQ(script.broker, broker_.raw());
  EXPECT_EQ(script.context, context_);
}

TEST_F(RegistrationTest, EachInstanceFactoryCallWritesOneTraceLine) {
  CreateInstanceMI();
  EXPECT_EQ(stderr_.Text(), kTraceLine);
  CreateInstanceMI();
  CreateInstanceMI();
  EXPECT_EQ(stderr_.Text(), std::string(kTraceLine) + kTraceLine + kTraceLine);
}

TEST_F(RegistrationTest, AssociationFactoriesWriteNothing) {
  CreateAssociationMI();
  CreateAssociationMI();
  EXPECT_EQ(stderr_.Text(), "");
  CreateInstanceMI();
  EXPECT_EQ(stderr_.Text(), kTraceLine);
}

TEST_F(RegistrationTest, AnExceptionOfTheConstructorLeavesTheFactory) {
  script.constructor_throws = true;
  EXPECT_THROW(CreateInstanceMI(), std::runtime_error);
  EXPECT_THROW(CreateAssociationMI(), std::runtime_error);
  EXPECT_EQ(script.alive_bases, 0);
  EXPECT_EQ(baseOstrel_FrameProbe.getBaseMI(), nullptr);
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 0U);
  EXPECT_EQ(stderr_.Text(), "");
}

TEST_F(RegistrationTest, TheCallAfterAFailedOneBuildsTheObject) {
  script.constructor_throws = true;
  EXPECT_THROW(CreateInstanceMI(), std::runtime_error);
  script.constructor_throws = false;
  EXPECT_NE(CreateInstanceMI()->hdl, nullptr);
  EXPECT_EQ(script.alive, 1);
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 1U);
  EXPECT_EQ(stderr_.Text(), kTraceLine);
}

TEST_F(RegistrationTest, TheStatusOfInitializeIsDiscarded) {
  script.initialize_status = CmpiStatus(CMPI_RC_ERR_FAILED, "nobody asks");
  EXPECT_NE(CreateInstanceMI()->hdl, nullptr);
  EXPECT_EQ(script.alive, 1);
}

TEST_F(RegistrationTest, AnExceptionOfInitializeFreesTheObject) {
  script.initialize_throws = true;
  EXPECT_THROW(CreateInstanceMI(), std::runtime_error);
  EXPECT_EQ(script.alive, 0);
  EXPECT_EQ(baseOstrel_FrameProbe.getBaseMI(), nullptr);
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 0U);
}

TEST_F(RegistrationTest, ACancelledThreadFinishesItsFactoryCallAndEndsAfterwards) {
  script.constructor_is_cancelled = true;
  const auto run = [](void* broker) -> void* {
    Ostrel_FrameProbe_Create_InstanceMI(static_cast<const CMPIBroker*>(broker),
                                        RecordingBroker::Context());
    pthread_testcancel();
    return nullptr;
  };
  pthread_t thread{};
  auto* broker = const_cast<CMPIBroker*>(broker_.raw());
  ASSERT_EQ(pthread_create(&thread, nullptr, run, broker), 0);
  void* ended = nullptr;
  ASSERT_EQ(pthread_join(thread, &ended), 0);
  EXPECT_EQ(ended, PTHREAD_CANCELED);
  EXPECT_EQ(script.alive, 1);
  EXPECT_EQ(baseOstrel_FrameProbe.useCount(), 1U);
}

TEST_F(RegistrationTest, AfterTheLastCleanupTheNextCallMakesANewObject) {
  CMPIInstanceMI* instance = CreateInstanceMI();
  CMPIAssociationMI* association = CreateAssociationMI();
  instance->ft->cleanup(instance, context_, 0);
  EXPECT_EQ(script.alive, 1);
  association->ft->cleanup(association, context_, 0);
  EXPECT_EQ(script.alive, 0);
  EXPECT_EQ(instance->hdl, nullptr);
  EXPECT_EQ(association->hdl, nullptr);
  EXPECT_NE(CreateAssociationMI()->hdl, nullptr);
  EXPECT_EQ(script.alive, 1);
  EXPECT_EQ(instance->hdl, nullptr);
}

// The MI names are part of the tables that are filled at build time.
static_assert(std::string_view(frame::MakeInstanceTable("instanceX").miName) == "instanceX");
static_assert(frame::MakeInstanceTable("x").ftVersion == 200);
static_assert(frame::MakeAssociationTable("x").miVersion == 200);

}  // namespace
