// The ways of other object managers, which a test can have this one take, so that providers meet
// what they meet on the servers that people run. The one place in this room that knows another
// object manager: an imitation is a set of function tables, and what the manager does beside them.
//
//                                      itself     CMPI 1.0   SFCB            OpenPegasus
//   brokerName                         its own    its own    RequestHandler  Pegasus
//   tables                             whole      shorter    whole           whole
//   mark and release                   yes        no         no              no
//   newInstance copies keys            yes        yes        yes             no: they are null
//   newInstance sets class defaults    no         no         yes             yes
//   a property of the wrong type       refused    refused    refused         refused, another code
//   a property unknown to the class    refused    refused    refused         dropped, OK
//   state of an up-call's elements     good       good       good            null
//   GetInstance: a second instance     passed on  passed on  dropped         refused
//   GetInstance: OK without instances  passed on  passed on  NOT_FOUND       FAILED
//   brokers                            one        one        one             one per provider
//   cleanup of what is idle            no         no         no              every few requests
//
// A refused property counts as the provider's error in all of them. None of them applies the
// filters of association requests. (SFCB lets its idle library go as a whole; whoever opened the
// library here can do the same.)
//
// Thread rule: constant data.

#ifndef BROKER_IMITATION_H_
#define BROKER_IMITATION_H_

#include <cstddef>

#include "broker/tables.h"
#include "cim/status.h"

namespace broker {

struct Imitation {
  const Tables& tables;
  // What a client of GetInstance is answered after a provider that returned so many instances and
  // `status`; null where that is `status` itself.
  cim::Status (*answer_to_get_instance)(const cim::Status& status, std::size_t instances) = nullptr;
  // Every provider gets a broker record of its own, which goes when the provider does.
  bool broker_per_provider = false;
  // After how many requests all providers that no request is in are taken for idle and cleaned up;
  // 0: never.
  unsigned idle_every = 0;
};

const Imitation& Itself();
const Imitation& Cmpi10();
const Imitation& Sfcb();
const Imitation& OpenPegasus();

}  // namespace broker

#endif  // BROKER_IMITATION_H_
