// Another object manager's ways, which a test can have this one take (tests/support/imitations.h),
// so that providers meet what they meet on the servers that people run. The one seam that is there
// for tests alone.
//
// Thread rule: constant data.

#ifndef BROKER_IMITATION_H_
#define BROKER_IMITATION_H_

#include <memory>

#include "broker/tables.h"
#include "cim/status.h"

namespace broker {

class Call;

struct Imitation {
  const Tables& tables;
  // What the client is answered whose call a provider ended with `status`; null: just that.
  cim::Status (*answer)(const Call& call, const cim::Status& status) = nullptr;
  // Makes, of the object manager's broker record, the one that a provider is given and that goes
  // when the provider does; null: all are given the object manager's.
  std::shared_ptr<const CMPIBroker> (*broker_for_provider)(const CMPIBroker& own) = nullptr;
  // After how many requests all providers that no request is in are taken for idle and cleaned up;
  // 0: never.
  unsigned idle_every = 0;
};

}  // namespace broker

#endif  // BROKER_IMITATION_H_
