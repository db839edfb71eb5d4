#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/drive.h"
#include "platform/ostint/object_managers.h"
#include "platform/ostint/one_instance_result.h"

namespace ostInt {

CmpiInstanceMI::CmpiInstanceMI(const CmpiBroker& broker, const CmpiContext& context)
    : CmpiBaseMI(broker, context) {}

CmpiInstanceMI::~CmpiInstanceMI() = default;

CmpiStatus CmpiInstanceMI::enumInstanceNames(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                             const CmpiObjectPath& /*path*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::enumInstances(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                         const CmpiObjectPath& /*path*/,
                                         const char** /*properties*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::getInstance(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                       const CmpiObjectPath& /*path*/,
                                       const char** /*properties*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::createInstance(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                          const CmpiObjectPath& /*path*/,
                                          const CmpiInstance& /*instance*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::setInstance(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                       const CmpiObjectPath& /*path*/,
                                       const CmpiInstance& /*instance*/,
                                       const char** /*properties*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::deleteInstance(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                          const CmpiObjectPath& /*path*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::execQuery(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                     const CmpiObjectPath& /*path*/, const char* /*language*/,
                                     const char* /*query*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CMPIStatus CmpiInstanceMI::driveEnumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                                                  const CMPIResult* result,
                                                  const CMPIObjectPath* path) {
  return DriveOn(mi, context, result, path, &CmpiInstanceMI::enumInstanceNames);
}

CMPIStatus CmpiInstanceMI::driveEnumInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                              const CMPIResult* result, const CMPIObjectPath* path,
                                              const char** properties) {
  return DriveOn(mi, context, result, path, &CmpiInstanceMI::enumInstances, properties);
}

CMPIStatus CmpiInstanceMI::driveGetInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                            const CMPIResult* result, const CMPIObjectPath* path,
                                            const char** properties) {
  return Drive(ObjectBehind(mi->hdl), [&]() -> CmpiStatus {
    auto& provider = ProviderOf<CmpiInstanceMI>(mi);
    const CmpiContext wrapped_context(context);
    const CmpiObjectPath asked(path);
    if (!TakesOneInstance(CallBroker())) {
      CmpiResult all(result);
      return provider.getInstance(wrapped_context, all, asked, properties);
    }
    OneInstanceResult one(result, asked);
    const CmpiStatus status = provider.getInstance(wrapped_context, one, asked, nullptr);
    return status.rc() == CMPI_RC_OK ? one.Deliver(properties) : status;
  });
}

CMPIStatus CmpiInstanceMI::driveCreateInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                               const CMPIResult* result, const CMPIObjectPath* path,
                                               const CMPIInstance* instance) {
  return DriveOn(mi, context, result, path, &CmpiInstanceMI::createInstance,
                 CmpiInstance(instance));
}

CMPIStatus CmpiInstanceMI::driveSetInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                            const CMPIResult* result, const CMPIObjectPath* path,
                                            const CMPIInstance* instance, const char** properties) {
  return DriveOn(mi, context, result, path, &CmpiInstanceMI::setInstance, CmpiInstance(instance),
                 properties);
}

CMPIStatus CmpiInstanceMI::driveDeleteInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                               const CMPIResult* result,
                                               const CMPIObjectPath* path) {
  return DriveOn(mi, context, result, path, &CmpiInstanceMI::deleteInstance);
}

// CMPI passes the query before its language, the virtual operation takes the language first.
CMPIStatus CmpiInstanceMI::driveExecQuery(CMPIInstanceMI* mi, const CMPIContext* context,
                                          const CMPIResult* result, const CMPIObjectPath* path,
                                          const char* query, const char* language) {
  return DriveOn(mi, context, result, path, &CmpiInstanceMI::execQuery, language, query);
}

}  // namespace ostInt
