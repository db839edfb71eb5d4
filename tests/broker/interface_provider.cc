// The functions that are served, as the interface promises them, one after the other.

#include <initializer_list>

#include "interface_checks.h"
#include "platform/cmpi/cmpi.h"

namespace {

using interface_checks::broker;
using interface_checks::Chars;
using interface_checks::Is;
using interface_checks::NamedPath;
using interface_checks::Ok;
using interface_checks::rc;

bool HasText(const CMPIInstance* instance, const char* name, const char* text) {
  const CMPIData data = instance->ft->getProperty(instance, name, &rc);
  return Ok() && data.type == CMPI_string && Is(data.value.string, text);
}

void Strings() {
  CMPIString* text = broker->eft->newString(broker, "text", &rc);
  EXPECT(Ok() && Is(text, "text"));
  EXPECT(Is(broker->eft->newString(broker, nullptr, &rc), "") && Ok());
  EXPECT(Is(broker->eft->toString(broker, text, &rc), "CMPIString"));
}

void Arrays() {
  CMPIArray* numbers = broker->eft->newArray(broker, 3, CMPI_uint16, &rc);
  CMPIValue value;
  value.uint16 = 7;
  EXPECT(Ok() && numbers->ft->setElementAt(numbers, 1, &value, CMPI_uint16).rc == CMPI_RC_OK);
  CMPIArray* texts = broker->eft->newArray(broker, 1, CMPI_chars, &rc);
  EXPECT(Ok() && texts->ft->setElementAt(texts, 0, Chars("a"), CMPI_chars).rc == CMPI_RC_OK);
  CMPIArray* none = broker->eft->newArray(broker, 0, CMPI_uint16, &rc);
  CMPIInstance* holder = broker->eft->newInstance(broker, NamedPath("Test_Plain", "one"), &rc);
  value.array = numbers;
  EXPECT(holder->ft->setProperty(holder, "Numbers", &value, CMPI_uint16 | CMPI_ARRAY).rc ==
         CMPI_RC_OK);
  value.array = texts;
  EXPECT(holder->ft->setProperty(holder, "Texts", &value, CMPI_chars | CMPI_ARRAY).rc ==
         CMPI_RC_OK);
  value.array = none;
  EXPECT(holder->ft->setProperty(holder, "None", &value, CMPI_uint16 | CMPI_ARRAY).rc ==
         CMPI_RC_OK);
  const CMPIString* text = broker->eft->toString(broker, holder, &rc);
  EXPECT(
      Ok() &&
      Is(text,
         "instance of Test_Plain {Name = one, Numbers = {NULL, 7, NULL}, Texts = {a}, None = {}}"));
}

void Paths() {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/a", "Ostrel_PCIPort", &rc);
  EXPECT(Ok() && Is(path->ft->getNameSpace(path, &rc), "root/a"));
  EXPECT(Is(path->ft->getClassName(path, &rc), "Ostrel_PCIPort"));
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
  EXPECT(Is(broker->eft->toString(broker, path, &rc),
            "root/a:Ostrel_PCIPort.DeviceID=\"c\\\"d\\\\\",Number=-5"));

  CMPIObjectPath* other = broker->eft->newObjectPath(broker, "", "Unknown_Class", &rc);
  EXPECT(broker->eft->classPathIsA(broker, other, "UNKNOWN_CLASS", &rc) == 1);
  EXPECT(broker->eft->classPathIsA(broker, other, "CIM_System", &rc) == 0);
  CMPIValue reference;
  reference.ref = path;
  EXPECT(other->ft->addKey(other, "End", &reference, CMPI_ref).rc == CMPI_RC_OK);
  // What was handed over is a copy.
  EXPECT(path->ft->addKey(path, "Later", Chars("x"), CMPI_chars).rc == CMPI_RC_OK);
  const CMPIObjectPath* end = other->ft->getKey(other, "End", &rc).value.ref;
  EXPECT(Ok() && end->ft->getKeyCount(end, &rc) == 2);
}

void Instances() {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/a", "Ostrel_PCIPortGroup", &rc);
  path->ft->addKey(path, "InstanceID", Chars("Ostrel:bus-3"), CMPI_chars);
  CMPIInstance* instance = broker->eft->newInstance(broker, path, &rc);
  EXPECT(Ok() && HasText(instance, "INSTANCEID", "Ostrel:bus-3"));
  CMPIValue value;
  value.uint8 = 3;
  EXPECT(instance->ft->setProperty(instance, "busnumber", &value, CMPI_uint8).rc == CMPI_RC_OK);
  EXPECT(instance->ft->setProperty(instance, "ElementName", Chars("x"), CMPI_chars).rc ==
         CMPI_RC_OK);
  CMPIData data = instance->ft->getProperty(instance, "BUSNUMBER", &rc);
  EXPECT(Ok() && data.type == CMPI_uint8 && data.value.uint8 == 3);
  data = instance->ft->getProperty(instance, "Absent", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY && (data.state & CMPI_notFound) != 0);
  CMPIInstance* clone = instance->ft->clone(instance, &rc);
  EXPECT(Ok() && clone != instance);
  const char* listed[] = {"ELEMENTNAME", nullptr};
  EXPECT(instance->ft->setPropertyFilter(instance, listed, nullptr).rc == CMPI_RC_OK);
  EXPECT(HasText(instance, "InstanceID", "Ostrel:bus-3"));  // the key stays
  EXPECT(HasText(instance, "ElementName", "x"));
  instance->ft->getProperty(instance, "BusNumber", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT(instance->ft->setProperty(instance, "BusNumber", &value, CMPI_uint8).rc == CMPI_RC_OK);
  const char* none[] = {nullptr};
  const char* keys[] = {"BusNumber", nullptr};
  EXPECT(instance->ft->setPropertyFilter(instance, none, keys).rc == CMPI_RC_OK);
  EXPECT(instance->ft->getProperty(instance, "BusNumber", &rc).value.uint8 == 3 && Ok());
  instance->ft->getProperty(instance, "ElementName", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT(clone->ft->setPropertyFilter(clone, nullptr, nullptr).rc == CMPI_RC_OK);
  EXPECT(HasText(clone, "ElementName", "x"));
  const CMPIObjectPath* own = clone->ft->getObjectPath(clone, &rc);
  EXPECT(Ok() && Is(broker->eft->toString(broker, own, &rc),
                    "root/a:Ostrel_PCIPortGroup.InstanceID=\"Ostrel:bus-3\""));
  EXPECT(Is(broker->eft->toString(broker, clone, &rc),
            "instance of Ostrel_PCIPortGroup {InstanceID = Ostrel:bus-3, busnumber = 3, "
            "ElementName = x}"));
  EXPECT(clone->ft->release(clone).rc == CMPI_RC_OK);
}

void NullValues() {
  CMPIInstance* holder = broker->eft->newInstance(broker, NamedPath("Test_Plain", "one"), &rc);
  CMPIValue value;
  value.inst = broker->eft->newInstance(broker, NamedPath("Test_Plain", "held"), &rc);
  EXPECT(holder->ft->setProperty(holder, "Held", &value, CMPI_instance).rc == CMPI_RC_OK);
  EXPECT(HasText(holder->ft->getProperty(holder, "Held", &rc).value.inst, "Name", "held"));
  EXPECT(holder->ft->setProperty(holder, "Nothing", nullptr, CMPI_string).rc == CMPI_RC_OK);
  const CMPIData nothing = holder->ft->getProperty(holder, "Nothing", &rc);
  EXPECT(nothing.type == CMPI_string && (nothing.state & CMPI_nullValue) != 0);
  const CMPIObjectPath* path = NamedPath("Ostrel_PCIPortGroup", "g");
  CMPIInstance* group = broker->eft->newInstance(broker, path, &rc);
  EXPECT(group->ft->setProperty(group, "BusNumber", nullptr, CMPI_null).rc == CMPI_RC_OK);
  EXPECT(group->ft->getProperty(group, "BusNumber", &rc).type == CMPI_uint8);  // the class's
  value.string = nullptr;  // a null record is a null value as well
  EXPECT(holder->ft->setProperty(holder, "NullRecord", &value, CMPI_string).rc == CMPI_RC_OK);
  EXPECT((holder->ft->getProperty(holder, "NullRecord", &rc).state & CMPI_nullValue) != 0);
}

// Dates come in the paths of requests.
void Dates(const CMPIObjectPath* path) {
  const CMPIData key = path->ft->getKey(path, "When", &rc);
  EXPECT(Ok() && key.type == CMPI_dateTime);
  const CMPIDateTime* when = key.value.dateTime;
  EXPECT(Is(when->ft->getStringFormat(when, &rc), "20261121120000.250000+060") && Ok());
}

void Marks() {
  CMPIGcStat* mark = broker->mft->mark(broker, &rc);
  EXPECT(Ok() && mark != nullptr);
  broker->mft->mark(broker, &rc);  // ends with the mark below it
  EXPECT(Ok() && broker->mft->release(broker, mark).rc == CMPI_RC_OK);
}

void CheckAll(const interface_checks::Request& request) {
  Strings();
  Arrays();
  Paths();
  Instances();
  NullValues();
  Dates(request.path);
  if ((broker->bft->brokerCapabilities & CMPI_MB_Supports_MemEnhancements) != 0) Marks();
}

// ---------------------------------------------------------------------------------------------
// What is asked of other providers. Needs Test_Plain beside it.

bool IsEmpty(const CMPIEnumeration* found) {
  return Ok() && found != nullptr && found->ft->hasNext(found, nullptr) == 0;
}

void CheckUpCalls(const interface_checks::Request& request) {
  const CMPIBrokerFT& bft = *broker->bft;
  const CMPIObjectPath* plain = NamedPath("Test_Plain", "any");
  CMPIEnumeration* found = bft.enumerateInstances(broker, request.context, plain, nullptr, &rc);
  for (const char* name : {"one", "two", "three"}) {
    const CMPIData data = found->ft->getNext(found, &rc);
    EXPECT(Ok() && data.type == CMPI_instance && data.value.inst != nullptr);
    EXPECT(HasText(data.value.inst, "Name", name));
  }
  EXPECT(IsEmpty(found));
  const char* listed[] = {"Number", nullptr};
  found = bft.enumerateInstances(broker, request.context, plain, listed, &rc);
  const CMPIInstance* one = found->ft->getNext(found, &rc).value.inst;
  EXPECT(one->ft->getProperty(one, "Number", &rc).value.uint32 == 1 && Ok());
  one->ft->getProperty(one, "Text", &rc);
  EXPECT(rc.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY);
  found = bft.enumerateInstanceNames(broker, request.context, plain, &rc);
  EXPECT(Ok() && found->ft->getNext(found, &rc).type == CMPI_ref);

  const CMPIObjectPath* unknown = NamedPath("Test_Unknown", "any");
  EXPECT(bft.enumerateInstanceNames(broker, request.context, unknown, &rc) == nullptr);
  EXPECT(rc.rc == CMPI_RC_ERR_INVALID_CLASS && Is(rc.msg, "Test_Unknown"));
  // A class that the schema knows and nobody serves has no instances.
  EXPECT(IsEmpty(bft.enumerateInstances(broker, request.context,
                                        NamedPath("Ostrel_PCIDevice", "any"), nullptr, &rc)));
}

}  // namespace

CHECKING_CLASS(Test_Interface, CheckAll)
CHECKING_CLASS(Test_UpCall, CheckUpCalls)
