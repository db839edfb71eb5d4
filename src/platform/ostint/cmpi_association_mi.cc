#include "platform/ostint/cmpi_base_mi.h"
#include "platform/ostint/drive.h"

namespace ostInt {

CmpiAssociationMI::CmpiAssociationMI(const CmpiBroker& broker, const CmpiContext& context)
    : CmpiBaseMI(broker, context) {}

CmpiAssociationMI::~CmpiAssociationMI() = default;

CmpiStatus CmpiAssociationMI::associators(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                          const CmpiObjectPath& /*path*/,
                                          const char* /*assocClass*/, const char* /*resultClass*/,
                                          const char* /*role*/, const char* /*resultRole*/,
                                          const char** /*properties*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiAssociationMI::associatorNames(const CmpiContext& /*context*/,
                                              CmpiResult& /*result*/,
                                              const CmpiObjectPath& /*path*/,
                                              const char* /*assocClass*/,
                                              const char* /*resultClass*/, const char* /*role*/,
                                              const char* /*resultRole*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiAssociationMI::references(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                         const CmpiObjectPath& /*path*/,
                                         const char* /*resultClass*/, const char* /*role*/,
                                         const char** /*properties*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiAssociationMI::referenceNames(const CmpiContext& /*context*/, CmpiResult& /*result*/,
                                             const CmpiObjectPath& /*path*/,
                                             const char* /*resultClass*/, const char* /*role*/) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CMPIStatus CmpiAssociationMI::driveAssociators(CMPIAssociationMI* mi, const CMPIContext* context,
                                               const CMPIResult* result, const CMPIObjectPath* path,
                                               const char* assocClass, const char* resultClass,
                                               const char* role, const char* resultRole,
                                               const char** properties) {
  return DriveOn(mi, context, result, path, &CmpiAssociationMI::associators, assocClass,
                 resultClass, role, resultRole, properties);
}

CMPIStatus CmpiAssociationMI::driveAssociatorNames(CMPIAssociationMI* mi,
                                                   const CMPIContext* context,
                                                   const CMPIResult* result,
                                                   const CMPIObjectPath* path,
                                                   const char* assocClass, const char* resultClass,
                                                   const char* role, const char* resultRole) {
  return DriveOn(mi, context, result, path, &CmpiAssociationMI::associatorNames, assocClass,
                 resultClass, role, resultRole);
}

CMPIStatus CmpiAssociationMI::driveReferences(CMPIAssociationMI* mi, const CMPIContext* context,
                                              const CMPIResult* result, const CMPIObjectPath* path,
                                              const char* resultClass, const char* role,
                                              const char** properties) {
  return DriveOn(mi, context, result, path, &CmpiAssociationMI::references, resultClass, role,
                 properties);
}

CMPIStatus CmpiAssociationMI::driveReferenceNames(CMPIAssociationMI* mi, const CMPIContext* context,
                                                  const CMPIResult* result,
                                                  const CMPIObjectPath* path,
                                                  const char* resultClass, const char* role) {
  return DriveOn(mi, context, result, path, &CmpiAssociationMI::referenceNames, resultClass, role);
}

}  // namespace ostInt
