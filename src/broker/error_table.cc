// CMPIError.

#include <type_traits>
#include <utility>

#include "broker/error_object.h"
#include "broker/guest.h"
#include "broker/manager.h"
#include "broker/tables.h"

namespace broker {

ErrorObject* NewError(Region& region) {
  auto* error = region.New<ErrorObject>();
  error->record = {error, region.manager().tables().error};
  error->message = "";
  return error;
}

ErrorObject* Copy(Region& region, const ErrorObject& from) {
  ErrorObject* to = NewError(region);
  const CMPIError record = to->record;
  const ObjectState state = to->state;
  *to = from;
  to->record = record;
  to->state = state;
  for (const char* ErrorObject::*text :
       {&ErrorObject::other_type, &ErrorObject::owner, &ErrorObject::message_id,
        &ErrorObject::message, &ErrorObject::cause_description, &ErrorObject::source,
        &ErrorObject::other_source_format, &ErrorObject::status_description}) {
    if (from.*text != nullptr) to->*text = region.CopyText(from.*text);
  }
  for (ArrayObject* ErrorObject::*array :
       {&ErrorObject::recommended_actions, &ErrorObject::message_arguments}) {
    if (from.*array != nullptr) to->*array = Copy(region, *(from.*array));
  }
  return to;
}

namespace {

CMPIStatus Release(CMPIError* er) { return ReleaseObject<ErrorObject>(er, "CMPIError.release"); }
CMPIError* Clone(const CMPIError* er, CMPIStatus* rc) {
  return CloneObject<ErrorObject>(er, rc, "CMPIError.clone");
}

// Every member is read and set alike; the table below has one instance of these per slot.
template <auto kMember>
using MemberOf = std::remove_reference_t<decltype(std::declval<ErrorObject>().*kMember)>;

template <auto kMember>
MemberOf<kMember> Get(const CMPIError* er, CMPIStatus* rc) {
  const auto* error = Use<ErrorObject>(er, "CMPIError.get");
  if (error == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, MemberOf<kMember>{});
  return Answer(rc, CMPI_RC_OK, error->*kMember);
}

template <const char* ErrorObject::*kMember>
CMPIString* GetText(const CMPIError* er, CMPIStatus* rc) {
  const auto* error = Use<ErrorObject>(er, "CMPIError.get");
  if (error == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIString*>(nullptr));
  }
  if (error->*kMember == nullptr) {
    return Answer(rc, CMPI_RC_OK, static_cast<CMPIString*>(nullptr));
  }
  return Made(rc, NewString(RegionFor(error->state), error->*kMember));
}

template <ArrayObject* ErrorObject::*kMember>
CMPIArray* GetArray(const CMPIError* er, CMPIStatus* rc) {
  const auto* error = Use<ErrorObject>(er, "CMPIError.get");
  if (error == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIArray*>(nullptr));
  }
  if (error->*kMember == nullptr) {
    return Answer(rc, CMPI_RC_OK, static_cast<CMPIArray*>(nullptr));
  }
  return Made(rc, Copy(RegionFor(error->state), *(error->*kMember)));
}

template <auto kMember>
CMPIStatus Set(CMPIError* er, const MemberOf<kMember> value) {
  auto* error = Use<ErrorObject>(er, "CMPIError.set");
  if (error == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  error->*kMember = value;
  return Answer(CMPI_RC_OK);
}

template <const char* ErrorObject::*kMember>
CMPIStatus SetText(CMPIError* er, const char* text) {
  auto* error = Use<ErrorObject>(er, "CMPIError.set");
  if (error == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  error->*kMember = text != nullptr ? error->state.region->CopyText(text) : nullptr;
  return Answer(CMPI_RC_OK);
}

template <ArrayObject* ErrorObject::*kMember>
CMPIStatus SetArray(CMPIError* er, const CMPIArray* given) {
  auto* error = Use<ErrorObject>(er, "CMPIError.set");
  const auto* array = Use<ArrayObject>(given, "CMPIError.set");
  if (error == nullptr || array == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  error->*kMember = Copy(*error->state.region, *array);
  return Answer(CMPI_RC_OK);
}

}  // namespace

CMPIErrorFT error_table = {
    CMPIVersion200,
    Release,
    Clone,
    Get<&ErrorObject::type>,
    GetText<&ErrorObject::other_type>,
    GetText<&ErrorObject::owner>,
    GetText<&ErrorObject::message_id>,
    GetText<&ErrorObject::message>,
    Get<&ErrorObject::severity>,
    Get<&ErrorObject::cause>,
    GetText<&ErrorObject::cause_description>,
    GetArray<&ErrorObject::recommended_actions>,
    GetText<&ErrorObject::source>,
    Get<&ErrorObject::source_format>,
    GetText<&ErrorObject::other_source_format>,
    Get<&ErrorObject::status_code>,
    GetText<&ErrorObject::status_description>,
    GetArray<&ErrorObject::message_arguments>,
    Set<&ErrorObject::type>,
    SetText<&ErrorObject::other_type>,
    SetText<&ErrorObject::cause_description>,
    SetArray<&ErrorObject::recommended_actions>,
    SetText<&ErrorObject::source>,
    Set<&ErrorObject::source_format>,
    SetText<&ErrorObject::other_source_format>,
    SetText<&ErrorObject::status_description>,
    [](CMPIError* er, CMPIArray* given) {
      return SetArray<&ErrorObject::message_arguments>(er, given);
    },
};

}  // namespace broker
