// The drive functions: what a C caller gets from whatever a provider does.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "cache/hostctl.h"
#include "ostint/recording_broker.h"
#include "ostint/statuses.h"
#include "platform/ostint/cmpi_base_mi.h"

namespace {

using ostInt::CmpiAssociationMI;
using ostInt::CmpiBaseMI;
using ostInt::CmpiBroker;
using ostInt::CmpiContext;
using ostInt::CmpiElementScope;
using ostInt::CmpiInstance;
using ostInt::CmpiInstanceMI;
using ostInt::CmpiObjectPath;
using ostInt::CmpiResult;
using ostInt::CmpiStatus;
using testing::ElementsAre;

// Overrides nothing.
class PlainProvider : virtual public CmpiInstanceMI, virtual public CmpiAssociationMI {
 public:
  PlainProvider(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {}
};

class InstanceOnlyProvider : virtual public CmpiInstanceMI {
 public:
  InstanceOnlyProvider(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}
};

// Writes down each operation with its arguments and answers what the test says.
class NotingProvider : public PlainProvider {
 public:
  NotingProvider(const CmpiBroker& b, const CmpiContext& c)
      : CmpiBaseMI(b, c), CmpiInstanceMI(b, c), CmpiAssociationMI(b, c), PlainProvider(b, c) {}

  std::function<CmpiStatus()> answer = [] { return CMPI_RC_OK; };
  std::vector<std::string> notes;
  const CMPIContext* context = nullptr;
  const CMPIObjectPath* path = nullptr;
  const CMPIInstance* instance = nullptr;
  const char** properties = nullptr;

  CmpiStatus enumInstanceNames(const CmpiContext& c, CmpiResult& r,
                               const CmpiObjectPath& p) override {
    return Note("enumInstanceNames", c, r, p);
  }
  CmpiStatus enumInstances(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                           const char** names) override {
    properties = names;
    return Note("enumInstances", c, r, p);
  }
  CmpiStatus getInstance(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                         const char** names) override {
    properties = names;
    return Note("getInstance", c, r, p);
  }
  CmpiStatus createInstance(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                            const CmpiInstance& i) override {
    instance = i.raw();
    return Note("createInstance", c, r, p);
  }
  CmpiStatus setInstance(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                         const CmpiInstance& i, const char** names) override {
    instance = i.raw();
    properties = names;
    return Note("setInstance", c, r, p);
  }
  CmpiStatus deleteInstance(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p) override {
    return Note("deleteInstance", c, r, p);
  }
  CmpiStatus execQuery(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                       const char* language, const char* query) override {
    return Note(std::string("execQuery ") + language + ": " + query, c, r, p);
  }
  CmpiStatus associators(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                         const char* assoc, const char* result, const char* role,
                         const char* result_role, const char** names) override {
    properties = names;
    return Note(Words("associators", {assoc, result, role, result_role}), c, r, p);
  }
  CmpiStatus associatorNames(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                             const char* assoc, const char* result, const char* role,
                             const char* result_role) override {
    return Note(Words("associatorNames", {assoc, result, role, result_role}), c, r, p);
  }
  CmpiStatus references(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                        const char* result, const char* role, const char** names) override {
    properties = names;
    return Note(Words("references", {result, role}), c, r, p);
  }
  CmpiStatus referenceNames(const CmpiContext& c, CmpiResult& r, const CmpiObjectPath& p,
                            const char* result, const char* role) override {
    return Note(Words("referenceNames", {result, role}), c, r, p);
  }

 private:
  static std::string Words(std::string note, std::initializer_list<const char*> words) {
    for (const char* word : words) note += std::string(" ") + (word == nullptr ? "null" : word);
    return note;
  }
  CmpiStatus Note(const std::string& note, const CmpiContext& c, CmpiResult& r,
                  const CmpiObjectPath& p) {
    notes.push_back(note);
    context = c.raw();
    path = p.raw();
    r.returnDone();
    return answer();
  }
};

class DriveTest : public testing::Test {
 protected:
  template <typename Provider>
  void Serve(Provider& provider) {
    CmpiBaseMI* object = &provider;
    instance_mi_.hdl = object;
    association_mi_.hdl = object;
  }

