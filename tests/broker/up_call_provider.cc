// The up-calls: a provider asks the broker for what other providers serve. Needs Guest_Plain and
// Guest_Link beside it.

#include "interface_checks.h"
#include "platform/cmpi/cmpi.h"

namespace {

using guest::broker;
using guest::Chars;
using guest::Is;
using guest::NamedPath;
using guest::Ok;
using guest::rc;

bool HasText(const CMPIInstance* instance, const char* name, const char* text) {
  const CMPIData data = instance->ft->getProperty(instance, name, nullptr);
  return data.type == CMPI_string && Is(data.value.string, text);
}

// The one element of the enumeration, with CMPI_badValue where there is another number of them.
CMPIData Only(const CMPIEnumeration* found) {
  constexpr CMPIData kNone = {CMPI_null, CMPI_badValue, {}};
  if (found == nullptr || found->ft->hasNext(found, nullptr) == 0) return kNone;
  const CMPIData data = found->ft->getNext(found, nullptr);
  return found->ft->hasNext(found, nullptr) == 0 ? data : kNone;
}

bool IsOnlyLink(const CMPIEnumeration* found, const char* filters) {
  const CMPIData data = Only(found);
  return Ok() && data.type == CMPI_instance && HasText(data.value.inst, "Filters", filters);
}

bool IsEmpty(const CMPIEnumeration* found) {
  return Ok() && found != nullptr && found->ft->hasNext(found, nullptr) == 0;
}

bool IsRefused(const void* answer, CMPIrc code, const char* text) {
  return answer == nullptr && rc.rc == code && Is(rc.msg, text);
}

void Associations(const CMPIContext* context) {
  const CMPIBrokerFT& bft = *broker->bft;
  const CMPIObjectPath* source = NamedPath("Guest_Plain", "one");
  EXPECT(IsOnlyLink(
      bft.associators(broker, context, source, "Guest_Link", "R", "A", "B", nullptr, &rc),
      "Guest_LinkRAB"));
  EXPECT(IsOnlyLink(
      bft.associators(broker, context, source, nullptr, nullptr, nullptr, nullptr, nullptr, &rc),
      "----"));
  EXPECT(IsEmpty(bft.associators(broker, context, source, "Guest_Other", nullptr, nullptr, nullptr,
                                 nullptr, &rc)));
  EXPECT(IsOnlyLink(bft.references(broker, context, source, "guest_link", "A", nullptr, &rc),
                    "-guest_linkA-"));
  CMPIData name =
      Only(bft.associatorNames(broker, context, source, nullptr, nullptr, nullptr, nullptr, &rc));
  EXPECT(Ok() && name.type == CMPI_ref);
  EXPECT(
      Is(name.value.ref->ft->toString(name.value.ref, &rc), "root/cimv2:Guest_Plain.Name=\"one\""));
  name = Only(bft.referenceNames(broker, context, source, "Guest_Link", nullptr, &rc));
  EXPECT(Ok() && name.type == CMPI_ref);
  const CMPIObjectPath* from = name.value.ref->ft->getKey(name.value.ref, "From", &rc).value.ref;
  EXPECT(Ok() && Is(from->ft->toString(from, &rc), "root/cimv2:Guest_Plain.Name=\"one\""));
  EXPECT(IsEmpty(bft.referenceNames(broker, context, source, "Guest_Other", nullptr, &rc)));
}

void Enumerations(const CMPIContext* context) {
  const CMPIBrokerFT& bft = *broker->bft;
  CMPIEnumeration* found =
      bft.enumerateInstances(broker, context, NamedPath("Guest_Plain", "any"), nullptr, &rc);
  EXPECT(Ok() && HasText(found->ft->getNext(found, &rc).value.inst, "Name", "one"));
  CMPIEnumeration* clone = found->ft->clone(found, &rc);  // goes on where the other stands
  EXPECT(Ok() && HasText(clone->ft->getNext(clone, &rc).value.inst, "Name", "two"));
  EXPECT(HasText(found->ft->getNext(found, &rc).value.inst, "Name", "two"));
  CMPIArray* array = found->ft->toArray(found, &rc);  // all, whatever was read
  EXPECT(Ok() && array->ft->getSize(array, &rc) == 3);
  EXPECT(array->ft->getSimpleType(array, &rc) == CMPI_instance);
  EXPECT(HasText(array->ft->getElementAt(array, 0, &rc).value.inst, "Name", "one"));
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
  EXPECT(Is(broker->eft->toString(broker, found, &rc), "CMPIEnumeration"));
  EXPECT(found->ft->release(found).rc == CMPI_RC_OK);

  CMPIObjectPath* unknown = NamedPath("Guest_Unknown", "any");
  EXPECT(IsRefused(bft.enumerateInstanceNames(broker, context, unknown, &rc),
                   CMPI_RC_ERR_INVALID_CLASS, "Guest_Unknown"));
  // A class that the schema knows and nobody serves has no instances.
  EXPECT(IsEmpty(
      bft.enumerateInstances(broker, context, NamedPath("Ostrel_PCIDevice", "any"), nullptr, &rc)));
  EXPECT(IsRefused(
      bft.execQuery(broker, context, NamedPath("Guest_Plain", "any"), "select", "WQL", &rc),
      CMPI_RC_ERR_INVALID_QUERY, "WQL: select"));
}

void Changes(const CMPIContext* context) {
  const CMPIBrokerFT& bft = *broker->bft;
  const CMPIObjectPath* path = broker->eft->newObjectPath(broker, "", "Guest_Plain", &rc);
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  instance->ft->setProperty(instance, "Name", Chars("new"), CMPI_chars);
  instance->ft->setProperty(instance, "Text", Chars("refused"), CMPI_chars);
  const CMPIObjectPath* made = bft.createInstance(broker, context, path, instance, &rc);
  EXPECT(Ok() && Is(made->ft->toString(made, &rc), "root/cimv2:Guest_Plain.Name=\"new\""));
  rc = bft.modifyInstance(broker, context, path, instance, nullptr);
  EXPECT(IsRefused(nullptr, CMPI_RC_ERR_ACCESS_DENIED, "refused"));
  EXPECT(bft.deleteInstance(broker, context, path).rc == CMPI_RC_OK);
  const CMPIObjectPath* system = NamedPath("OMC_UnitaryComputerSystem", "localhost");
  EXPECT(bft.createInstance(broker, context, system, instance, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT(bft.deleteInstance(broker, context, system).rc == CMPI_RC_ERR_NOT_SUPPORTED);
}

void Properties(const CMPIContext* context) {
  const CMPIBrokerFT& bft = *broker->bft;
  const CMPIObjectPath* path = NamedPath("Guest_Plain", "two");
  CMPIData data = bft.getProperty(broker, context, path, "NAME", &rc);
  EXPECT(Ok() && data.type == CMPI_string && Is(data.value.string, "two"));
  data = bft.getProperty(broker, context, path, "Absent", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY && (data.state & CMPI_notFound) != 0);
  data = bft.getProperty(broker, context, NamedPath("Guest_Plain", "four"), "Name", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_FOUND && (data.state & CMPI_notFound) != 0);
}

void NotServed(const CMPIContext* context) {
  const CMPIBrokerFT& bft = *broker->bft;
  const CMPIObjectPath* path = NamedPath("Guest_Plain", "one");
  CMPIArgs* args = broker->eft->newArgs(broker, &rc);
  const CMPIData data = bft.invokeMethod(broker, context, path, "Reset", args, args, &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NOT_SUPPORTED && (data.state & CMPI_nullValue) != 0);
  EXPECT(bft.setProperty(broker, context, path, "Name", Chars("x"), CMPI_chars).rc ==
         CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT(bft.deliverIndication(broker, context, "root/cimv2",
                               broker->eft->newInstance(broker, path, &rc))
             .rc == CMPI_RC_ERR_NOT_SUPPORTED);
}

void CheckUpCalls(const guest::Request& request) {
  Associations(request.context);
  Enumerations(request.context);
  Changes(request.context);
  Properties(request.context);
  NotServed(request.context);
}

}  // namespace

CHECKING_CLASS(Guest_UpCall, CheckUpCalls)
