// CMPIString, CMPIArray, CMPIEnumeration, CMPIDateTime and CMPIResult.

#include "broker/entry.h"
#include "broker/provider_objects.h"
#include "broker/tables.h"

namespace broker {

// ---------------------------------------------------------------------------------------------
// CMPIString

namespace {

const char* GetCharPtr(const CMPIString* st, CMPIStatus* rc) {
  auto* string = Use<StringObject>(st, "CMPIString.getCharPtr");
  if (string == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<const char*>(nullptr));
  }
  return Answer(rc, CMPI_RC_OK, static_cast<const char*>(string->text()));
}

}  // namespace

CMPIStringFT string_table = {CMPIVersion200, kNotSupported, kNotSupported, Entry<GetCharPtr>};

// ---------------------------------------------------------------------------------------------
// CMPIArray

namespace {

CMPIStatus SetElementAt(CMPIArray* ar, CMPICount index, const CMPIValue* value, CMPIType type) {
  constexpr const char* kFunction = "CMPIArray.setElementAt";
  auto* array = Use<ArrayObject>(ar, kFunction);
  if (array == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  if (index >= array->size) {
    ReportMisuse(kFunction, "an index beyond the array");
    return Answer(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  if (type != CMPI_null && KeptType(type) != array->element_type) {
    ReportMisuse(kFunction,
                 cim::TypeName(type) + " into an array of " + cim::TypeName(array->element_type));
    return Answer(CMPI_RC_ERR_TYPE_MISMATCH);
  }
  CMPIData taken;
  const CMPIrc code = TakeValue(*array->state.region, value, type, kFunction, &taken);
  if (code != CMPI_RC_OK) return Answer(code);
  taken.type = array->element_type;
  array->elements[index] = taken;
  return Answer(CMPI_RC_OK);
}

}  // namespace

CMPIArrayFT array_table = {
    CMPIVersion200, kNotSupported, kNotSupported,       kNotSupported,
    kNotSupported,  kNotSupported, Entry<SetElementAt>,
};

// ---------------------------------------------------------------------------------------------
// CMPIEnumeration

namespace {

CMPIData GetNext(const CMPIEnumeration* en, CMPIStatus* rc) {
  auto* enumeration = Use<EnumerationObject>(en, "CMPIEnumeration.getNext");
  if (enumeration == nullptr) return Unusable(rc);
  const ArrayObject& elements = *enumeration->elements;
  if (enumeration->position < elements.size) {
    return Answer(rc, CMPI_RC_OK, elements.elements[enumeration->position++]);
  }
  ReportMisuse("CMPIEnumeration.getNext", "beyond the end");
  return NotThere(rc, CMPI_RC_ERR_NOT_FOUND);
}

CMPIBoolean HasNext(const CMPIEnumeration* en, CMPIStatus* rc) {
  const auto* enumeration = Use<EnumerationObject>(en, "CMPIEnumeration.hasNext");
  if (enumeration == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIBoolean{0});
  const bool more = enumeration->position < enumeration->elements->size;
  return Answer(rc, CMPI_RC_OK, static_cast<CMPIBoolean>(more));
}

}  // namespace

CMPIEnumerationFT enumeration_table = {
    CMPIVersion200, kNotSupported, kNotSupported, Entry<GetNext>, Entry<HasNext>, kNotSupported,
};

// ---------------------------------------------------------------------------------------------
// CMPIDateTime

namespace {

CMPIString* GetStringFormat(const CMPIDateTime* dt, CMPIStatus* rc) {
  const auto* time = Use<DateTimeObject>(dt, "CMPIDateTime.getStringFormat");
  if (time == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIString*>(nullptr));
  }
  return Made(rc, NewString(RegionFor(time->state), time->text));
}

}  // namespace

CMPIDateTimeFT date_time_table = {
    CMPIVersion200, kNotSupported,          kNotSupported,
    kNotSupported,  Entry<GetStringFormat>, kNotSupported,
};

// ---------------------------------------------------------------------------------------------
// CMPIResult. The operations of providers return instances and paths; other values belong to
// methods, which are not served.

namespace {

CMPIStatus ReturnInstance(const CMPIResult* rslt, const CMPIInstance* inst) {
  constexpr const char* kFunction = "CMPIResult.returnInstance";
  const auto* result = Use<ResultObject>(rslt, kFunction);
  const auto* instance = Use<InstanceObject>(inst, kFunction);
  if (result == nullptr || instance == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return Answer(result->call->ReturnInstance(*instance, kFunction));
}

CMPIStatus ReturnObjectPath(const CMPIResult* rslt, const CMPIObjectPath* ref) {
  constexpr const char* kFunction = "CMPIResult.returnObjectPath";
  const auto* result = Use<ResultObject>(rslt, kFunction);
  const auto* path = Use<PathObject>(ref, kFunction);
  if (result == nullptr || path == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return Answer(result->call->ReturnPath(*path, kFunction));
}

CMPIStatus ReturnDone(const CMPIResult* rslt) {
  const auto* result = Use<ResultObject>(rslt, "CMPIResult.returnDone");
  if (result == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return Answer(result->call->ReturnDone());
}

}  // namespace

CMPIResultFT result_table = {
    CMPIVersion200,        kNotSupported,           kNotSupported,     kNotSupported,
    Entry<ReturnInstance>, Entry<ReturnObjectPath>, Entry<ReturnDone>, kNotSupported,
};

}  // namespace broker
