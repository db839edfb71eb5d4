// A provider library for the tests of the object manager: well-behaved classes, and classes that
// each misuse the interface in one way. It knows nothing but the C interface.

#include <pthread.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <string>

#include "platform/cmpi/cmpi.h"

namespace {

// The factories of different classes may set it at once, to the same broker.
class BrokerRecord {
 public:
  void operator=(const CMPIBroker* set) { record_.store(set); }
  operator const CMPIBroker*() const { return record_.load(); }
  const CMPIBroker* operator->() const { return record_.load(); }

 private:
  std::atomic<const CMPIBroker*> record_{nullptr};
} broker;

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

CMPIStatus Failed(CMPIrc code, const char* text) {
  return {code, broker->eft->newString(broker, text, nullptr)};
}

const CMPIValue* Chars(const char* text) { return reinterpret_cast<const CMPIValue*>(text); }

const char* Text(const CMPIString* string) {
  return string != nullptr ? string->ft->getCharPtr(string, nullptr) : "";
}

CMPIObjectPath* NewPath(const char* class_name, const char* name) {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/cimv2", class_name, nullptr);
  path->ft->addKey(path, "Name", Chars(name), CMPI_chars);
  return path;
}

CMPIInstance* NewInstance(const char* class_name, const char* name) {
  return broker->eft->newInstance(broker, NewPath(class_name, name), nullptr);
}

void SetUint32(CMPIInstance* instance, const char* name, CMPIUint32 number) {
  CMPIValue value;
  value.uint32 = number;
  instance->ft->setProperty(instance, name, &value, CMPI_uint32);
}

CMPIUint32 NumberKey(const CMPIObjectPath* path, const char* name) {
  CMPIStatus rc = kOk;
  const CMPIData data = path->ft->getKey(path, name, &rc);
  return rc.rc == CMPI_RC_OK ? data.value.uint32 : 0;
}

CMPIStatus ReturnNamed(const CMPIResult* result, const char* class_name, const char* name) {
  return result->ft->returnInstance(result, NewInstance(class_name, name));
}

// What the entry points of a class get.
struct Call {
  const CMPIContext* context;
  const CMPIResult* result;
  const CMPIObjectPath* path;
  const char** properties;
};

// ---------------------------------------------------------------------------------------------
// Well-behaved

const char* const kNames[] = {"one", "two", "three"};

CMPIStatus PlainInstances(const Call& call) {
  for (CMPIUint32 i = 0; i < 3; ++i) {
    CMPIInstance* instance = NewInstance("Test_Plain", kNames[i]);
    SetUint32(instance, "Number", i + 1);
    instance->ft->setProperty(instance, "Text", Chars("a \"text\""), CMPI_chars);
    instance->ft->setPropertyFilter(instance, call.properties, nullptr);
    call.result->ft->returnInstance(call.result, instance);
  }
  return call.result->ft->returnDone(call.result);
}

CMPIStatus PlainNames(const Call& call) {
  for (const char* name : kNames) {
    call.result->ft->returnObjectPath(call.result, NewPath("Test_Plain", name));
  }
  call.result->ft->returnDone(call.result);
  return call.result->ft->returnDone(call.result);  // twice is once
}

CMPIStatus PlainInstance(const Call& call) {
  CMPIStatus rc = kOk;
  const CMPIData name = call.path->ft->getKey(call.path, "NAME", &rc);
  if (rc.rc != CMPI_RC_OK) return Failed(rc.rc, "no key");
  for (const char* known : kNames) {
    if (std::strcmp(Text(name.value.string), known) == 0) {
      return ReturnNamed(call.result, "Test_Plain", known);
    }
  }
  return kOk;  // and no instance
}

// Asks for a class, its name in the key "Ask", and returns what it finds.
CMPIStatus AskInstances(const Call& call) {
  const char* asked = Text(call.path->ft->getKey(call.path, "Ask", nullptr).value.string);
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/cimv2", asked, nullptr);
  CMPIStatus rc = kOk;
  CMPIEnumeration* found =
      broker->bft->enumerateInstances(broker, call.context, path, call.properties, &rc);
  if (found == nullptr) return rc;
  while (found->ft->hasNext(found, nullptr) != 0) {
    const CMPIData data = found->ft->getNext(found, nullptr);
    call.result->ft->returnInstance(call.result, data.value.inst);
  }
  return call.result->ft->returnDone(call.result);
}

CMPIStatus AskNames(const Call& call) {
  const char* asked = Text(call.path->ft->getKey(call.path, "Ask", nullptr).value.string);
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/cimv2", asked, nullptr);
  CMPIStatus rc = kOk;
  CMPIEnumeration* found = broker->bft->enumerateInstanceNames(broker, call.context, path, &rc);
  if (found == nullptr) return rc;
  while (found->ft->hasNext(found, nullptr) != 0) {
    const CMPIData data = found->ft->getNext(found, nullptr);
    call.result->ft->returnObjectPath(call.result, data.value.ref);
  }
  return kOk;
}

// Each level returns itself after the levels below it, asked for through the object manager.
CMPIStatus RecursiveInstances(const Call& call) {
  const CMPIUint32 depth = NumberKey(call.path, "Depth");
  if (depth > 0) {
    CMPIObjectPath* below = NewPath("Test_Recursive", "below");
    CMPIValue value;
    value.uint32 = depth - 1;
    below->ft->addKey(below, "Depth", &value, CMPI_uint32);
    CMPIStatus rc = kOk;
    CMPIEnumeration* found =
        broker->bft->enumerateInstances(broker, call.context, below, nullptr, &rc);
    if (found == nullptr) return rc;
    while (found->ft->hasNext(found, nullptr) != 0) {
      call.result->ft->returnInstance(call.result, found->ft->getNext(found, nullptr).value.inst);
    }
  }
  CMPIInstance* instance = NewInstance("Test_Recursive", "level");
  SetUint32(instance, "Depth", depth);
  return call.result->ft->returnInstance(call.result, instance);
}

// As many instances as the key "Count" says, each between mark and release where there are any.
CMPIStatus LongInstances(const Call& call) {
  const CMPIUint32 count = NumberKey(call.path, "Count");
  const bool marks = (broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements) != 0 &&
                     NumberKey(call.path, "Mark") != 0;
  for (CMPIUint32 i = 0; i < count; ++i) {
    CMPIGcStat* mark = marks ? broker->mft->mark(broker, nullptr) : nullptr;
    CMPIInstance* instance = NewInstance("Test_Long", "element");
    SetUint32(instance, "Number", i);
    for (const char* property : {"A", "B", "C", "D"}) {
      instance->ft->setProperty(instance, property, Chars("some text of a usual length"),
                                CMPI_chars);
    }
    call.result->ft->returnInstance(call.result, instance);
    if (marks) broker->mft->release(broker, mark);
  }
  return call.result->ft->returnDone(call.result);
}

// Grows an instance that is older than the mark, inside of the mark.
CMPIStatus GrowInstances(const Call& call) {
  CMPIInstance* instance = NewInstance("Test_Grow", "grown");
  for (int i = 0; i < 100; ++i) {
    CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
    const std::string name = "Property" + std::to_string(i);
    instance->ft->setProperty(instance, name.c_str(), Chars(name.c_str()), CMPI_chars);
    broker->mft->release(broker, mark);
  }
  return call.result->ft->returnInstance(call.result, instance);
}

// Shows what it was given: the path and the property list.
CMPIStatus EchoInstances(const Call& call) {
  if (call.context == nullptr) return Failed(CMPI_RC_ERR_FAILED, "no context");
  CMPIInstance* instance = NewInstance("Test_Echo", "echo");
  const CMPIString* path = broker->eft->toString(broker, call.path, nullptr);
  instance->ft->setProperty(instance, "Path", Chars(Text(path)), CMPI_chars);
  std::string listed = call.properties == nullptr ? "all" : "";
  for (const char** name = call.properties; name != nullptr && *name != nullptr; ++name) {
    listed += *name;
    listed += ' ';
  }
  instance->ft->setProperty(instance, "Listed", Chars(listed.c_str()), CMPI_chars);
  return call.result->ft->returnInstance(call.result, instance);
}

// ---------------------------------------------------------------------------------------------
// Misbehaving

CMPIStatus WrongTypeInstances(const Call& call) {
  CMPIObjectPath* path =
      broker->eft->newObjectPath(broker, "root/cimv2", "Ostrel_PCIPortGroup", nullptr);
  path->ft->addKey(path, "InstanceID", Chars("Ostrel:bus-1"), CMPI_chars);
  CMPIInstance* instance = broker->eft->newInstance(broker, path, nullptr);
  CMPIValue value;
  value.uint16 = 1;
  return instance->ft->setProperty(instance, "BusNumber", &value, CMPI_uint16);
  (void)call;
}

CMPIStatus UnknownPropertyInstances(const Call&) {
  CMPIObjectPath* path =
      broker->eft->newObjectPath(broker, "root/cimv2", "Ostrel_PCIPortGroup", nullptr);
  CMPIInstance* instance = broker->eft->newInstance(broker, path, nullptr);
  return instance->ft->setProperty(instance, "Colour", Chars("red"), CMPI_chars);
}

CMPIStatus AfterMarkInstances(const Call& call) {
  CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
  CMPIInstance* instance = NewInstance("Test_AfterMark", "gone");
  broker->mft->release(broker, mark);
  return call.result->ft->returnInstance(call.result, instance);
}

CMPIStatus DoubleMarkReleaseInstances(const Call&) {
  CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
  broker->mft->release(broker, mark);
  return broker->mft->release(broker, mark);
}

CMPIStatus DoubleReleaseInstances(const Call&) {
  CMPIInstance* instance = NewInstance("Test_DoubleRelease", "gone");
  CMPIInstance* clone = instance->ft->clone(instance, nullptr);
  clone->ft->release(clone);
  return clone->ft->release(clone);
}

// Keeps an object from one call to the next.
CMPIInstance* kept = nullptr;

CMPIStatus KeeperInstances(const Call& call) {
  if (kept == nullptr) {
    kept = NewInstance("Test_Keeper", "kept");
    return kOk;
  }
  CMPIInstance* late = kept;
  kept = nullptr;
  return call.result->ft->returnInstance(call.result, late);
}

// Uses an object of the call that asked, which is another one and still runs.
const CMPIObjectPath* outer_path = nullptr;

CMPIStatus OuterInstances(const Call& call) {
  if (outer_path != nullptr) {
    CMPIStatus rc = kOk;
    outer_path->ft->getKeyCount(outer_path, &rc);
    return rc;
  }
  outer_path = call.path;
  CMPIStatus rc = kOk;
  broker->bft->enumerateInstances(broker, call.context, call.path, nullptr, &rc);
  outer_path = nullptr;
  return rc;
}

CMPIStatus AfterDoneInstances(const Call& call) {
  call.result->ft->returnDone(call.result);
  return ReturnNamed(call.result, "Test_AfterDone", "late");
}

CMPIStatus PathForInstanceInstances(const Call& call) {
  return call.result->ft->returnObjectPath(call.result, NewPath("Test_Plain", "path"));
}

CMPIStatus WrongKindInstances(const Call& call) {
  CMPIObjectPath* path = NewPath("Test_WrongKind", "path");
  return call.result->ft->returnInstance(call.result, reinterpret_cast<CMPIInstance*>(path));
}

CMPIStatus NullInstances(const Call& call) {
  CMPIObjectPath* path = NewPath("Test_Null", "path");
  path->ft->addKey(path, nullptr, Chars("value"), CMPI_chars);
  path->ft->addKey(path, "Key", nullptr, CMPI_string);
  broker->eft->newObjectPath(broker, "root/cimv2", nullptr, nullptr);
  return call.result->ft->returnInstance(call.result, nullptr);
}

CMPIStatus ThrowingInstances(const Call&) { throw std::runtime_error("out of the operation"); }

CMPIStatus LeakInstances(const Call& call) {
  CMPIInstance* instance = NewInstance("Test_Leak", "leaked");
  CMPIInstance* leaked = instance->ft->clone(instance, nullptr);
  return call.result->ft->returnInstance(call.result, leaked);
}

// What a thread of the provider's own reaches for.
struct Reached {
  const CMPIObjectPath* alive;
  CMPIInstance* released;
  CMPIInstance* released_with_mark;
};

void* UseOnThread(void* parameter) {
  const auto* reached = static_cast<const Reached*>(parameter);
  reached->alive->ft->getKeyCount(reached->alive, nullptr);
  reached->released->ft->getObjectPath(reached->released, nullptr);
  reached->released_with_mark->ft->getProperty(reached->released_with_mark, "Name", nullptr);
  broker->eft->newString(broker, "text", nullptr);
  return nullptr;
}

CMPIStatus ThreadInstances(const Call& call) {
  Reached reached{call.path, NewInstance("Test_Thread", "released"), nullptr};
  reached.released->ft->release(reached.released);
  CMPIGcStat* mark = broker->mft->mark(broker, nullptr);
  reached.released_with_mark = NewInstance("Test_Thread", "gone with the mark");
  broker->mft->release(broker, mark);
  pthread_t thread;
  pthread_create(&thread, nullptr, UseOnThread, &reached);
  pthread_join(thread, nullptr);
  return kOk;
}

// ---------------------------------------------------------------------------------------------
// Provider records

using Operation = CMPIStatus (*)(const Call&);

CMPIStatus NotServed(const Call&) { return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr}; }

