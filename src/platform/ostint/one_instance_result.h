// The result of a GetInstance in an object manager that takes one instance (object_managers.h): of
// what the provider returns, the one whose keys are those asked for goes on, or the first where
// none has them.
//
// Thread rule: belongs to one call.
// Errors: every operation throws CmpiStatus when the CMPI call behind it fails.

#ifndef PLATFORM_OSTINT_ONE_INSTANCE_RESULT_H_
#define PLATFORM_OSTINT_ONE_INSTANCE_RESULT_H_

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_object.h"

namespace ostInt {

class OneInstanceResult : public CmpiResult {
 public:
  // `asked` is the path of the request and outlives the result.
  OneInstanceResult(const CMPIResult* result, const CmpiObjectPath& asked);
  ~OneInstanceResult() override;

  // What the provider does. It returns its instances unfiltered: one that lost its keys to a
  // property list could not be told from another.
  void returnData(const CmpiInstance& instance) override;
  void returnDone() override {}

  // Hands the instance on with the properties of the request (null: all of them), and answers for a
  // provider that was content: CMPI_RC_ERR_NOT_FOUND where it returned nothing.
  CmpiStatus Deliver(const char** properties);

 private:
  const CmpiObjectPath& asked_;
  CMPIInstance* chosen_ = nullptr;  // a clone of our own: the provider's goes with its scope
  bool has_asked_keys_ = false;
};

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_ONE_INSTANCE_RESULT_H_
