// How the class of the hosting system answers in a test: a provider of that class takes the place
// of the object manager's own answers.
//
// Thread rule: ReplaceSystemClass before the first operation; one refusal in a process at a time.

#ifndef SUPPORT_SYSTEM_CLASS_H_
#define SUPPORT_SYSTEM_CLASS_H_

#include <string>

#include "broker/object_manager.h"
#include "cim/status.h"

enum class SystemClassMode {
  kServed,   // with its one instance
  kEmpty,    // with no instance
  kRefused,  // with a failure
};

struct SystemClassAnswer {
  SystemClassMode mode = SystemClassMode::kServed;
  cim::Status refusal{CMPI_RC_ERR_FAILED, "system class refused"};
};

// To be called once the other classes are registered.
void ReplaceSystemClass(broker::ObjectManager& manager, const SystemClassAnswer& by);

#endif  // SUPPORT_SYSTEM_CLASS_H_