  // What enumInstanceNames answers while the provider does as told.
  Outcome Driven(std::function<CmpiStatus()> answer) {
    NotingProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
    provider.answer = std::move(answer);
    Serve(provider);
    return Call(CmpiInstanceMI::driveEnumInstanceNames(&instance_mi_, context_, result_, path_));
  }

  static Outcome Call(const CMPIStatus& status) { return {status.rc, TextOf(status.msg)}; }

  // All eleven operations, in the order of the tables.
  std::vector<Outcome> DriveAll() {
    CMPIInstanceMI* i = &instance_mi_;
    CMPIAssociationMI* a = &association_mi_;
    const CMPIContext* c = context_;
    const CMPIResult* r = result_;
    const CMPIObjectPath* p = path_;
    return {
        Call(CmpiInstanceMI::driveEnumInstanceNames(i, c, r, p)),
        Call(CmpiInstanceMI::driveEnumInstances(i, c, r, p, properties_)),
        Call(CmpiInstanceMI::driveGetInstance(i, c, r, p, properties_)),
        Call(CmpiInstanceMI::driveCreateInstance(i, c, r, p, instance_)),
        Call(CmpiInstanceMI::driveSetInstance(i, c, r, p, instance_, properties_)),
        Call(CmpiInstanceMI::driveDeleteInstance(i, c, r, p)),
        Call(CmpiInstanceMI::driveExecQuery(i, c, r, p, "select *", "WQL")),
        Call(CmpiAssociationMI::driveAssociators(a, c, r, p, "A", "R", "o", "s", properties_)),
        Call(CmpiAssociationMI::driveAssociatorNames(a, c, r, p, "A", "R", "o", "s")),
        Call(CmpiAssociationMI::driveReferences(a, c, r, p, "R", "o", properties_)),
        Call(CmpiAssociationMI::driveReferenceNames(a, c, r, p, "R", "o")),
    };
  }

