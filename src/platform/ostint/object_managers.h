// What single object managers do in ways of their own: the one place in the library that knows one
// from another. They give their name in CMPIBrokerFT.brokerName.
//
//   OpenPegasus, "Pegasus"
//     GetInstance takes exactly one instance. A second one fails the request ("Too many objects
//     delivered"), and so does CMPI_RC_OK without any ("Too few objects delivered").
//     newInstance takes a path's keys into the instance's path, but leaves the properties of the
//     keys null: clients see elements without keys and associations without ends. No name is asked
//     for that: CmpiBroker::CopiesKeys finds it out.
//     The elements of an up-call's enumeration carry the state CMPI_nullValue beside a good
//     pointer. No name is asked for that either: CmpiEnumeration::getNext goes by the pointer.
//   SFCB, "RequestHandler"
//     GetInstance hands the first instance to the client, whatever its keys are, and drops the
//     rest.
//
// Where several instances are the answer to one GetInstance (the two ports of a bridge), a client
// of either would have no way to one of them.
//
// Thread rule: pure functions.

#ifndef PLATFORM_OSTINT_OBJECT_MANAGERS_H_
#define PLATFORM_OSTINT_OBJECT_MANAGERS_H_

#include <string_view>

#include "platform/cmpi/cmpi.h"

namespace ostInt {

// Whether GetInstance is to deliver the one instance that was asked for, or CMPI_RC_ERR_NOT_FOUND.
inline bool TakesOneInstance(const CMPIBroker* broker) {
  if (broker == nullptr || broker->bft->brokerName == nullptr) return false;
  const std::string_view name = broker->bft->brokerName;
  return name == "Pegasus" || name == "RequestHandler";
}

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_OBJECT_MANAGERS_H_