CMPIStatus Cleanup(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) { return kOk; }
CMPIStatus StayLoaded(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) {
  return {CMPI_RC_DO_NOT_UNLOAD, nullptr};
}
CMPIStatus ThrowOnCleanup(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) {
  throw std::runtime_error("thrown on cleanup");
}

template <Operation kNamesOf>
CMPIStatus EnumNames(CMPIInstanceMI*, const CMPIContext* ctx, const CMPIResult* rslt,
                     const CMPIObjectPath* op) {
  return kNamesOf({ctx, rslt, op, nullptr});
}
template <Operation kInstancesOf>
CMPIStatus Listed(CMPIInstanceMI*, const CMPIContext* ctx, const CMPIResult* rslt,
                  const CMPIObjectPath* op, const char** properties) {
  return kInstancesOf({ctx, rslt, op, properties});
}
CMPIStatus Create(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* rslt,
                  const CMPIObjectPath*, const CMPIInstance* inst) {
  const CMPIData name = inst->ft->getProperty(inst, "Name", nullptr);
  rslt->ft->returnObjectPath(rslt, NewPath("Test_Plain", Text(name.value.string)));
  return rslt->ft->returnDone(rslt);
}
CMPIStatus Modify(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*, const CMPIObjectPath*,
                  const CMPIInstance* inst, const char**) {
  return Failed(CMPI_RC_ERR_ACCESS_DENIED,
                Text(inst->ft->getProperty(inst, "Text", nullptr).value.string));
}
CMPIStatus Delete(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*, const CMPIObjectPath*) {
  return kOk;
}
CMPIStatus Query(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*, const CMPIObjectPath*,
                 const char* query, const char* lang) {
  return Failed(CMPI_RC_ERR_INVALID_QUERY, (std::string(lang) + ": " + query).c_str());
}

