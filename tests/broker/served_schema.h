// What a provider library serves, held against the class table: every property that it sets, as the
// object manager sees it arrive.
//
// Thread rule: on the test's own thread.

#ifndef TESTS_BROKER_SERVED_SCHEMA_H_
#define TESTS_BROKER_SERVED_SCHEMA_H_

#include <map>
#include <set>
#include <string>

// Properties that were set, by class.
using SetProperties = std::map<std::string, std::set<std::string>>;

// Enumerates every class of the library, follows every association from every element, and expects
// of each instance that its class declares each property with the type that was set, that its
// references lead where the class says, and that the object manager found nothing wrong.
SetProperties ExpectServedAsDeclared(const std::string& library);

#endif  // TESTS_BROKER_SERVED_SCHEMA_H_
