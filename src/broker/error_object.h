// CMPIError: what a provider may say beside a status (the properties of CIM_Error that CMPI
// carries).
//
// Thread rule: as regions.

#ifndef BROKER_ERROR_OBJECT_H_
#define BROKER_ERROR_OBJECT_H_

#include "broker/objects.h"
#include "platform/cmpi/cmpi.h"

namespace broker {

struct ErrorObject {
  using Record = CMPIError;
  static constexpr ObjectKind kKind = ObjectKind::kError;

  CMPIError record;
  ObjectState state;
  CMPIErrorType type;
  CMPIErrorSeverity severity;
  CMPIErrorProbableCause cause;
  CMPIErrorSrcFormat source_format;
  CMPIrc status_code;
  // Texts of the object's region; null while not set.
  const char* other_type;
  const char* owner;
  const char* message_id;
  const char* message;
  const char* cause_description;
  const char* source;
  const char* other_source_format;
  const char* status_description;
  ArrayObject* recommended_actions;
  ArrayObject* message_arguments;
};

ErrorObject* NewError(Region& region);
ErrorObject* Copy(Region& region, const ErrorObject& from);

}  // namespace broker

#endif  // BROKER_ERROR_OBJECT_H_
