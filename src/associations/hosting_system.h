// The hosting system's own instance, which another provider of the object manager serves.
//
// Thread rule: no state.
// Errors: the object manager's status is thrown as CmpiStatus when it refuses the up-call.

#ifndef ASSOCIATIONS_HOSTING_SYSTEM_H_
#define ASSOCIATIONS_HOSTING_SYSTEM_H_

#include "platform/ostint/cmpi_broker.h"

// Asks the object manager for the instances, or the instance names, of "OMC_UnitaryComputerSystem"
// and returns the first one; returns nothing when there is none.
void ReturnHostingSystem(const ostInt::CmpiBroker& broker, const ostInt::CmpiContext& context,
                         ostInt::CmpiResult& result, const char** properties);
void ReturnHostingSystemRef(const ostInt::CmpiBroker& broker, const ostInt::CmpiContext& context,
                            ostInt::CmpiResult& result);

#endif  // ASSOCIATIONS_HOSTING_SYSTEM_H_
