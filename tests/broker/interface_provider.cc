// The tables as the interface promises them, one function after the other.

#include <cstring>

#include "interface_checks.h"
#include "platform/cmpi/cmpi.h"

namespace {

using guest::broker;
using guest::Chars;
using guest::Is;
using guest::Ok;
using guest::rc;

void Strings() {
  CMPIString* text = broker->eft->newString(broker, "text", &rc);
  EXPECT(Ok() && Is(text, "text"));
  CMPIString* clone = text->ft->clone(text, &rc);
  EXPECT(Ok() && clone != text && Is(clone, "text"));
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  EXPECT(broker->eft->isOfType(broker, text, "CMPIString", &rc) == 1);
  EXPECT(broker->eft->isOfType(broker, text, "CMPIArray", &rc) == 0);
  EXPECT(Is(broker->eft->getType(broker, text, &rc), "CMPIString"));
  EXPECT(Is(broker->eft->toString(broker, text, &rc), "text"));
  EXPECT(Is(broker->eft->newString(broker, nullptr, &rc), "") && Ok());
}

void Arrays() {
  CMPIArray* numbers = broker->eft->newArray(broker, 3, CMPI_uint16, &rc);
  EXPECT(Ok() && numbers->ft->getSize(numbers, &rc) == 3);
  EXPECT(numbers->ft->getSimpleType(numbers, &rc) == CMPI_uint16);
  CMPIValue value;
  value.uint16 = 7;
  EXPECT(numbers->ft->setElementAt(numbers, 1, &value, CMPI_uint16).rc == CMPI_RC_OK);
  CMPIData data = numbers->ft->getElementAt(numbers, 1, &rc);
  EXPECT(Ok() && data.type == CMPI_uint16 && data.state == CMPI_goodValue);
  EXPECT(data.value.uint16 == 7);
  data = numbers->ft->getElementAt(numbers, 0, &rc);
  EXPECT(Ok() && (data.state & CMPI_nullValue) != 0);
  CMPIArray* texts = broker->eft->newArray(broker, 1, CMPI_chars, &rc);
  EXPECT(texts->ft->getSimpleType(texts, &rc) == CMPI_string);
  EXPECT(texts->ft->setElementAt(texts, 0, Chars("a"), CMPI_chars).rc == CMPI_RC_OK);
  data = texts->ft->getElementAt(texts, 0, &rc);
  EXPECT(data.type == CMPI_string && Is(data.value.string, "a"));
  CMPIArray* clone = texts->ft->clone(texts, &rc);
  EXPECT(Ok() && Is(clone->ft->getElementAt(clone, 0, &rc).value.string, "a"));
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  CMPIArray* none = broker->eft->newArray(broker, 0, CMPI_uint16, &rc);
  EXPECT(Ok() && none->ft->getSize(none, &rc) == 0);
}

void Paths() {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/a", "Ostrel_PCIPort", &rc);
  EXPECT(Ok() && Is(path->ft->getNameSpace(path, &rc), "root/a"));
  EXPECT(Is(path->ft->getClassName(path, &rc), "Ostrel_PCIPort"));
  EXPECT(Is(path->ft->getHostname(path, &rc), ""));
  EXPECT(broker->eft->classPathIsA(broker, path, "cim_logicaldevice", &rc) == 1);
  EXPECT(broker->eft->classPathIsA(broker, path, "Ostrel_PCIDevice", &rc) == 0);
  EXPECT(path->ft->addKey(path, "DeviceID", Chars("a\"b\\"), CMPI_chars).rc == CMPI_RC_OK);
  CMPIValue number;
  number.sint32 = -5;
  EXPECT(path->ft->addKey(path, "Number", &number, CMPI_sint32).rc == CMPI_RC_OK);
  EXPECT(path->ft->getKeyCount(path, &rc) == 2);
  EXPECT(path->ft->addKey(path, "DEVICEID", Chars("c\"d\\"), CMPI_chars).rc == CMPI_RC_OK);
  EXPECT(path->ft->getKeyCount(path, &rc) == 2);
  CMPIData key = path->ft->getKey(path, "deviceid", &rc);
  EXPECT(Ok() && key.type == CMPI_string && key.state == CMPI_keyValue);
  EXPECT(Is(key.value.string, "c\"d\\"));
  key = path->ft->getKey(path, "Absent", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY && (key.state & CMPI_notFound) != 0);
  path->ft->getKey(path, "Absent", nullptr);  // every rc may be null
  CMPIString* name = nullptr;
  key = path->ft->getKeyAt(path, 1, &name, &rc);
  EXPECT(Ok() && Is(name, "Number") && key.type == CMPI_sint32 && key.value.sint32 == -5);
  path->ft->getKeyAt(path, 2, nullptr, &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY);
  constexpr const char* kUri = "root/a:Ostrel_PCIPort.DeviceID=\"c\\\"d\\\\\",Number=-5";
  EXPECT(Is(path->ft->toString(path, &rc), kUri));
  EXPECT(Is(broker->eft->toString(broker, path, &rc), kUri));

  CMPIObjectPath* other = broker->eft->newObjectPath(broker, "", "Unknown_Class", &rc);
  EXPECT(broker->eft->classPathIsA(broker, other, "UNKNOWN_CLASS", &rc) == 1);
  EXPECT(broker->eft->classPathIsA(broker, other, "CIM_System", &rc) == 0);
  path->ft->setHostname(path, "host");
  EXPECT(other->ft->setHostAndNameSpaceFromObjectPath(other, path).rc == CMPI_RC_OK);
  EXPECT(Is(other->ft->getHostname(other, &rc), "host"));
  EXPECT(Is(other->ft->getNameSpace(other, &rc), "root/a"));
  path->ft->setNameSpace(path, "root/b");
  EXPECT(other->ft->setNameSpaceFromObjectPath(other, path).rc == CMPI_RC_OK);
  EXPECT(Is(other->ft->getNameSpace(other, &rc), "root/b"));
  other->ft->setClassName(other, "Guest_Link");
  CMPIValue reference;
  reference.ref = path;
  EXPECT(other->ft->addKey(other, "End", &reference, CMPI_ref).rc == CMPI_RC_OK);
  // What was handed over is a copy.
  path->ft->setClassName(path, "Changed");
  CMPIObjectPath* clone = other->ft->clone(other, &rc);
  CMPIObjectPath* end = clone->ft->getKey(clone, "End", &rc).value.ref;
  EXPECT(Is(end->ft->getClassName(end, &rc), "Ostrel_PCIPort"));
  EXPECT(clone->ft->addKey(clone, "More", Chars("more"), CMPI_chars).rc == CMPI_RC_OK);
  EXPECT(clone->ft->getKeyCount(clone, &rc) == 2 && other->ft->getKeyCount(other, &rc) == 1);
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  path->ft->getClassQualifier(path, "Version", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED);
  path->ft->getPropertyQualifier(path, "DeviceID", "Key", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED);
  path->ft->getMethodQualifier(path, "Reset", "Key", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED);
  path->ft->getParameterQualifier(path, "Reset", "P", "Key", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED);
}

void Instances() {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/a", "Ostrel_PCIPortGroup", &rc);
  path->ft->addKey(path, "InstanceID", Chars("Ostrel:bus-3"), CMPI_chars);
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  EXPECT(Ok() && instance->ft->getPropertyCount(instance, &rc) == 1);
  CMPIValue value;
  value.uint8 = 3;
  EXPECT(instance->ft->setProperty(instance, "busnumber", &value, CMPI_uint8).rc == CMPI_RC_OK);
  EXPECT(instance->ft->setProperty(instance, "ElementName", Chars("x"), CMPI_chars).rc ==
         CMPI_RC_OK);
  CMPIData data = instance->ft->getProperty(instance, "BUSNUMBER", &rc);
  EXPECT(Ok() && data.type == CMPI_uint8 && data.value.uint8 == 3);
  CMPIString* name = nullptr;
  instance->ft->getPropertyAt(instance, 1, &name, &rc);
  EXPECT(Ok() && Is(name, "busnumber"));
  data = instance->ft->getProperty(instance, "Absent", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY && (data.state & CMPI_notFound) != 0);
  CMPIInstance* clone = instance->ft->clone(instance, &rc);
  const char* listed[] = {"ELEMENTNAME", nullptr};
  EXPECT(instance->ft->setPropertyFilter(instance, listed, nullptr).rc == CMPI_RC_OK);
  EXPECT(instance->ft->getPropertyCount(instance, &rc) == 2);  // the key stays
  EXPECT(instance->ft->setProperty(instance, "BusNumber", &value, CMPI_uint8).rc == CMPI_RC_OK);
  EXPECT(instance->ft->getPropertyCount(instance, &rc) == 3);
  const char* none[] = {nullptr};
  const char* keys[] = {"BusNumber", nullptr};
  EXPECT(instance->ft->setPropertyFilter(instance, none, keys).rc == CMPI_RC_OK);
  EXPECT(instance->ft->getPropertyCount(instance, &rc) == 2);
  EXPECT(clone->ft->getPropertyCount(clone, &rc) == 3);
  EXPECT(clone->ft->setPropertyFilter(clone, nullptr, nullptr).rc == CMPI_RC_OK);
  EXPECT(clone->ft->getPropertyCount(clone, &rc) == 3);
  CMPIObjectPath* own = clone->ft->getObjectPath(clone, &rc);
  EXPECT(Ok() &&
         Is(own->ft->toString(own, &rc), "root/a:Ostrel_PCIPortGroup.InstanceID=\"Ostrel:bus-3\""));
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  CMPIObjectPath* other = broker->eft->newObjectPath(broker, "root/a", "Unknown_Class", &rc);
  other->ft->addKey(other, "Id", Chars("1"), CMPI_chars);
  EXPECT(instance->ft->setObjectPath(instance, other).rc == CMPI_RC_OK);
  EXPECT(Is(instance->ft->getProperty(instance, "ID", &rc).value.string, "1"));
  value.inst = instance;
  CMPIInstance* holder = broker->eft->newInstance(broker, other, &rc);
  EXPECT(holder->ft->setProperty(holder, "Held", &value, CMPI_instance).rc == CMPI_RC_OK);
  EXPECT(holder->ft->setProperty(holder, "Nothing", nullptr, CMPI_string).rc == CMPI_RC_OK);
  EXPECT((holder->ft->getProperty(holder, "Nothing", &rc).state & CMPI_nullValue) != 0);
  value.string = nullptr;  // a null record is a null value as well
  EXPECT(holder->ft->setProperty(holder, "NullRecord", &value, CMPI_string).rc == CMPI_RC_OK);
  EXPECT((holder->ft->getProperty(holder, "NullRecord", &rc).state & CMPI_nullValue) != 0);
  if (broker->bft->brokerVersion < CMPIVersion200) return;
  EXPECT(
      holder->ft->setPropertyWithOrigin(holder, "Origin", Chars("kept"), CMPI_chars, "CIM_X").rc ==
      CMPI_RC_OK);
  EXPECT(Is(holder->ft->getProperty(holder, "Origin", &rc).value.string, "kept"));
}

void Arguments() {
  CMPIArgs* args = broker->eft->newArgs(broker, &rc);
  EXPECT(Ok() && args->ft->getArgCount(args, &rc) == 0);
  CMPIValue value;
  value.boolean = 1;
  EXPECT(args->ft->addArg(args, "Force", &value, CMPI_boolean).rc == CMPI_RC_OK);
  EXPECT(args->ft->getArg(args, "FORCE", &rc).value.boolean == 1);
  CMPIString* name = nullptr;
  args->ft->getArgAt(args, 0, &name, &rc);
  EXPECT(Ok() && Is(name, "Force"));
  CMPIArgs* clone = args->ft->clone(args, &rc);
  EXPECT(Ok() && clone->ft->getArgCount(clone, &rc) == 1);
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  args->ft->getArgAt(args, 1, nullptr, &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

void Contexts(const CMPIContext* context) {
  EXPECT(context->ft->getEntry(context, "cmpiinvocationflags", &rc).value.uint32 == 0 && Ok());
  CMPIContext* clone = context->ft->clone(context, &rc);
  EXPECT(Ok() && clone->ft->addEntry(clone, "Own", Chars("entry"), CMPI_chars).rc == CMPI_RC_OK);
  EXPECT(Is(clone->ft->getEntry(clone, "OWN", &rc).value.string, "entry"));
  EXPECT(clone->ft->getEntryCount(clone, &rc) == context->ft->getEntryCount(context, &rc) + 1);
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
}

void Times() {
  constexpr const char* kTime = "20261121120000.250000+060";
  CMPIDateTime* time = broker->eft->newDateTimeFromChars(broker, kTime, &rc);
  EXPECT(Ok() && Is(time->ft->getStringFormat(time, &rc), kTime));
  EXPECT(time->ft->isInterval(time, &rc) == 0);
  const CMPIUint64 binary = time->ft->getBinaryFormat(time, &rc);
  EXPECT(binary == 1795258800250000ULL);
  CMPIDateTime* same = broker->eft->newDateTimeFromBinary(broker, binary, 0, &rc);
  EXPECT(Is(same->ft->getStringFormat(same, &rc), "20261121110000.250000+000"));
  CMPIDateTime* interval = broker->eft->newDateTimeFromBinary(broker, 90'061'000'000ULL, 1, &rc);
  EXPECT(Is(interval->ft->getStringFormat(interval, &rc), "00000001010101.000000:000"));
  EXPECT(interval->ft->isInterval(interval, &rc) == 1);
  EXPECT(interval->ft->getBinaryFormat(interval, &rc) == 90'061'000'000ULL);
  EXPECT(broker->eft->newDateTimeFromChars(broker, "yesterday", &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_PARAMETER);
  CMPIDateTime* now = broker->eft->newDateTime(broker, &rc);
  EXPECT(Ok() && now->ft->getBinaryFormat(now, &rc) > 1'700'000'000'000'000ULL);
  CMPIDateTime* clone = time->ft->clone(time, &rc);
  EXPECT(Ok() && Is(clone->ft->getStringFormat(clone, &rc), kTime));
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  EXPECT(Is(broker->eft->toString(broker, time, &rc), kTime));
  CMPIArgs* args = broker->eft->newArgs(broker, &rc);
  CMPIValue value;
  value.dateTime = time;
  EXPECT(args->ft->addArg(args, "When", &value, CMPI_dateTime).rc == CMPI_RC_OK);
  const CMPIDateTime* kept = args->ft->getArg(args, "When", &rc).value.dateTime;
  EXPECT(kept != time && Is(kept->ft->getStringFormat(kept, &rc), kTime));
}

void Messages() {
  EXPECT(Is(
      broker->eft->getMessage(broker, "id", "$2 of $1", &rc, 2, CMPI_chars, "text", CMPI_uint32, 5),
      "5 of text"));
  CMPIString* inserted = broker->eft->newString(broker, "string", &rc);
  EXPECT(Is(
      broker->eft->getMessage(broker, "id", "$1 $2 $3 $4 $5 $6", &rc, 6, CMPI_string, inserted,
                              CMPI_uint64, CMPIUint64{18446744073709551615ULL}, CMPI_sint64,
                              CMPISint64{-9}, CMPI_real64, 0.5, CMPI_boolean, 1, CMPI_sint32, -7),
      "string 18446744073709551615 -9 0.500000 true -7"));
  EXPECT(Is(broker->eft->getMessage(broker, "id", "$1 costs $2 and $", &rc, 1, CMPI_boolean, 0),
            "false costs $2 and $"));
  EXPECT(broker->eft->logMessage(broker, 1, "id", "logged", nullptr).rc == CMPI_RC_OK);
  CMPIString* text = broker->eft->newString(broker, "traced", &rc);
  EXPECT(broker->eft->trace(broker, 2, "part", nullptr, text).rc == CMPI_RC_OK);
  EXPECT(broker->eft->newSelectExp(broker, "select", "WQL", nullptr, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED);
}

void Errors() {
  CMPIError* error = broker->eft->newCMPIError(broker, "owner", "id", "message", ErrSevLow,
                                               ErrProbCauseUnknown, CMPI_RC_ERR_FAILED, &rc);
  EXPECT(Ok() && Is(error->ft->getMessage(error, &rc), "message"));
  EXPECT(Is(error->ft->getOwningEntity(error, &rc), "owner"));
  EXPECT(Is(error->ft->getMessageID(error, &rc), "id"));
  EXPECT(error->ft->getPerceivedSeverity(error, &rc) == ErrSevLow);
  EXPECT(error->ft->getProbableCause(error, &rc) == ErrProbCauseUnknown);
  EXPECT(error->ft->getCIMStatusCode(error, &rc) == CMPI_RC_ERR_FAILED);
  EXPECT(error->ft->getErrorSource(error, &rc) == nullptr && Ok());
  error->ft->setErrorType(error, SoftwareErrorType);
  EXPECT(error->ft->getErrorType(error, &rc) == SoftwareErrorType);
  error->ft->setErrorSource(error, "source");
  EXPECT(Is(error->ft->getErrorSource(error, &rc), "source"));
  CMPIArray* actions = broker->eft->newArray(broker, 1, CMPI_string, &rc);
  error->ft->setRecommendedActions(error, actions);
  CMPIError* clone = error->ft->clone(error, &rc);
  CMPIArray* kept = clone->ft->getRecommendedActions(clone, &rc);
  EXPECT(kept != nullptr && kept->ft->getSize(kept, &rc) == 1);
  EXPECT(Is(clone->ft->getErrorSource(clone, &rc), "source"));
  EXPECT(clone->ft->getMessageArguments(clone, &rc) == nullptr);
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
}

void Memory() {
  auto* block = static_cast<char*>(broker->mft->cmpiMalloc(broker, 10));
  std::memset(block, 'x', 10);
  block = static_cast<char*>(broker->mft->cmpiRealloc(broker, block, 100000));
  EXPECT(block[9] == 'x');
  for (std::size_t little = 0; little < sizeof(void*) * 2; ++little) {
    EXPECT(broker->mft->cmpiMalloc(broker, ~little) == nullptr);
    EXPECT(broker->mft->cmpiRealloc(broker, block, ~little) == nullptr);
  }
  auto* zeros = static_cast<char*>(broker->mft->cmpiCalloc(broker, 4, 4));
  EXPECT(zeros[15] == 0);
  EXPECT(broker->mft->cmpiCalloc(broker, ~std::size_t{0}, 2) == nullptr);
  broker->mft->cmpiFree(broker, block);
  EXPECT(std::strcmp(broker->mft->cmpiStrDup(broker, "kept"), "kept") == 0);
  CMPIGcStat* mark = broker->mft->mark(broker, &rc);
  EXPECT(Ok() && mark != nullptr);
  broker->mft->mark(broker, &rc);  // ends with the mark below it
  EXPECT(broker->mft->release(broker, mark).rc == CMPI_RC_OK);
  CMPIString* text = broker->eft->newString(broker, "text", &rc);
  broker->mft->freeString(broker, text);
  CMPIStatus message_file = broker->eft->openMessageFile(broker, "file", nullptr);
  EXPECT(message_file.rc == CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT(broker->eft->closeMessageFile(broker, nullptr).rc == CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT(Is(broker->eft->getMessage2(broker, "id", nullptr, "$1", &rc, 1, CMPI_sint32, 4), "4"));
  EXPECT(broker->mft->cmpiStrDup(broker, nullptr) == nullptr);
  EXPECT(broker->mft->cmpiRealloc(broker, nullptr, 8) != nullptr);
  broker->mft->cmpiFree(broker, nullptr);
  broker->mft->freeSelectExp(broker, nullptr);
}

int once_runs = 0;
void* Double(void* number) {
  *static_cast<int*>(number) *= 2;
  return number;
}

void System() {
  const CMPIBrokerExtFT& xft = *broker->xft;
  int number = 21;
  void* thread = xft.newThread(Double, &number, 0);
  void* answer = nullptr;
  EXPECT(xft.joinThread(thread, &answer) == 0 && answer == &number && number == 42);
  static int once = 0;  // PTHREAD_ONCE_INIT
  xft.threadOnce(&once, [] { ++once_runs; });
  xft.threadOnce(&once, [] { ++once_runs; });
  EXPECT(once_runs == 1);
  unsigned long key = 0;
  EXPECT(xft.createThreadKey(&key, nullptr) == 0);
  EXPECT(xft.setThreadSpecific(key, &number) == 0 && xft.getThreadSpecific(key) == &number);
  EXPECT(xft.destroyThreadKey(key) == 0);
  void* mutex = xft.newMutex(0);
  void* condition = xft.newCondition(0);
  xft.lockMutex(mutex);
  timespec past{1, 0};
  EXPECT(xft.timedCondWait(condition, mutex, &past) != 0);
  EXPECT(xft.signalCondition(condition) == 0);
  xft.unlockMutex(mutex);
  xft.destroyCondition(condition);
  xft.destroyMutex(mutex);
  EXPECT(xft.threadSleep(0) == 0);
  EXPECT(xft.resolveFileName("messages") == nullptr);
}

// A thread that waits for the word of another.
struct Handshake {
  void* mutex = broker->xft->newMutex(0);
  void* condition = broker->xft->newCondition(0);
  bool waiting = false;
  bool told = false;

  Handshake() = default;
  Handshake(const Handshake&) = delete;
  Handshake& operator=(const Handshake&) = delete;
  ~Handshake() {
    broker->xft->destroyCondition(condition);
    broker->xft->destroyMutex(mutex);
  }
};

void* WaitAndExit(void* parameter) {
  auto* handshake = static_cast<Handshake*>(parameter);
  broker->xft->lockMutex(handshake->mutex);
  handshake->waiting = true;
  broker->xft->signalCondition(handshake->condition);
  while (!handshake->told) broker->xft->condWait(handshake->condition, handshake->mutex);
  broker->xft->unlockMutex(handshake->mutex);
  broker->xft->exitThread(handshake);
  return nullptr;
}

void* WaitForCancellation(void*) {
  for (;;) broker->xft->threadSleep(1000);
}

void Threads() {
  const CMPIBrokerExtFT& xft = *broker->xft;
  Handshake handshake;
  void* thread = xft.newThread(WaitAndExit, &handshake, 0);
  xft.lockMutex(handshake.mutex);
  while (!handshake.waiting) xft.condWait(handshake.condition, handshake.mutex);
  handshake.told = true;
  EXPECT(xft.signalCondition(handshake.condition) == 0);
  xft.unlockMutex(handshake.mutex);
  void* answer = nullptr;
  EXPECT(xft.joinThread(thread, &answer) == 0 && answer == &handshake);

  thread = xft.newThread(WaitForCancellation, nullptr, 0);
  EXPECT(xft.cancelThread(thread) == 0);
  EXPECT(xft.joinThread(thread, &answer) == 0 && answer != &handshake);
}

bool HasType(const void* object, const char* type) {
  return Is(broker->eft->getType(broker, object, &rc), type) &&
         broker->eft->isOfType(broker, object, type, &rc) == 1;
}

void Types(const guest::Request& request) {
  const CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/a", "Guest_Type", &rc);
  EXPECT(HasType(path, "CMPIObjectPath"));
  EXPECT(HasType(broker->eft->newInstance(broker, path, &rc), "CMPIInstance"));
  EXPECT(HasType(broker->eft->newArray(broker, 1, CMPI_uint8, &rc), "CMPIArray"));
  EXPECT(HasType(broker->eft->newArgs(broker, &rc), "CMPIArgs"));
  EXPECT(HasType(broker->eft->newDateTime(broker, &rc), "CMPIDateTime"));
  EXPECT(HasType(request.context, "CMPIContext"));
  EXPECT(HasType(request.result, "CMPIResult"));
  if (broker->bft->brokerVersion < CMPIVersion200) return;
  EXPECT(HasType(broker->eft->newCMPIError(broker, "o", "i", "m", ErrSevLow, ErrProbCauseUnknown,
                                           CMPI_RC_ERR_FAILED, &rc),
                 "CMPIError"));
}

void CheckAll(const guest::Request& request) {
  Types(request);
  Strings();
  Arrays();
  Paths();
  Instances();
  Arguments();
  Contexts(request.context);
  Times();
  Messages();
  System();
  Threads();
  if (broker->bft->brokerVersion >= CMPIVersion200) Errors();
  if ((broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements) != 0) Memory();
}

}  // namespace

CHECKING_CLASS(Guest_Interface, CheckAll)
