// How every drive function calls its provider: unwraps the MI record, runs the operation, and turns
// whatever comes out of it into a CMPI status. For the sources of this room alone.
//
// Thread rule: no state.

#ifndef PLATFORM_OSTINT_DRIVE_H_
#define PLATFORM_OSTINT_DRIVE_H_

#include <exception>

#include "platform/ostint/cancellation_hold.h"
#include "platform/ostint/cmpi_base_mi.h"

namespace ostInt {

// As CMPI answers: no allocation of our own, so that it works when memory is short. Without a
// broker, which makes it, there is no text.
inline CMPIStatus MakeStatus(const CMPIBroker* broker, CMPIrc rc, const char* message) noexcept {
  CMPIStatus status{rc, nullptr};
  if (message == nullptr || *message == '\0' || broker == nullptr) return status;
  try {
    status.msg = broker->eft->newString(broker, message, nullptr);
  } catch (...) {
    // An object manager in C++ may run out of memory this way: then there is no text.
  }
  return status;
}

inline CMPIStatus MakeStatus(const CMPIBroker* broker, const CmpiStatus& status) noexcept {
  return MakeStatus(broker, status.rc(), status.message().c_str());
}

// Runs one operation of a provider, which may be null, with the provider's broker, and turns
// whatever comes out of it into a CMPI status.
template <typename Operation>
CMPIStatus Drive(const CmpiBaseMI* provider, Operation operation) noexcept {
  const CancellationHold hold;
  const BrokerScope scope(provider == nullptr ? nullptr : &provider->broker());
  const CMPIBroker* broker = CallBroker();
  try {
    return MakeStatus(broker, operation());
  } catch (const CmpiStatus& status) {
    return MakeStatus(broker, status);
  } catch (const std::exception& error) {
    return MakeStatus(broker, CMPI_RC_ERR_FAILED, error.what());
  } catch (...) {
    return MakeStatus(broker, CMPI_RC_ERR_FAILED, "unknown exception in the provider");
  }
}

inline CmpiBaseMI* ObjectBehind(const void* handle) {
  return static_cast<CmpiBaseMI*>(const_cast<void*>(handle));  // as the factory stored it
}

// The provider behind an MI record, as the kind of provider that the call is for.
template <typename Provider, typename Mi>
Provider& ProviderOf(const Mi* mi) {
  auto* provider = dynamic_cast<Provider*>(ObjectBehind(mi->hdl));
  if (provider == nullptr)
    throw CmpiStatus(CMPI_RC_ERR_INVALID_HANDLE, "no provider behind the MI");
  return *provider;
}

// Runs one virtual operation of the provider behind `mi` on the wrapped arguments of the call.
template <typename Provider, typename Mi, typename... Parameters, typename... Arguments>
CMPIStatus DriveOn(const Mi* mi, const CMPIContext* context, const CMPIResult* result,
                   const CMPIObjectPath* path,
                   CmpiStatus (Provider::*operation)(const CmpiContext&, CmpiResult&,
                                                     const CmpiObjectPath&, Parameters...),
                   const Arguments&... arguments) noexcept {
  return Drive(ObjectBehind(mi->hdl), [&] {
    CmpiResult wrapped_result(result);
    return (ProviderOf<Provider>(mi).*operation)(CmpiContext(context), wrapped_result,
                                                 CmpiObjectPath(path), arguments...);
  });
}

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_DRIVE_H_
