// The functions of the tables with arguments that no function may be given: each refuses with a
// code. What the object manager keeps of it stands in provider_check_test.cc.

#include "interface_checks.h"
#include "platform/cmpi/cmpi.h"

namespace {

using interface_checks::broker;
using interface_checks::Chars;
using interface_checks::NamedPath;
using interface_checks::Ok;
using interface_checks::rc;

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

void NullStringsAndArrays() {
  EXPECT(Refused(broker->eft->newString(broker, "", &rc)->ft->getCharPtr(nullptr, &rc)));
  const CMPIArrayFT& array = *broker->eft->newArray(broker, 1, CMPI_uint8, &rc)->ft;
  EXPECT(Refused(array.setElementAt(nullptr, 0, nullptr, CMPI_uint8)));
}

void NullPathsAndInstances() {
  CMPIObjectPath* path = NamedPath("Test_Plain", "one");
  const CMPIObjectPathFT& paths = *path->ft;
  EXPECT(Refused(paths.getNameSpace(nullptr, &rc)));
  EXPECT(Refused(paths.getClassName(nullptr, &rc)));
  EXPECT(Refused(paths.addKey(nullptr, "K", Chars("k"), CMPI_chars)));
  EXPECT(Refused(paths.getKey(nullptr, "K", &rc)));
  EXPECT(Refused(paths.getKeyAt(nullptr, 0, nullptr, &rc)));
  EXPECT(Refused(paths.getKeyCount(nullptr, &rc)));
  const CMPIInstanceFT& instances = *broker->eft->newInstance(broker, path, &rc)->ft;
  EXPECT(Refused(instances.release(nullptr)));
  EXPECT(Refused(instances.clone(nullptr, &rc)));
  EXPECT(Refused(instances.getProperty(nullptr, "P", &rc)));
  EXPECT(Refused(instances.setProperty(nullptr, "P", Chars("p"), CMPI_chars)));
  EXPECT(Refused(instances.getObjectPath(nullptr, &rc)));
  EXPECT(Refused(instances.setPropertyFilter(nullptr, nullptr, nullptr)));
}

void NullsOfACall(const interface_checks::Request& request) {
  const CMPIResultFT& results = *request.result->ft;
  EXPECT(Refused(results.returnInstance(request.result, nullptr)));
  EXPECT(Refused(results.returnObjectPath(request.result, nullptr)));
  EXPECT(Refused(results.returnDone(nullptr)));
  CMPIEnumeration* found = broker->bft->enumerateInstanceNames(
      broker, request.context, NamedPath("Ostrel_PCIDevice", "any"), &rc);
  EXPECT(Ok());
  EXPECT(Refused(found->ft->getNext(nullptr, &rc)));
  EXPECT(Refused(found->ft->hasNext(nullptr, &rc)));
}

void NullsToTheBroker(const interface_checks::Request& request) {
  const CMPIBrokerFT& bft = *broker->bft;
  EXPECT(Refused(bft.enumerateInstanceNames(broker, request.context, nullptr, &rc)));
  EXPECT(Refused(bft.enumerateInstances(broker, request.context, nullptr, nullptr, &rc)));
  EXPECT(broker->eft->newInstance(broker, nullptr, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_PARAMETER);
  rc = {CMPI_RC_OK, nullptr};
  EXPECT(Refused(broker->eft->classPathIsA(broker, nullptr, "CIM_System", &rc)));
  EXPECT(broker->eft->toString(broker, nullptr, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_PARAMETER);
}

void CheckNulls(const interface_checks::Request& request) {
  NullStringsAndArrays();
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
  EXPECT(broker->eft->newArray(broker, 1, CMPI_args, &rc) == nullptr);
  EXPECT(Is(rc, CMPI_RC_ERR_INVALID_PARAMETER));
  CMPIInstance* instance = broker->eft->newInstance(broker, NamedPath("Test_Plain", "one"), &rc);
  value.array = array;
  EXPECT(Is(instance->ft->setProperty(instance, "Array", &value, CMPI_string | CMPI_ARRAY),
            CMPI_RC_ERR_TYPE_MISMATCH));
}

void WrongValues() {
  CMPIObjectPath* path = NamedPath("Test_Plain", "one");
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
  value.inst = broker->eft->newInstance(broker, path, &rc);
  value.inst->ft->release(value.inst);
  EXPECT(Is(instance->ft->setProperty(instance, "Gone", &value, CMPI_instance),
            CMPI_RC_ERR_INVALID_HANDLE));
  instance->ft->getProperty(instance, "Gone", &rc);
  EXPECT(Is(rc, CMPI_RC_ERR_NO_SUCH_PROPERTY));
  struct {
    CMPIString record;
    char rest[64];
  } foreign = {};
  EXPECT(broker->eft->toString(broker, &foreign, &rc) == nullptr);
}

// A clone is of the instance's class.
void WrongClones() {
  const CMPIObjectPath* path = NamedPath("Ostrel_PCIPortGroup", "group");
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  CMPIInstance* clone = instance->ft->clone(instance, &rc);
  EXPECT(Is(clone->ft->setProperty(clone, "Colour", Chars("red"), CMPI_chars),
            CMPI_RC_ERR_NO_SUCH_PROPERTY));
  EXPECT(Is(clone->ft->release(clone), CMPI_RC_OK));
}

void WrongResults(const interface_checks::Request& request) {
  const CMPIResult* result = request.result;
  EXPECT(
      Is(result->ft->returnObjectPath(result, NamedPath("Test_Plain", "one")), CMPI_RC_ERR_FAILED));
  CMPIEnumeration* found = broker->bft->enumerateInstances(
      broker, request.context, NamedPath("Ostrel_PCIDevice", "any"), nullptr, &rc);
  const CMPIData none = found->ft->getNext(found, &rc);
  EXPECT(Is(rc, CMPI_RC_ERR_NOT_FOUND) && (none.state & CMPI_notFound) != 0);
}

void CheckMisuses(const interface_checks::Request& request) {
  WrongArrays();
  WrongValues();
  WrongClones();
  WrongResults(request);
}

}  // namespace

CHECKING_CLASS(Test_Nulls, CheckNulls)
CHECKING_CLASS(Test_Misuses, CheckMisuses)
