// Use counts, cleanup and what is left at unload.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_base_mi.h"

namespace {

using ostInt::CmpiAssociationMI;
using ostInt::CmpiBaseMI;
using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiInstanceMI;
using ostInt::CmpiProviderBase;
using ostInt::CmpiStatus;

// What the provider of a test does and what happened to it.
struct Script {
  bool unloadable = true;
  CmpiStatus cleanup_status = CMPI_RC_OK;
  bool cleanup_throws = false;
  int alive = 0;
  int cleanups = 0;
  bool terminating = false;
};

class ScriptedProvider : virtual public CmpiInstanceMI, virtual public CmpiAssociationMI {
 public:
  ScriptedProvider(const CmpiBroker& broker, const CmpiContext& context, Script& script)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context),
        script_(script) {
    ++script_.alive;
  }
  ~ScriptedProvider() override { --script_.alive; }

  CmpiStatus cleanup(CmpiContext& /*context*/, bool terminating) override {
    ++script_.cleanups;
    script_.terminating = terminating;
    if (script_.cleanup_throws) throw std::runtime_error("cleanup failed");
    return script_.cleanup_status;
  }
  bool isUnloadable() const override { return script_.unloadable; }

 private:
  Script& script_;
};

class CleanupTest : public testing::Test {
 protected:
  // As a factory does.
  void Obtain() {
    if (base_->getBaseMI() != nullptr) return;
    CmpiBaseMI* object =
        new ScriptedProvider(CmpiBroker(broker_.raw()), CmpiContext(context_), script_);
    object->setProviderBase(base_.get());
    base_->setBaseMI(object);
  }
  template <typename Mi>
  void CallFactory(Mi& record) {
    Obtain();
    record.hdl = base_->getBaseMI();
    base_->setRecord(&record);
    base_->incUseCount();
  }
  template <typename Mi>
  Outcome Cleanup(Mi& record, bool terminating = false) {
    const CMPIStatus status = CmpiBaseMI::driveBaseCleanup(&record, context_, terminating ? 1 : 0);
    return {status.rc, TextOf(status.msg)};
  }

  RecordingBroker broker_;
  const CMPIContext* context_ = RecordingBroker::Context();
  Script script_;
  CMPIInstanceMI instance_{};
  CMPIAssociationMI association_{};
  std::unique_ptr<CmpiProviderBase> base_ = std::make_unique<CmpiProviderBase>();
};

TEST_F(CleanupTest, TheLastUseTakesTheObjectAlong) {
  CallFactory(instance_);
  EXPECT_EQ(base_->useCount(), 1U);
  EXPECT_EQ(Cleanup(instance_), Outcome{});
  EXPECT_EQ(script_.alive, 0);
  EXPECT_EQ(base_->useCount(), 0U);
  EXPECT_EQ(base_->getBaseMI(), nullptr);
  EXPECT_EQ(instance_.hdl, nullptr);
}

TEST_F(CleanupTest, TheObjectStaysWhileTheOtherRecordUsesIt) {
  CallFactory(instance_);
  CallFactory(association_);
  EXPECT_EQ(base_->useCount(), 2U);
  Cleanup(instance_);
  EXPECT_EQ(script_.alive, 1);
  EXPECT_EQ(association_.hdl, base_->getBaseMI());
  Cleanup(association_);
  EXPECT_EQ(script_.alive, 0);
  EXPECT_EQ(script_.cleanups, 2);
}

TEST_F(CleanupTest, NoRecordKeepsTheHandleOfADeletedObject) {
  CallFactory(instance_);
  CallFactory(association_);
  Cleanup(instance_);
  Cleanup(association_);
  EXPECT_EQ(instance_.hdl, nullptr);
  EXPECT_EQ(association_.hdl, nullptr);

  CallFactory(instance_);
  CallFactory(association_);
  Cleanup(association_);
  Cleanup(instance_);
  EXPECT_EQ(instance_.hdl, nullptr);
  EXPECT_EQ(association_.hdl, nullptr);
}

TEST_F(CleanupTest, CleanupBeyondTheLastUseIsHarmless) {
  CallFactory(instance_);
  CallFactory(association_);
  for (int time = 0; time < 3; ++time) {
    EXPECT_EQ(Cleanup(association_), Outcome{});
    EXPECT_EQ(Cleanup(instance_), Outcome{});
  }
  EXPECT_EQ(script_.cleanups, 2);
  EXPECT_EQ(base_->useCount(), 0U);
}

