// CMPIString, CMPIArray, CMPIArgs, CMPIContext and CMPIEnumeration.

#include "broker/entry.h"
#include "broker/guest.h"
#include "broker/tables.h"

namespace broker {

// ---------------------------------------------------------------------------------------------
// CMPIString

namespace {

CMPIStatus ReleaseString(CMPIString* st) {
  return ReleaseObject<StringObject>(st, "CMPIString.release");
}

CMPIString* CloneString(const CMPIString* st, CMPIStatus* rc) {
  return CloneObject<StringObject>(st, rc, "CMPIString.clone");
}

const char* GetCharPtr(const CMPIString* st, CMPIStatus* rc) {
  auto* string = Use<StringObject>(st, "CMPIString.getCharPtr");
  if (string == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<const char*>(nullptr));
  }
  return Answer(rc, CMPI_RC_OK, static_cast<const char*>(string->text()));
}

}  // namespace

CMPIStringFT string_table = {
    CMPIVersion200,
    Entry<ReleaseString>,
    Entry<CloneString>,
    Entry<GetCharPtr>,
};

// ---------------------------------------------------------------------------------------------
// CMPIArray

namespace {

CMPIStatus ReleaseArray(CMPIArray* ar) {
  return ReleaseObject<ArrayObject>(ar, "CMPIArray.release");
}

CMPIArray* CloneArray(const CMPIArray* ar, CMPIStatus* rc) {
  return CloneObject<ArrayObject>(ar, rc, "CMPIArray.clone");
}

CMPICount GetSize(const CMPIArray* ar, CMPIStatus* rc) {
  const auto* array = Use<ArrayObject>(ar, "CMPIArray.getSize");
  if (array == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPICount{0});
  return Answer(rc, CMPI_RC_OK, array->size);
}

CMPIType GetSimpleType(const CMPIArray* ar, CMPIStatus* rc) {
  const auto* array = Use<ArrayObject>(ar, "CMPIArray.getSimpleType");
  if (array == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIType{CMPI_null});
  return Answer(rc, CMPI_RC_OK, array->element_type);
}

CMPIData GetElementAt(const CMPIArray* ar, CMPICount index, CMPIStatus* rc) {
  const auto* array = Use<ArrayObject>(ar, "CMPIArray.getElementAt");
  if (array == nullptr) return Unusable(rc);
  if (index < array->size) return Answer(rc, CMPI_RC_OK, array->elements[index]);
  ReportMisuse("CMPIArray.getElementAt", "an index beyond the array");
  return NotThere(rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

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
    CMPIVersion200,       Entry<ReleaseArray>, Entry<CloneArray>,   Entry<GetSize>,
    Entry<GetSimpleType>, Entry<GetElementAt>, Entry<SetElementAt>,
};

// ---------------------------------------------------------------------------------------------
// CMPIArgs

namespace {

CMPIStatus ReleaseArgs(CMPIArgs* as) { return ReleaseObject<ArgsObject>(as, "CMPIArgs.release"); }

CMPIArgs* CloneArgs(const CMPIArgs* as, CMPIStatus* rc) {
  return CloneObject<ArgsObject>(as, rc, "CMPIArgs.clone");
}

// Contexts and arguments are the same lists of named values under two names.
template <class T>
CMPIStatus Add(const typename T::Record* record, const char* name, const CMPIValue* value,
               CMPIType type, const char* function) {
  auto* object = Use<T>(record, function);
  if (object == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return TakeNamed(object->state, object->items, name, value, type, function);
}

template <class T>
CMPIData Get(const typename T::Record* record, const char* name, CMPIStatus* rc,
             const char* function) {
  const auto* object = Use<T>(record, function);
  if (object == nullptr) return Unusable(rc);
  return NamedByName(object->items, name, rc, function);
}

template <class T>
CMPIData GetAt(const typename T::Record* record, CMPICount index, CMPIString** name, CMPIStatus* rc,
               const char* function) {
  const auto* object = Use<T>(record, function);
  if (object == nullptr) return Unusable(rc);
  return NamedAt(object->state, object->items, index, name, rc);
}

template <class T>
CMPICount Count(const typename T::Record* record, CMPIStatus* rc, const char* function) {
  const auto* object = Use<T>(record, function);
  if (object == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPICount{0});
  return Answer(rc, CMPI_RC_OK, object->items.size);
}

CMPIStatus AddArg(const CMPIArgs* as, const char* name, const CMPIValue* value,
                  const CMPIType type) {
  return Add<ArgsObject>(as, name, value, type, "CMPIArgs.addArg");
}
CMPIData GetArg(const CMPIArgs* as, const char* name, CMPIStatus* rc) {
  return Get<ArgsObject>(as, name, rc, "CMPIArgs.getArg");
}
CMPIData GetArgAt(const CMPIArgs* as, CMPICount index, CMPIString** name, CMPIStatus* rc) {
  return GetAt<ArgsObject>(as, index, name, rc, "CMPIArgs.getArgAt");
}
CMPICount GetArgCount(const CMPIArgs* as, CMPIStatus* rc) {
  return Count<ArgsObject>(as, rc, "CMPIArgs.getArgCount");
}

}  // namespace

CMPIArgsFT args_table = {
    CMPIVersion200, Entry<ReleaseArgs>, Entry<CloneArgs>,   Entry<AddArg>,
    Entry<GetArg>,  Entry<GetArgAt>,    Entry<GetArgCount>,
};

// ---------------------------------------------------------------------------------------------
// CMPIContext

namespace {

CMPIStatus ReleaseContext(CMPIContext* ctx) {
  return ReleaseObject<ContextObject>(ctx, "CMPIContext.release");
}
CMPIContext* CloneContext(const CMPIContext* ctx, CMPIStatus* rc) {
  return CloneObject<ContextObject>(ctx, rc, "CMPIContext.clone");
}
CMPIData GetEntry(const CMPIContext* ctx, const char* name, CMPIStatus* rc) {
  return Get<ContextObject>(ctx, name, rc, "CMPIContext.getEntry");
}
CMPIData GetEntryAt(const CMPIContext* ctx, CMPICount index, CMPIString** name, CMPIStatus* rc) {
  return GetAt<ContextObject>(ctx, index, name, rc, "CMPIContext.getEntryAt");
}
CMPICount GetEntryCount(const CMPIContext* ctx, CMPIStatus* rc) {
  return Count<ContextObject>(ctx, rc, "CMPIContext.getEntryCount");
}
CMPIStatus AddEntry(const CMPIContext* ctx, const char* name, const CMPIValue* value,
                    const CMPIType type) {
  return Add<ContextObject>(ctx, name, value, type, "CMPIContext.addEntry");
}

}  // namespace

CMPIContextFT context_table = {
    CMPIVersion200,    Entry<ReleaseContext>, Entry<CloneContext>, Entry<GetEntry>,
    Entry<GetEntryAt>, Entry<GetEntryCount>,  Entry<AddEntry>,
};

// ---------------------------------------------------------------------------------------------
// CMPIEnumeration

namespace {

CMPIStatus ReleaseEnumeration(CMPIEnumeration* en) {
  return ReleaseObject<EnumerationObject>(en, "CMPIEnumeration.release");
}

CMPIEnumeration* CloneEnumeration(const CMPIEnumeration* en, CMPIStatus* rc) {
  return CloneObject<EnumerationObject>(en, rc, "CMPIEnumeration.clone");
}

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

CMPIArray* ToArray(const CMPIEnumeration* en, CMPIStatus* rc) {
  const auto* enumeration = Use<EnumerationObject>(en, "CMPIEnumeration.toArray");
  if (enumeration == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIArray*>(nullptr));
  }
  return Made(rc, Copy(RegionFor(enumeration->state), *enumeration->elements));
}

}  // namespace

CMPIEnumerationFT enumeration_table = {
    CMPIVersion200,          Entry<ReleaseEnumeration>,
    Entry<CloneEnumeration>, Entry<GetNext>,
    Entry<HasNext>,          Entry<ToArray>,
};

}  // namespace broker