template <Operation kInstancesOf, Operation kNamesOf = NotServed, Operation kInstanceOf = NotServed>
CMPIInstanceMI* InstanceRecord(const CMPIBroker* mb, decltype(&Cleanup) cleanup = Cleanup) {
  static CMPIInstanceMIFT table = {CMPIVersion200,
                                   CMPIVersion200,
                                   "test",
                                   cleanup,
                                   EnumNames<kNamesOf>,
                                   Listed<kInstancesOf>,
                                   Listed<kInstanceOf>,
                                   Create,
                                   Modify,
                                   Delete,
                                   Query};
  static CMPIInstanceMI record = {nullptr, &table};
  broker = mb;
  return &record;
}

// Holds one instance, from its creation to its deletion: a clone, independent of any call.
CMPIInstance* stored = nullptr;

CMPIStatus StoreInstances(const Call& call) {
  if (stored != nullptr) call.result->ft->returnInstance(call.result, stored);
  return call.result->ft->returnDone(call.result);
}
CMPIStatus StoreCreate(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                       const CMPIObjectPath*, const CMPIInstance* inst) {
  CMPIStatus rc = kOk;
  stored = inst->ft->clone(inst, &rc);
  return rc;
}
CMPIStatus StoreDelete(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                       const CMPIObjectPath*) {
  const CMPIStatus rc = stored->ft->release(stored);
  stored = nullptr;
  return rc;
}