  RecordingBroker broker_;
  const CMPIContext* context_ = RecordingBroker::Context();
  const CMPIResult* result_ = broker_.Result();
  const CMPIObjectPath* path_ = broker_.Path("root/cimv2", "C");
  const CMPIInstance* instance_ = broker_.Instance();
  const char* names_[2] = {"P", nullptr};
  const char** properties_ = names_;
  CMPIInstanceMI instance_mi_{};
  CMPIAssociationMI association_mi_{};
};

TEST_F(DriveTest, EachCallReachesItsOperationWithItsArguments) {
  NotingProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
  Serve(provider);
  EXPECT_THAT(DriveAll(), testing::Each(Outcome{}));
  EXPECT_THAT(
      provider.notes,
      ElementsAre("enumInstanceNames", "enumInstances", "getInstance", "createInstance",
                  "setInstance", "deleteInstance", "execQuery WQL: select *", "associators A R o s",
                  "associatorNames A R o s", "references R o", "referenceNames R o"));
  EXPECT_EQ(provider.context, context_);
  EXPECT_EQ(provider.path, path_);
  EXPECT_EQ(provider.instance, instance_);
  EXPECT_EQ(provider.properties, properties_);
  EXPECT_EQ(broker_.calls(), std::vector<std::string>(11, "returnDone"));
}

TEST_F(DriveTest, NullArgumentsStayNull) {
  NotingProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
  Serve(provider);
  provider.properties = properties_;
  CmpiAssociationMI::driveAssociators(&association_mi_, context_, result_, path_, nullptr, nullptr,
                                      nullptr, nullptr, nullptr);
  CmpiAssociationMI::driveReferenceNames(&association_mi_, context_, result_, path_, nullptr,
                                         nullptr);
  EXPECT_THAT(provider.notes,
              ElementsAre("associators null null null null", "referenceNames null null"));
  EXPECT_EQ(provider.properties, nullptr);
}

TEST_F(DriveTest, OperationsThatAreNotOverriddenAreNotSupported) {
  PlainProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
  Serve(provider);
  const std::vector<Outcome> outcomes = DriveAll();
  EXPECT_EQ(outcomes.size(), 11U);
  EXPECT_THAT(outcomes, testing::Each(Outcome{CMPI_RC_ERR_NOT_SUPPORTED, ""}));
  EXPECT_THAT(broker_.calls(), testing::IsEmpty());
}

TEST_F(DriveTest, InitializeAndCleanupDoNothingByThemselves) {
  PlainProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
  CmpiContext context(context_);
  EXPECT_EQ(provider.initialize(context).rc(), CMPI_RC_OK);
  EXPECT_EQ(provider.cleanup(context, true).rc(), CMPI_RC_OK);
  EXPECT_TRUE(provider.isUnloadable());
  EXPECT_EQ(provider.broker().raw(), broker_.raw());
}

TEST_F(DriveTest, AnswersTheOperationsOwnStatus) {
  EXPECT_EQ(Driven([] { return CmpiStatus(CMPI_RC_OK); }), Outcome{});
  EXPECT_EQ(Driven([] { return CmpiStatus(CMPI_RC_ERR_NOT_FOUND); }),
            (Outcome{CMPI_RC_ERR_NOT_FOUND, ""}));
  EXPECT_EQ(Driven([] { return CmpiStatus(CMPI_RC_ERR_FAILED, "own text"); }),
            (Outcome{CMPI_RC_ERR_FAILED, "own text"}));
}

TEST_F(DriveTest, AThrownStatusIsItself) {
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw CmpiStatus(CMPI_RC_ERR_ACCESS_DENIED, "no"); }),
            (Outcome{CMPI_RC_ERR_ACCESS_DENIED, "no"}));
}

TEST_F(DriveTest, ExceptionsBecomeFailuresWithTheirText) {
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw std::runtime_error("broken"); }),
            (Outcome{CMPI_RC_ERR_FAILED, "broken"}));
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw HostCtl::Lib::HostCtlException("no bus"); }),
            (Outcome{CMPI_RC_ERR_FAILED, "no bus"}));
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw std::bad_alloc(); }),
            (Outcome{CMPI_RC_ERR_FAILED, std::bad_alloc().what()}));
}

TEST_F(DriveTest, AnythingElseThatIsThrownIsAFailure) {
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw 42; }),
            (Outcome{CMPI_RC_ERR_FAILED, "unknown exception in the provider"}));
}

TEST_F(DriveTest, AnExceptionWithoutTextHasNoMessage) {
  struct Mute : std::exception {
    const char* what() const noexcept override { return nullptr; }
  };
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw Mute(); }), (Outcome{CMPI_RC_ERR_FAILED, ""}));
}

TEST_F(DriveTest, NoExceptionLeavesAnyDriveFunction) {
  NotingProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
  Serve(provider);
  provider.answer = []() -> CmpiStatus { throw std::runtime_error("broken"); };
  EXPECT_THAT(DriveAll(), testing::Each(Outcome{CMPI_RC_ERR_FAILED, "broken"}));
}

TEST_F(DriveTest, AMessageThatCannotBeMadeIsLeftOut) {
  broker_.GiveNull("newString");
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw std::runtime_error("broken"); }),
            (Outcome{CMPI_RC_ERR_FAILED, ""}));
}

TEST_F(DriveTest, AMessageThatAnObjectManagerThrowsForIsLeftOut) {
  broker_.raw()->eft->newString = [](const CMPIBroker*, const char*, CMPIStatus*) -> CMPIString* {
    throw std::bad_alloc();
  };
  EXPECT_EQ(Driven([]() -> CmpiStatus { throw std::runtime_error("broken"); }),
            (Outcome{CMPI_RC_ERR_FAILED, ""}));
  EXPECT_EQ(Driven([] { return CmpiStatus(CMPI_RC_ERR_NOT_FOUND, "own text"); }),
            (Outcome{CMPI_RC_ERR_NOT_FOUND, ""}));
}