TEST_F(CleanupTest, OperationsAfterCleanupAnswerAnInvalidHandle) {
  CallFactory(instance_);
  CallFactory(association_);
  Cleanup(instance_);
  Cleanup(association_);
  const CMPIStatus status = CmpiInstanceMI::driveEnumInstanceNames(
      &instance_, context_, broker_.Result(), broker_.Path("", "C"));
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_HANDLE);
}

TEST_F(CleanupTest, AFactoryCalledTwiceIsCleanedUpTwice) {
  CallFactory(instance_);
  CallFactory(instance_);
  Cleanup(instance_);
  EXPECT_EQ(script_.alive, 1);
  EXPECT_EQ(instance_.hdl, base_->getBaseMI());
  Cleanup(instance_);
  EXPECT_EQ(script_.alive, 0);
}

TEST_F(CleanupTest, ANewObjectComesWithTheNextFactoryCall) {
  CallFactory(instance_);
  Cleanup(instance_);
  CallFactory(association_);
  EXPECT_EQ(script_.alive, 1);
  EXPECT_EQ(base_->useCount(), 1U);
  EXPECT_EQ(instance_.hdl, nullptr);
  Cleanup(association_);
  EXPECT_EQ(script_.alive, 0);
}

TEST_F(CleanupTest, AnObjectThatIsNotUnloadableStaysForTheNextFactoryCall) {
  script_.unloadable = false;
  CallFactory(instance_);
  const CmpiBaseMI* object = base_->getBaseMI();
  Cleanup(instance_);
  EXPECT_EQ(script_.alive, 1);
  EXPECT_EQ(base_->useCount(), 0U);
  EXPECT_EQ(instance_.hdl, object);
  CallFactory(instance_);
  EXPECT_EQ(base_->getBaseMI(), object);
  EXPECT_EQ(base_->useCount(), 1U);
  Cleanup(instance_);
  script_.unloadable = true;
  Cleanup(instance_);
  EXPECT_EQ(script_.alive, 0);
}

TEST_F(CleanupTest, TheProvidersOwnCleanupIsToldWhyAndAnswers) {
  CallFactory(instance_);
  CallFactory(instance_);
  script_.cleanup_status = CmpiStatus(CMPI_RC_DO_NOT_UNLOAD, "still busy");
  EXPECT_EQ(Cleanup(instance_, true), (Outcome{CMPI_RC_DO_NOT_UNLOAD, "still busy"}));
  EXPECT_TRUE(script_.terminating);
  Cleanup(instance_, false);
  EXPECT_FALSE(script_.terminating);
}

TEST_F(CleanupTest, ACleanupThatThrowsAnswersAFailure) {
  CallFactory(instance_);
  script_.cleanup_throws = true;
  EXPECT_EQ(Cleanup(instance_), (Outcome{CMPI_RC_ERR_FAILED, "cleanup failed"}));
}

TEST_F(CleanupTest, ACleanupThatThrowsDropsItsUseToo) {
  CallFactory(instance_);
  CallFactory(association_);
  script_.cleanup_throws = true;
  Cleanup(instance_);
  EXPECT_EQ(base_->useCount(), 1U);
  EXPECT_EQ(script_.alive, 1);
  Cleanup(association_);
  EXPECT_EQ(base_->useCount(), 0U);
  EXPECT_EQ(script_.alive, 0);
  EXPECT_EQ(association_.hdl, nullptr);
}

TEST_F(CleanupTest, ARecordWithoutObjectIsCleanedUpWithoutError) {
  EXPECT_EQ(Cleanup(instance_), Outcome{});
  EXPECT_EQ(Cleanup(association_), Outcome{});
}

TEST_F(CleanupTest, AnObjectWithoutBaseBelongsToItsMaker) {
  ScriptedProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_), script_);
  CmpiBaseMI* object = &provider;
  instance_.hdl = object;
  EXPECT_EQ(Cleanup(instance_), Outcome{});
  EXPECT_EQ(script_.cleanups, 1);
  EXPECT_EQ(script_.alive, 1);
}

TEST_F(CleanupTest, WhatIsLeftGoesWithItsBase) {
  script_.unloadable = false;
  CallFactory(instance_);
  CallFactory(association_);
  Cleanup(instance_);
  base_.reset();
  EXPECT_EQ(script_.alive, 0);
  EXPECT_EQ(script_.cleanups, 1);
}

TEST_F(CleanupTest, ABaseThatNeverHadAnObjectGoesQuietly) {
  base_.reset();
  EXPECT_EQ(script_.alive, 0);
}

}  // namespace
