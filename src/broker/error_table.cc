// CMPIError.

#include <type_traits>
#include <utility>

#include "broker/entry.h"
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

// The one slot that takes its array without const.
CMPIStatus SetMessageArguments(CMPIError* er, CMPIArray* given) {
  return SetArray<&ErrorObject::message_arguments>(er, given);
}

}  // namespace

CMPIErrorFT error_table = {
    CMPIVersion200,
    Entry<Release>,
    Entry<Clone>,
    Entry<Get<&ErrorObject::type>>,
    Entry<GetText<&ErrorObject::other_type>>,
    Entry<GetText<&ErrorObject::owner>>,
    Entry<GetText<&ErrorObject::message_id>>,
    Entry<GetText<&ErrorObject::message>>,
    Entry<Get<&ErrorObject::severity>>,
    Entry<Get<&ErrorObject::cause>>,
    Entry<GetText<&ErrorObject::cause_description>>,
    Entry<GetArray<&ErrorObject::recommended_actions>>,
    Entry<GetText<&ErrorObject::source>>,
    Entry<Get<&ErrorObject::source_format>>,
    Entry<GetText<&ErrorObject::other_source_format>>,
    Entry<Get<&ErrorObject::status_code>>,
    Entry<GetText<&ErrorObject::status_description>>,
    Entry<GetArray<&ErrorObject::message_arguments>>,
    Entry<Set<&ErrorObject::type>>,
    Entry<SetText<&ErrorObject::other_type>>,
    Entry<SetText<&ErrorObject::cause_description>>,
    Entry<SetArray<&ErrorObject::recommended_actions>>,
    Entry<SetText<&ErrorObject::source>>,
    Entry<Set<&ErrorObject::source_format>>,
    Entry<SetText<&ErrorObject::other_source_format>>,
    Entry<SetText<&ErrorObject::status_description>>,
    Entry<SetMessageArguments>,
};

}  // namespace broker