CMPIInstanceMIFT store_table = {CMPIVersion200,
                                CMPIVersion200,
                                "test",
                                Cleanup,
                                EnumNames<NotServed>,
                                Listed<StoreInstances>,
                                Listed<NotServed>,
                                StoreCreate,
                                Modify,
                                StoreDelete,
                                Query};
CMPIInstanceMI store_record = {nullptr, &store_table};

CMPIStatus CleanupLink(CMPIAssociationMI*, const CMPIContext*, CMPIBoolean) { return kOk; }

// An association instance that shows the filters of the request.
CMPIInstance* NewLink(const CMPIObjectPath* from, const char* a, const char* b, const char* c,
                      const char* d) {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/cimv2", "Test_Link", nullptr);
  CMPIValue reference;
  reference.ref = const_cast<CMPIObjectPath*>(from);
  path->ft->addKey(path, "From", &reference, CMPI_ref);
  CMPIInstance* link = broker->eft->newInstance(broker, path, nullptr);
  std::string filters;
  for (const char* filter : {a, b, c, d}) filters += filter != nullptr ? filter : "-";
  link->ft->setProperty(link, "Filters", Chars(filters.c_str()), CMPI_chars);
  return link;
}

CMPIStatus Associators(CMPIAssociationMI*, const CMPIContext*, const CMPIResult* rslt,
                       const CMPIObjectPath* op, const char* assoc, const char* result,
                       const char* role, const char* result_role, const char**) {
  return rslt->ft->returnInstance(rslt, NewLink(op, assoc, result, role, result_role));
}
CMPIStatus AssociatorNames(CMPIAssociationMI*, const CMPIContext*, const CMPIResult* rslt,
                           const CMPIObjectPath*, const char*, const char*, const char*,
                           const char*) {
  return rslt->ft->returnObjectPath(rslt, NewPath("Test_Plain", "one"));
}
CMPIStatus References(CMPIAssociationMI*, const CMPIContext*, const CMPIResult* rslt,
                      const CMPIObjectPath* op, const char* result, const char* role,
                      const char**) {
  return rslt->ft->returnInstance(rslt, NewLink(op, nullptr, result, role, nullptr));
}
CMPIStatus ReferenceNames(CMPIAssociationMI*, const CMPIContext*, const CMPIResult* rslt,
                          const CMPIObjectPath* op, const char* result, const char* role) {
  CMPIInstance* link = NewLink(op, nullptr, result, role, nullptr);
  return rslt->ft->returnObjectPath(rslt, link->ft->getObjectPath(link, nullptr));
}

