// The functions of the tables with arguments that no function may be given: each refuses with a
// code. What the object manager keeps of it stands in guest_check_test.cc.

#include "interface_checks.h"
#include "platform/cmpi/cmpi.h"

namespace {

using guest::broker;
using guest::Chars;
using guest::NamedPath;
using guest::Ok;
using guest::rc;

// Whether a function that takes `rc` last, its result given here, refused the object.
template <class T>
bool Refused(const T& /*answer*/) {
  const bool refused = rc.rc == CMPI_RC_ERR_INVALID_HANDLE;
  rc = {CMPI_RC_OK, nullptr};
  return refused;
}
bool Refused(const CMPIStatus& status) { return status.rc == CMPI_RC_ERR_INVALID_HANDLE; }
bool Refused(const CMPIData& data) {
  return (data.state & CMPI_badValue) != 0 && Refused<CMPIrc>(rc.rc);
}

// ---------------------------------------------------------------------------------------------
// Null objects

void NullValues() {
  const CMPIStringFT& string = *broker->eft->newString(broker, "", &rc)->ft;
  EXPECT(Refused(string.release(nullptr)));
  EXPECT(Refused(string.clone(nullptr, &rc)));
  EXPECT(Refused(string.getCharPtr(nullptr, &rc)));
  const CMPIArrayFT& array = *broker->eft->newArray(broker, 1, CMPI_uint8, &rc)->ft;
  EXPECT(Refused(array.getSize(nullptr, &rc)));
  EXPECT(Refused(array.getSimpleType(nullptr, &rc)));
  EXPECT(Refused(array.getElementAt(nullptr, 0, &rc)));
  EXPECT(Refused(array.setElementAt(nullptr, 0, nullptr, CMPI_uint8)));
  const CMPIArgsFT& args = *broker->eft->newArgs(broker, &rc)->ft;
  EXPECT(Refused(args.addArg(nullptr, "A", Chars("a"), CMPI_chars)));
  EXPECT(Refused(args.getArg(nullptr, "A", &rc)));
  EXPECT(Refused(args.getArgAt(nullptr, 0, nullptr, &rc)));
  EXPECT(Refused(args.getArgCount(nullptr, &rc)));
  const CMPIDateTimeFT& time = *broker->eft->newDateTime(broker, &rc)->ft;
  EXPECT(Refused(time.getBinaryFormat(nullptr, &rc)));
  EXPECT(Refused(time.getStringFormat(nullptr, &rc)));
  EXPECT(Refused(time.isInterval(nullptr, &rc)));
}

void NullPathsAndInstances() {
  CMPIObjectPath* path = NamedPath("Guest_Plain", "one");
  const CMPIObjectPathFT& paths = *path->ft;
  EXPECT(Refused(paths.getClassName(nullptr, &rc)));
  EXPECT(Refused(paths.setClassName(nullptr, "C")));
  EXPECT(Refused(paths.addKey(nullptr, "K", Chars("k"), CMPI_chars)));
  EXPECT(Refused(paths.getKey(nullptr, "K", &rc)));
  EXPECT(Refused(paths.getKeyAt(nullptr, 0, nullptr, &rc)));
  EXPECT(Refused(paths.getKeyCount(nullptr, &rc)));
  EXPECT(Refused(paths.setNameSpaceFromObjectPath(path, nullptr)));
  EXPECT(Refused(paths.setHostAndNameSpaceFromObjectPath(path, nullptr)));
  EXPECT(Refused(paths.toString(nullptr, &rc)));
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  const CMPIInstanceFT& instances = *instance->ft;
  EXPECT(Refused(instances.getProperty(nullptr, "P", &rc)));
  EXPECT(Refused(instances.getPropertyAt(nullptr, 0, nullptr, &rc)));
  EXPECT(Refused(instances.getPropertyCount(nullptr, &rc)));
  EXPECT(Refused(instances.setProperty(nullptr, "P", Chars("p"), CMPI_chars)));
  EXPECT(Refused(instances.getObjectPath(nullptr, &rc)));
  EXPECT(Refused(instances.setPropertyFilter(nullptr, nullptr, nullptr)));
  EXPECT(Refused(instances.setObjectPath(instance, nullptr)));
}

void NullsOfACall(const guest::Request& request) {
  const CMPIContextFT& contexts = *request.context->ft;
  EXPECT(Refused(contexts.getEntry(nullptr, "E", &rc)));
  EXPECT(Refused(contexts.clone(nullptr, &rc)));
  const CMPIResultFT& results = *request.result->ft;
  EXPECT(Refused(results.returnInstance(request.result, nullptr)));
  EXPECT(Refused(results.returnObjectPath(request.result, nullptr)));
  EXPECT(Refused(results.returnDone(nullptr)));
  CMPIEnumeration* found = broker->bft->enumerateInstanceNames(
      broker, request.context, NamedPath("Ostrel_PCIDevice", "any"), &rc);
  EXPECT(Ok());
  EXPECT(Refused(found->ft->getNext(nullptr, &rc)));
  EXPECT(Refused(found->ft->hasNext(nullptr, &rc)));
  EXPECT(Refused(found->ft->toArray(nullptr, &rc)));
}

void NullsToTheBroker(const guest::Request& request) {
  const CMPIBrokerFT& bft = *broker->bft;
  CMPIObjectPath* path = NamedPath("Guest_Plain", "one");
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  EXPECT(Refused(bft.enumerateInstances(broker, request.context, nullptr, nullptr, &rc)));
  EXPECT(Refused(bft.getInstance(broker, request.context, nullptr, nullptr, &rc)));
  EXPECT(Refused(bft.createInstance(broker, request.context, nullptr, instance, &rc)));
  EXPECT(Refused(bft.createInstance(broker, request.context, path, nullptr, &rc)));
  EXPECT(Refused(bft.modifyInstance(broker, request.context, path, nullptr, nullptr)));
  EXPECT(Refused(bft.deleteInstance(broker, request.context, nullptr)));
  EXPECT(bft.prepareAttachThread(broker, nullptr) == nullptr);
  EXPECT(Refused(bft.attachThread(broker, nullptr)));
  EXPECT(broker->eft->newInstance(broker, nullptr, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_PARAMETER);
  rc = {CMPI_RC_OK, nullptr};
  EXPECT(Refused(broker->eft->classPathIsA(broker, nullptr, "CIM_System", &rc)));
  EXPECT(Refused(broker->eft->isOfType(broker, nullptr, "CMPIString", &rc)));
  EXPECT(broker->eft->toString(broker, nullptr, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT(broker->eft->getType(broker, nullptr, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_PARAMETER);
}

void CheckNulls(const guest::Request& request) {
  NullValues();
  NullPathsAndInstances();
  NullsOfACall(request);
  NullsToTheBroker(request);
}

// ---------------------------------------------------------------------------------------------
// Other arguments

bool Is(const CMPIStatus& status, CMPIrc code) { return status.rc == code; }

void WrongArrays() {
  CMPIArray* array = broker->eft->newArray(broker, 2, CMPI_uint8, &rc);
  CMPIValue value;
  value.uint16 = 1;
  EXPECT(Is(array->ft->setElementAt(array, 0, &value, CMPI_uint16), CMPI_RC_ERR_TYPE_MISMATCH));
  EXPECT(Is(array->ft->setElementAt(array, 2, &value, CMPI_uint8), CMPI_RC_ERR_INVALID_PARAMETER));
  array->ft->getElementAt(array, 2, &rc);
  EXPECT(Is(rc, CMPI_RC_ERR_INVALID_PARAMETER));
  EXPECT(broker->eft->newArray(broker, 1, CMPI_args, &rc) == nullptr);
  EXPECT(Is(rc, CMPI_RC_ERR_INVALID_PARAMETER));
  CMPIInstance* instance = broker->eft->newInstance(broker, NamedPath("Guest_Plain", "one"), &rc);
  value.array = array;
  EXPECT(Is(instance->ft->setProperty(instance, "Array", &value, CMPI_string | CMPI_ARRAY),
            CMPI_RC_ERR_TYPE_MISMATCH));
}

void WrongValues() {
  CMPIObjectPath* path = NamedPath("Guest_Plain", "one");
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  CMPIValue value;
  value.uint64 = 0;
  EXPECT(Is(instance->ft->setProperty(instance, "Odd", &value, CMPI_enumeration),
            CMPI_RC_ERR_INVALID_DATA_TYPE));
  EXPECT(Is(path->ft->addKey(path, "Odd", &value, CMPI_instance), CMPI_RC_ERR_INVALID_DATA_TYPE));
  EXPECT(Is(instance->ft->setProperty(instance, nullptr, Chars("x"), CMPI_chars),
            CMPI_RC_ERR_INVALID_PARAMETER));
  instance->ft->getProperty(instance, nullptr, &rc);
  EXPECT(Is(rc, CMPI_RC_ERR_INVALID_PARAMETER));
  broker->eft->classPathIsA(broker, path, nullptr, &rc);
  EXPECT(Is(rc, CMPI_RC_ERR_INVALID_PARAMETER));
  value.string = broker->eft->newString(broker, "gone", &rc);
  value.string->ft->release(value.string);
  EXPECT(Is(instance->ft->setProperty(instance, "Gone", &value, CMPI_string),
            CMPI_RC_ERR_INVALID_HANDLE));
  EXPECT(instance->ft->getPropertyCount(instance, &rc) == 1);  // the key, as before
  struct {
    CMPIString record;
    char rest[64];
  } foreign = {};
  EXPECT(broker->eft->toString(broker, &foreign, &rc) == nullptr);
}

void WrongResults(const guest::Request& request) {
  const CMPIResult* result = request.result;
  EXPECT(Is(result->ft->returnData(result, nullptr, CMPI_instance), CMPI_RC_ERR_INVALID_PARAMETER));
  CMPIValue value;
  value.uint8 = 1;
  EXPECT(Is(result->ft->returnData(result, &value, CMPI_uint8), CMPI_RC_ERR_INVALID_DATA_TYPE));
  value.ref = NamedPath("Guest_Plain", "one");
  EXPECT(Is(result->ft->returnData(result, &value, CMPI_ref), CMPI_RC_ERR_FAILED));
  // A result is its call's: to release it means nothing, to clone it is not served.
  EXPECT(Is(result->ft->release(const_cast<CMPIResult*>(result)), CMPI_RC_OK));
  EXPECT(result->ft->clone(result, &rc) == nullptr && Is(rc, CMPI_RC_ERR_NOT_SUPPORTED));
  CMPIEnumeration* found = broker->bft->enumerateInstances(
      broker, request.context, NamedPath("Ostrel_PCIDevice", "any"), nullptr, &rc);
  const CMPIData none = found->ft->getNext(found, &rc);
  EXPECT(Is(rc, CMPI_RC_ERR_NOT_FOUND) && (none.state & CMPI_notFound) != 0);
}

void WrongThreads(const guest::Request& request) {
  CMPIContext* context = broker->bft->prepareAttachThread(broker, request.context);
  EXPECT(Is(broker->bft->attachThread(broker, context), CMPI_RC_ERR_FAILED));
  EXPECT(Is(broker->bft->detachThread(broker, context), CMPI_RC_ERR_FAILED));
  EXPECT(Is(context->ft->release(context), CMPI_RC_OK));
}

void CheckMisuses(const guest::Request& request) {
  WrongArrays();
  WrongValues();
  WrongResults(request);
  WrongThreads(request);
}

// ---------------------------------------------------------------------------------------------
// What only a current broker has

void CheckCurrentMisuses(const guest::Request& request) {
  int own = 0;
  EXPECT(broker->mft->cmpiRealloc(broker, &own, 8) == nullptr);
  broker->mft->cmpiFree(broker, &own);
  CMPIError* error = broker->eft->newCMPIError(broker, "o", "i", "m", ErrSevLow,
                                               ErrProbCauseUnknown, CMPI_RC_ERR_FAILED, &rc);
  EXPECT(Ok());
  EXPECT(Refused(error->ft->getMessage(nullptr, &rc)));
  EXPECT(Refused(error->ft->getMessageArguments(nullptr, &rc)));
  EXPECT(Refused(error->ft->getCIMStatusCode(nullptr, &rc)));
  EXPECT(Refused(request.result->ft->returnError(request.result, nullptr)));
}

}  // namespace

CHECKING_CLASS(Guest_Nulls, CheckNulls)
CHECKING_CLASS(Guest_Misuses, CheckMisuses)
CHECKING_CLASS(Guest_CurrentMisuses, CheckCurrentMisuses)
