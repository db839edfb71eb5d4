// The keys of an object path one by one, as the object manager hands them out. For the sources of
// this room alone.
//
// Errors: CmpiStatus where the object manager answers none.
// Thread rule: as the path's.

#ifndef PLATFORM_OSTINT_OBJECT_PATH_KEYS_H_
#define PLATFORM_OSTINT_OBJECT_PATH_KEYS_H_

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cmpi_object.h"

namespace ostInt {

// The name belongs to the object manager, as the value does.
struct PathKey {
  const char* name;
  CMPIData value;
};

CMPICount KeyCount(const CmpiObjectPath& path);
PathKey KeyAt(const CmpiObjectPath& path, CMPICount index);

// Whether every key of `left` stands in `right` with the same value, as object paths are equal.
bool KeysAreIn(const CmpiObjectPath& left, const CmpiObjectPath& right);

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_OBJECT_PATH_KEYS_H_
