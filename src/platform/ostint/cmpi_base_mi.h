// The virtual model of a provider, and the drive functions: the C entry points that turn a call of
// the object manager into a virtual operation of the provider object behind the MI record.
//
// What a drive function answers: the operation's own status; a thrown CmpiStatus as itself; any
// std::exception as CMPI_RC_ERR_FAILED with its text; anything else as CMPI_RC_ERR_FAILED. No
// exception crosses into the object manager. Operations that a provider does not override answer
// CMPI_RC_ERR_NOT_SUPPORTED.
// Thread rule: operations of one provider object may run on several threads at once; factories and
// cleanup of one class come from the object manager one at a time.

#ifndef PLATFORM_OSTINT_CMPI_BASE_MI_H_
#define PLATFORM_OSTINT_CMPI_BASE_MI_H_

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_status.h"

namespace ostInt {

class CmpiProviderBase;

// What every provider is.
class CmpiBaseMI {
 public:
  CmpiBaseMI(const CmpiBroker& broker, const CmpiContext& context);
  virtual ~CmpiBaseMI();
  CmpiBaseMI(const CmpiBaseMI&) = delete;
  CmpiBaseMI& operator=(const CmpiBaseMI&) = delete;

  virtual CmpiStatus initialize(const CmpiContext& context);
  virtual CmpiStatus cleanup(CmpiContext& context, bool terminating);
  // Whether the provider object may be deleted once its last use is gone.
  virtual bool isUnloadable() const;

  void setProviderBase(CmpiProviderBase* base) { provider_base_ = base; }
  const CmpiBroker& broker() const { return broker_; }

  // The cleanup entry of both kinds of MI. Runs cleanup() and drops one use, also where cleanup()
  // throws; when it was the last and the object is unloadable, deletes the object. An MI whose
  // object is gone answers OK.
  static CMPIStatus driveBaseCleanup(CMPIInstanceMI* mi, const CMPIContext* context,
                                     CMPIBoolean terminating);
  static CMPIStatus driveBaseCleanup(CMPIAssociationMI* mi, const CMPIContext* context,
                                     CMPIBoolean terminating);

 private:
  static CMPIStatus DriveCleanup(const void* handle, const CMPIContext* context,
                                 CMPIBoolean terminating);

  CmpiBroker broker_;
  CmpiProviderBase* provider_base_ = nullptr;
};

// The one place per class that remembers its provider object and counts its factory calls. Owns the
// object: what is left of it when the library is unloaded goes with it, because some object
// managers clean up once per library and not once per class.
class CmpiProviderBase {
 public:
  CmpiProviderBase() = default;
  ~CmpiProviderBase();
  CmpiProviderBase(const CmpiProviderBase&) = delete;
  CmpiProviderBase& operator=(const CmpiProviderBase&) = delete;

  CmpiBaseMI* getBaseMI() const { return object_; }
  void setBaseMI(CmpiBaseMI* object) { object_ = object; }

  void incUseCount() { ++use_count_; }
  // Drops one use. When it was the last one and the object is unloadable, deletes the object and
  // clears the handles of the MI records that led to it.
  void dropUse();
  unsigned useCount() const { return use_count_; }

  // The MI records whose handle is the object; one of each kind, which outlive the base's use.
  void setRecord(CMPIInstanceMI* record) { instance_record_ = record; }
  void setRecord(CMPIAssociationMI* record) { association_record_ = record; }

 private:
  CmpiBaseMI* object_ = nullptr;
  unsigned use_count_ = 0;
  CMPIInstanceMI* instance_record_ = nullptr;
  CMPIAssociationMI* association_record_ = nullptr;
};

// A provider of instances.
class CmpiInstanceMI : virtual public CmpiBaseMI {
 public:
  CmpiInstanceMI(const CmpiBroker& broker, const CmpiContext& context);
  ~CmpiInstanceMI() override;

  virtual CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                                       const CmpiObjectPath& path);
  virtual CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                                   const CmpiObjectPath& path, const char** properties);
  virtual CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const char** properties);
  virtual CmpiStatus createInstance(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path, const CmpiInstance& instance);
  virtual CmpiStatus setInstance(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const CmpiInstance& instance,
                                 const char** properties);
  virtual CmpiStatus deleteInstance(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path);
  virtual CmpiStatus execQuery(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path, const char* language, const char* query);

  static CMPIStatus driveEnumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                                           const CMPIResult* result, const CMPIObjectPath* path);
  static CMPIStatus driveEnumInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                       const CMPIResult* result, const CMPIObjectPath* path,
                                       const char** properties);
  static CMPIStatus driveGetInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** properties);
  static CMPIStatus driveCreateInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                        const CMPIResult* result, const CMPIObjectPath* path,
                                        const CMPIInstance* instance);
  static CMPIStatus driveSetInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const CMPIInstance* instance, const char** properties);
  static CMPIStatus driveDeleteInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                                        const CMPIResult* result, const CMPIObjectPath* path);
  static CMPIStatus driveExecQuery(CMPIInstanceMI* mi, const CMPIContext* context,
                                   const CMPIResult* result, const CMPIObjectPath* path,
                                   const char* query, const char* language);
};

// A provider of associations.
class CmpiAssociationMI : virtual public CmpiBaseMI {
 public:
  CmpiAssociationMI(const CmpiBroker& broker, const CmpiContext& context);
  ~CmpiAssociationMI() override;

  virtual CmpiStatus associators(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const char* assocClass,
                                 const char* resultClass, const char* role, const char* resultRole,
                                 const char** properties);
  virtual CmpiStatus associatorNames(const CmpiContext& context, CmpiResult& result,
                                     const CmpiObjectPath& path, const char* assocClass,
                                     const char* resultClass, const char* role,
                                     const char* resultRole);
  virtual CmpiStatus references(const CmpiContext& context, CmpiResult& result,
                                const CmpiObjectPath& path, const char* resultClass,
                                const char* role, const char** properties);
  virtual CmpiStatus referenceNames(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path, const char* resultClass,
                                    const char* role);

  static CMPIStatus driveAssociators(CMPIAssociationMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char* assocClass, const char* resultClass,
                                     const char* role, const char* resultRole,
                                     const char** properties);
  static CMPIStatus driveAssociatorNames(CMPIAssociationMI* mi, const CMPIContext* context,
                                         const CMPIResult* result, const CMPIObjectPath* path,
                                         const char* assocClass, const char* resultClass,
                                         const char* role, const char* resultRole);
  static CMPIStatus driveReferences(CMPIAssociationMI* mi, const CMPIContext* context,
                                    const CMPIResult* result, const CMPIObjectPath* path,
                                    const char* resultClass, const char* role,
                                    const char** properties);
  static CMPIStatus driveReferenceNames(CMPIAssociationMI* mi, const CMPIContext* context,
                                        const CMPIResult* result, const CMPIObjectPath* path,
                                        const char* resultClass, const char* role);
};

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CMPI_BASE_MI_H_
