// The ways of other object managers, which a test can have the in-process one take. The one place
// in the tests that knows another object manager: an imitation is a set of function tables, and
// what the manager does beside them.
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
//   broker records                     one        shorter    one             one per provider
//   cleanup of what is idle            no         no         no              every few requests
//
// A refused property counts as the provider's error in all of them. None of them applies the
// filters of association requests. (SFCB lets its idle library go as a whole; whoever opened the
// library here can do the same.)
//
// Thread rule: constant data.

#ifndef SUPPORT_IMITATIONS_H_
#define SUPPORT_IMITATIONS_H_

#include "broker/imitation.h"

namespace broker {

const Imitation& Itself();
const Imitation& Cmpi10();
const Imitation& Sfcb();
const Imitation& OpenPegasus();

}  // namespace broker

#endif  // SUPPORT_IMITATIONS_H_
