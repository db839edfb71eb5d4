// Whether a path that was found is the one that was asked for.
//
// Thread rule: pure functions.

#ifndef REQUESTS_OBJECT_PATH_MATCH_H_
#define REQUESTS_OBJECT_PATH_MATCH_H_

#include <cstddef>
#include <vector>

#include "cim/value.h"

namespace requests {

// How many keys of `asked` have the same value in `found`. Keys have no order; a reference has the
// same value where it names the same element.
std::size_t EqualKeys(const cim::ObjectPath& asked, const cim::ObjectPath& found);

// Whether `found` is of the asked class and has every key of `asked`. Letter case of the class,
// namespace and host say nothing here: there is one namespace of one host.
bool NamesSame(const cim::ObjectPath& asked, const cim::ObjectPath& found);

// Leaves those of the instances that have most of the asked keys, in their order.
void KeepBestMatches(const cim::ObjectPath& asked, std::vector<cim::Instance>& found);

}  // namespace requests

#endif  // REQUESTS_OBJECT_PATH_MATCH_H_