CMPIAssociationMIFT link_table = {CMPIVersion200, CMPIVersion200,  "test",     CleanupLink,
                                  Associators,    AssociatorNames, References, ReferenceNames};
CMPIAssociationMI link_record = {nullptr, &link_table};

int throwing_factory_calls = 0;

}  // namespace

#define TEST_FACTORY(class_name)                    \
  extern "C" __attribute__((visibility("default"))) \
  CMPIInstanceMI* class_name##_Create_InstanceMI(const CMPIBroker* mb, const CMPIContext*)

TEST_FACTORY(Test_Plain) { return InstanceRecord<PlainInstances, PlainNames, PlainInstance>(mb); }
TEST_FACTORY(Test_Ask) { return InstanceRecord<AskInstances, AskNames>(mb); }
TEST_FACTORY(Test_Recursive) { return InstanceRecord<RecursiveInstances>(mb); }
TEST_FACTORY(Test_Long) { return InstanceRecord<LongInstances>(mb); }
TEST_FACTORY(Test_Grow) { return InstanceRecord<GrowInstances>(mb); }
TEST_FACTORY(Test_Thread) { return InstanceRecord<ThreadInstances>(mb); }
TEST_FACTORY(Test_Echo) { return InstanceRecord<EchoInstances>(mb); }
TEST_FACTORY(Test_Link) { return InstanceRecord<NotServed>(mb); }
TEST_FACTORY(Test_WrongType) { return InstanceRecord<WrongTypeInstances>(mb); }
TEST_FACTORY(Test_UnknownProperty) { return InstanceRecord<UnknownPropertyInstances>(mb); }
TEST_FACTORY(Test_AfterMark) { return InstanceRecord<AfterMarkInstances>(mb); }
TEST_FACTORY(Test_DoubleMarkRelease) { return InstanceRecord<DoubleMarkReleaseInstances>(mb); }
TEST_FACTORY(Test_DoubleRelease) { return InstanceRecord<DoubleReleaseInstances>(mb); }
TEST_FACTORY(Test_Keeper) { return InstanceRecord<KeeperInstances>(mb); }
TEST_FACTORY(Test_Outer) { return InstanceRecord<OuterInstances>(mb); }
TEST_FACTORY(Test_AfterDone) { return InstanceRecord<AfterDoneInstances>(mb); }
TEST_FACTORY(Test_PathForInstance) { return InstanceRecord<PathForInstanceInstances>(mb); }
TEST_FACTORY(Test_WrongKind) { return InstanceRecord<WrongKindInstances>(mb); }
TEST_FACTORY(Test_Null) { return InstanceRecord<NullInstances>(mb); }
TEST_FACTORY(Test_Throwing) { return InstanceRecord<ThrowingInstances>(mb); }
TEST_FACTORY(Test_Leak) { return InstanceRecord<LeakInstances>(mb); }
TEST_FACTORY(Test_Stay) { return InstanceRecord<NotServed, PlainNames>(mb, StayLoaded); }
TEST_FACTORY(Test_ThrowingCleanup) {
  return InstanceRecord<PlainInstances, PlainNames>(mb, ThrowOnCleanup);
}
TEST_FACTORY(Test_Store) {
  broker = mb;
  return &store_record;
}
TEST_FACTORY(Test_NullFactory) {
  broker = mb;
  return nullptr;
}
TEST_FACTORY(Test_ThrowingFactory) {
  if (++throwing_factory_calls % 2 == 1) throw std::runtime_error("the factory is not ready");
  return InstanceRecord<PlainInstances, NotServed, PlainInstance>(mb);
}

extern "C" __attribute__((visibility("default"))) CMPIAssociationMI* Test_Link_Create_AssociationMI(
    const CMPIBroker* mb, const CMPIContext*) {
  broker = mb;
  return &link_record;
}
