// How the functions of the tables meet a provider: they take its objects and values with care, and
// answer in the ways of CMPI.
//
// Thread rule: these work on the calling thread's call.

#ifndef BROKER_PROVIDER_OBJECTS_H_
#define BROKER_PROVIDER_OBJECTS_H_

#include <string>
#include <string_view>

#include "broker/call.h"
#include "broker/objects.h"
#include "platform/cmpi/cmpi.h"

namespace broker {

// Keeps in the manager's list of provider errors that the provider misused `function`.
void ReportMisuse(const char* function, std::string text);

// ---------------------------------------------------------------------------------------------
// Objects of the provider

// Whether the object lives, is of that kind and is this call's to use; reports where it is not.
bool IsUsable(const ObjectState& state, ObjectKind kind, const char* function);

// The object behind the provider's record, or nullptr, reported, where it may not use it.
// Tables declare some arguments const that they change; the object is not.
template <class T>
T* Use(const typename T::Record* record, const char* function) {
  if (record == nullptr) {
    ReportMisuse(function, "a null object");
    return nullptr;
  }
  auto* object = reinterpret_cast<T*>(const_cast<typename T::Record*>(record));
  return IsUsable(object->state, T::kKind, function) ? object : nullptr;
}

// The state of an object of any kind, or nullptr, reported, where it is none of ours or dead.
const ObjectState* UseAny(const void* object, const char* function);

// Where an object is made that an object of this state hands out: in the current call, or beside
// the object where there is no call (a clone used on a thread of the provider's own).
Region& RegionFor(const ObjectState& state);

// The call that a function of the broker is used in; nullptr, reported and in `rc`, where this
// thread has none.
Call* CallFor(const CMPIBroker* mb, const char* function, CMPIStatus* rc);

// Copies the value that the provider passed (CMPI_chars: the pointer is the text) into the region.
// A null pointer is a null value.
CMPIrc TakeValue(Region& region, const CMPIValue* value, CMPIType type, const char* function,
                 CMPIData* taken);

// ---------------------------------------------------------------------------------------------
// Answers

inline void SetCode(CMPIStatus* rc, CMPIrc code) {
  if (rc != nullptr) *rc = {code, nullptr};
}

inline CMPIStatus Answer(CMPIrc code) { return {code, nullptr}; }

// Sets the code and gives the result: `return Answer(rc, CMPI_RC_OK, value)`.
template <class T>
T Answer(CMPIStatus* rc, CMPIrc code, T result) {
  SetCode(rc, code);
  return result;
}

// A record pointer with CMPI_RC_OK.
template <class T>
typename T::Record* Made(CMPIStatus* rc, T* object) {
  SetCode(rc, CMPI_RC_OK);
  return &object->record;
}

// The answer for a name or an index that is not there.
inline CMPIData NotThere(CMPIStatus* rc, CMPIrc code = CMPI_RC_ERR_NO_SUCH_PROPERTY) {
  SetCode(rc, code);
  return {CMPI_null, CMPI_notFound | CMPI_nullValue, {}};
}
inline CMPIData Unusable(CMPIStatus* rc) {
  SetCode(rc, CMPI_RC_ERR_INVALID_HANDLE);
  return {CMPI_null, CMPI_badValue | CMPI_nullValue, {}};
}

// A named value by name.
CMPIData NamedByName(const NamedList& list, const char* name, CMPIStatus* rc, const char* function);

}  // namespace broker

#endif  // BROKER_PROVIDER_OBJECTS_H_