// What a thread does that is cancelled while an operation runs on it.
struct CancelledThread {
  Outcome answered;
  bool survived = false;

  void Run() {
    RecordingBroker broker;  // of this thread
    NotingProvider provider(CmpiBroker(broker.raw()), CmpiContext(RecordingBroker::Context()));
    provider.answer = [] {
      pthread_cancel(pthread_self());
      pthread_testcancel();
      return CmpiStatus(CMPI_RC_ERR_NOT_FOUND, "own text");
    };
    CmpiBaseMI* object = &provider;
    CMPIInstanceMI mi{object, nullptr};
    const CMPIStatus status = CmpiInstanceMI::driveEnumInstanceNames(
        &mi, RecordingBroker::Context(), broker.Result(), broker.Path("", "C"));
    answered = {status.rc, TextOf(status.msg)};
    pthread_testcancel();
    survived = true;
  }
};

TEST_F(DriveTest, ACancelledThreadAnswersItsOperationAndEndsAfterwards) {
  CancelledThread cancelled;
  const auto run = [](void* what) -> void* {
    static_cast<CancelledThread*>(what)->Run();
    return nullptr;
  };
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, run, &cancelled), 0);
  void* ended = nullptr;
  ASSERT_EQ(pthread_join(thread, &ended), 0);
  EXPECT_EQ(cancelled.answered, (Outcome{CMPI_RC_ERR_NOT_FOUND, "own text"}));
  EXPECT_EQ(ended, PTHREAD_CANCELED);
  EXPECT_FALSE(cancelled.survived);
}

TEST_F(DriveTest, AFailingCallOfTheObjectManagerIsTheAnswer) {
  broker_.Fail("returnDone", CMPI_RC_ERR_INVALID_HANDLE, "closed");
  EXPECT_EQ(Driven([] { return CmpiStatus(CMPI_RC_OK); }),
            (Outcome{CMPI_RC_ERR_INVALID_HANDLE, "closed"}));
}

TEST_F(DriveTest, TheMessageOfAFailureInsideAnElementScopeIsStillThere) {
  broker_.Fail("newInstance", CMPI_RC_ERR_FAILED, "a message that goes with its element");
  const Outcome outcome = Driven([]() -> CmpiStatus {
    const CmpiElementScope scope;
    CmpiInstance(CmpiObjectPath("root/cimv2", "C"));
    return CMPI_RC_OK;
  });
  EXPECT_EQ(outcome, (Outcome{CMPI_RC_ERR_FAILED, "a message that goes with its element"}));
  EXPECT_EQ(broker_.open_marks(), 0);
}

// Without a provider there is no broker that could make a text.
TEST_F(DriveTest, ARecordWithoutProviderIsAnInvalidHandle) {
  EXPECT_THAT(DriveAll(), testing::Each(Outcome{CMPI_RC_ERR_INVALID_HANDLE, ""}));
}

TEST_F(DriveTest, AProviderOfInstancesAloneServesNoAssociation) {
  InstanceOnlyProvider provider(CmpiBroker(broker_.raw()), CmpiContext(context_));
  Serve(provider);
  const Outcome outcome = Call(
      CmpiAssociationMI::driveReferenceNames(&association_mi_, context_, result_, path_, "R", "o"));
  EXPECT_EQ(outcome, (Outcome{CMPI_RC_ERR_INVALID_HANDLE, "no provider behind the MI"}));
}

