// How the associations choose what to do by the class of a request's source path.
//
// Thread rule: no state.
// Errors: the wrapper's CmpiStatus passes to the caller.

#ifndef ASSOCIATIONS_SOURCE_DISPATCH_H_
#define ASSOCIATIONS_SOURCE_DISPATCH_H_

#include <syslog.h>

#include "platform/ostint/cmpi_object.h"

// What an operation does with a source of one class (or a subclass of it).
template <typename Action>
struct SourceRule {
  const char* class_name;
  Action action;
};
template <typename Action>
SourceRule(const char*, Action) -> SourceRule<Action>;

// Runs the action of the first rule whose class the source is of. A source that no rule serves is
// no error: it is logged at LOG_DEBUG as `unserved`, a blank, and the path's text form.
template <typename... Actions>
void DispatchOnSource(const ostInt::CmpiObjectPath& source, const char* unserved,
                      const SourceRule<Actions>&... rules) {
  const bool served = ((source.classPathIsA(rules.class_name) && (rules.action(), true)) || ...);
  if (!served) syslog(LOG_DEBUG, "%s %s", unserved, source.toString().charPtr());
}

#endif  // ASSOCIATIONS_SOURCE_DISPATCH_H_