// The recording broker's functions under a name, which each call for an object, mark or release
// notes.
class NamedBroker {
 public:
  NamedBroker(const char* name, const CMPIBroker* functions)
      : enc_(*functions->eft),
        mem_(*functions->mft),
        // Functions get no more than the record: its handle has the name.
        record_{const_cast<char*>(name), functions->bft, &enc_, functions->xft, &mem_} {
    original_ = functions;
    enc_.newObjectPath = [](const CMPIBroker* broker, const char* name_space, const char* cls,
                            CMPIStatus* status) {
      Note(broker, "path");
      return original_->eft->newObjectPath(broker, name_space, cls, status);
    };
    enc_.newString = [](const CMPIBroker* broker, const char* text, CMPIStatus* status) {
      Note(broker, text);
      return original_->eft->newString(broker, text, status);
    };
    mem_.mark = [](const CMPIBroker* broker, CMPIStatus* status) {
      Note(broker, "mark");
      return original_->mft->mark(broker, status);
    };
    mem_.release = [](const CMPIBroker* broker, const CMPIGcStat* mark) {
      Note(broker, "release");
      return original_->mft->release(broker, mark);
    };
  }
  NamedBroker(const NamedBroker&) = delete;
  NamedBroker& operator=(const NamedBroker&) = delete;

  const CMPIBroker* raw() const { return &record_; }

  inline static std::vector<std::string> notes;

 private:
  static void Note(const CMPIBroker* broker, const std::string& call) {
    notes.push_back(static_cast<const char*>(broker->hdl) + (": " + call));
  }

  inline static const CMPIBroker* original_ = nullptr;
  CMPIBrokerEncFT enc_;
  CMPIBrokerMemFT mem_;
  CMPIBroker record_;
};

// Makes two paths in each enumeration of names, with what a test has it do between them.
class PathMaker : public InstanceOnlyProvider {
 public:
  PathMaker(const NamedBroker& broker, const CMPIContext* context)
      : CmpiBaseMI(CmpiBroker(broker.raw()), CmpiContext(context)),
        CmpiInstanceMI(CmpiBroker(broker.raw()), CmpiContext(context)),
        InstanceOnlyProvider(CmpiBroker(broker.raw()), CmpiContext(context)) {}
  CmpiStatus enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                               const CmpiObjectPath& /*path*/) override {
    const CmpiElementScope scope;
    CmpiObjectPath("root/cimv2", "C");
    meanwhile();
    CmpiObjectPath("root/cimv2", "C");
    return {CMPI_RC_ERR_FAILED, "done"};
  }
  std::function<void()> meanwhile = [] {};
};

class BrokersTest : public DriveTest {
 protected:
  BrokersTest() { NamedBroker::notes.clear(); }

  void Enumerate(PathMaker& provider) {
    CMPIInstanceMI record{};
    CmpiBaseMI* object = &provider;
    record.hdl = object;
    CmpiInstanceMI::driveEnumInstanceNames(&record, context_, result_, path_);
  }

  NamedBroker first_{"first", broker_.raw()};
  PathMaker provider_{first_, context_};
};

TEST_F(BrokersTest, EachProviderUsesTheOneThatItWasMadeWith) {
  const NamedBroker second("second", broker_.raw());
  PathMaker other(second, context_);
  provider_.meanwhile = [&] { Enumerate(other); };  // as an up-call may, on the same thread
  Enumerate(provider_);
  EXPECT_THAT(NamedBroker::notes,
              ElementsAre("first: mark", "first: path", "second: mark", "second: path",
                          "second: path", "second: release", "second: done", "first: path",
                          "first: release", "first: done"));
}

TEST_F(BrokersTest, OneThatIsGoneWithItsProviderIsNotUsed) {
  {
    const NamedBroker second("second", broker_.raw());
    PathMaker other(second, context_);
    Enumerate(other);
  }
  NamedBroker::notes.clear();
  Enumerate(provider_);
  EXPECT_THAT(NamedBroker::notes, ElementsAre("first: mark", "first: path", "first: path",
                                              "first: release", "first: done"));
}

TEST_F(BrokersTest, NoneIsLeftBehindByACall) {
  Enumerate(provider_);
  EXPECT_EQ(ostInt::CallBroker(), nullptr);
}

}  // namespace
