// The CMPI 2.0 C interface between an object manager and a provider library.
//
// Binary contract: an object manager fills and reads these records by position, so no name, slot,
// type or value below may change (CMPI Technical Standard C051, "Common Manageability Programming
// Interface", version 2.0). The asserts at the end hold the layout for LP64 platforms.
//
// Thread rule: plain declarations, no state. The object manager says which tables may be used from
// which thread; a broker obtained in a factory may be used from any thread that serves a request.

#ifndef PLATFORM_CMPI_CMPI_H_
#define PLATFORM_CMPI_CMPI_H_

#include <cstddef>
#include <cstdint>
#include <ctime>

extern "C" {

// ---------------------------------------------------------------------------------------------
// Scalars

using CMPIBoolean = unsigned char;
using CMPIChar16 = unsigned short;
using CMPIUint8 = unsigned char;
using CMPIUint16 = unsigned short;
using CMPIUint32 = unsigned int;
using CMPIUint64 = unsigned long long;
using CMPISint8 = signed char;
using CMPISint16 = short;
using CMPISint32 = int;
using CMPISint64 = long long;
using CMPIReal32 = float;
using CMPIReal64 = double;
using CMPICount = unsigned int;
using CMPIFlags = unsigned int;
using CMPIType = unsigned short;
using CMPIValueState = unsigned short;
using CMPIMsgFileHandle = void*;

// Opaque: a point in the object manager's memory accounting (CMPIBrokerMemFT::mark).
struct CMPIGcStat;

// Type codes. CMPI_ARRAY is or-ed to the type of the elements.
enum : CMPIType {
  CMPI_null = 0x0000,
  CMPI_boolean = 0x0002,
  CMPI_char16 = 0x0003,
  CMPI_real32 = 0x0008,
  CMPI_real64 = 0x000c,
  CMPI_uint8 = 0x0080,
  CMPI_uint16 = 0x0090,
  CMPI_uint32 = 0x00a0,
  CMPI_uint64 = 0x00b0,
  CMPI_sint8 = 0x00c0,
  CMPI_sint16 = 0x00d0,
  CMPI_sint32 = 0x00e0,
  CMPI_sint64 = 0x00f0,
  CMPI_instance = 0x1000,
  CMPI_ref = 0x1100,
  CMPI_args = 0x1200,
  CMPI_enumeration = 0x1500,
  CMPI_string = 0x1600,
  CMPI_chars = 0x1700,
  CMPI_dateTime = 0x1800,
  CMPI_ARRAY = 0x2000,
};

// State of a value that was read.
enum : CMPIValueState {
  CMPI_goodValue = 0,
  CMPI_nullValue = 0x0100,
  CMPI_keyValue = 0x0200,
  CMPI_notFound = 0x0400,
  CMPI_badValue = 0x8000,
};

enum CMPIrc : int {
  CMPI_RC_OK = 0,
  CMPI_RC_ERR_FAILED = 1,
  CMPI_RC_ERR_ACCESS_DENIED = 2,
  CMPI_RC_ERR_INVALID_NAMESPACE = 3,
  CMPI_RC_ERR_INVALID_PARAMETER = 4,
  CMPI_RC_ERR_INVALID_CLASS = 5,
  CMPI_RC_ERR_NOT_FOUND = 6,
  CMPI_RC_ERR_NOT_SUPPORTED = 7,
  CMPI_RC_ERR_CLASS_HAS_CHILDREN = 8,
  CMPI_RC_ERR_CLASS_HAS_INSTANCES = 9,
  CMPI_RC_ERR_INVALID_SUPERCLASS = 10,
  CMPI_RC_ERR_ALREADY_EXISTS = 11,
  CMPI_RC_ERR_NO_SUCH_PROPERTY = 12,
  CMPI_RC_ERR_TYPE_MISMATCH = 13,
  CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
  CMPI_RC_ERR_INVALID_QUERY = 15,
  CMPI_RC_ERR_METHOD_NOT_AVAILABLE = 16,
  CMPI_RC_ERR_METHOD_NOT_FOUND = 17,
  CMPI_RC_DO_NOT_UNLOAD = 50,
  CMPI_RC_NEVER_UNLOAD = 51,
  CMPI_RC_ERR_INVALID_HANDLE = 60,
  CMPI_RC_ERR_INVALID_DATA_TYPE = 61,
  CMPI_RC_ERROR_SYSTEM = 100,
  CMPI_RC_ERROR = 200,
};

// Bits of CMPIBrokerFT::brokerCapabilities.
enum : unsigned int {
  CMPI_MB_Class_0 = 0x01,  // basic read
  CMPI_MB_Class_1 = 0x03,  // and write
  CMPI_MB_Class_2 = 0x07,  // and instance manipulation, associations
  CMPI_MB_Supports_PropertyMI = 0x100,
  CMPI_MB_Supports_IndicationMI = 0x200,
  CMPI_MB_Supports_IndicationPolling = 0x400,
  CMPI_MB_Supports_QueryNormalization = 0x800,
  CMPI_MB_Supports_Qualifier = 0x1000,
  CMPI_MB_Supports_Schema = 0x3000,
  CMPI_MB_Supports_MemEnhancements = 0x4000,  // CMPIBroker::mft may be used
  CMPI_MB_Supports_Extended_Error = 0x8000,
};

// Interface versions that a function table or a broker may state.
enum : int {
  CMPIVersion100 = 100,
  CMPIVersion200 = 200,
};

// CIM_Error.ErrorType and .PerceivedSeverity (CIM schema) as CMPI spells them; the two others are
// passed through as the numbers that CIM_Error defines.
enum CMPIErrorType : int {
  UnknownErrorType = 0,
  OtherErrorType = 1,
  CommunicationsErrorType = 2,
  QualityOfServiceErrorType = 3,
  SoftwareErrorType = 4,
  HardwareErrorType = 5,
  EnvironmentalErrorType = 6,
  SecurityErrorType = 7,
  Oversubscription_ErrorType = 8,
  UnavailableResourceErrorType = 9,
  UnsupportedOperationErrorType = 10,
};
enum CMPIErrorSeverity : int {
  ErrSevUnknown = 0,
  ErrSevLow = 2,
  ErrSevMedium = 3,
  ErrSevHigh = 4,
  ErrSevFatal = 5,
};
enum CMPIErrorProbableCause : int { ErrProbCauseUnknown = 0 };
enum CMPIErrorSrcFormat : int {
  CMPIErrSrcFormatUnknown = 0,
  CMPIErrSrcFormatOther = 1,
  CMPIErrSrcFormatCIMObjectHandle = 2,
};

// ---------------------------------------------------------------------------------------------
// Records

struct CMPIBroker;
struct CMPIBrokerFT;
struct CMPIBrokerEncFT;
struct CMPIBrokerExtFT;
struct CMPIBrokerMemFT;
struct CMPIInstance;
struct CMPIInstanceFT;
struct CMPIObjectPath;
struct CMPIObjectPathFT;
struct CMPIArgs;
struct CMPIArgsFT;
struct CMPIArray;
struct CMPIArrayFT;
struct CMPIString;
struct CMPIStringFT;
struct CMPIResult;
struct CMPIResultFT;
struct CMPIContext;
struct CMPIContextFT;
struct CMPIEnumeration;
struct CMPIEnumerationFT;
struct CMPIDateTime;
struct CMPIDateTimeFT;
struct CMPIError;
struct CMPIErrorFT;
struct CMPISelectExp;
struct CMPISelectExpFT;
struct CMPIInstanceMI;
struct CMPIInstanceMIFT;
struct CMPIAssociationMI;
struct CMPIAssociationMIFT;

struct CMPIValuePtr {
  void* ptr;
  CMPICount length;
};

// One value; the type code beside it says which member is set. Text passed as CMPI_chars is the
// exception: the pointer to the value is then the pointer to the text itself.
union CMPIValue {
  CMPIUint64 uint64;
  CMPIUint32 uint32;
  CMPIUint16 uint16;
  CMPIUint8 uint8;
  CMPISint64 sint64;
  CMPISint32 sint32;
  CMPISint16 sint16;
  CMPISint8 sint8;
  CMPIReal64 real64;
  CMPIReal32 real32;
  CMPIBoolean boolean;
  CMPIChar16 char16;
  CMPIInstance* inst;
  CMPIObjectPath* ref;
  CMPIArgs* args;
  CMPISelectExp* filter;
  CMPIEnumeration* Enum;
  CMPIArray* array;
  CMPIString* string;
  char* chars;
  CMPIDateTime* dateTime;
  CMPIValuePtr dataPtr;
};

struct CMPIData {
  CMPIType type;
  CMPIValueState state;
  CMPIValue value;
};

struct CMPIStatus {
  CMPIrc rc;
  CMPIString* msg;  // may be null
};

struct CMPIBroker {
  void* hdl;
  CMPIBrokerFT* bft;
  CMPIBrokerEncFT* eft;
  CMPIBrokerExtFT* xft;
  CMPIBrokerMemFT* mft;  // only with CMPI_MB_Supports_MemEnhancements; older brokers end before it
};

struct CMPIInstance {
  void* hdl;
  CMPIInstanceFT* ft;
};

struct CMPIObjectPath {
  void* hdl;
  CMPIObjectPathFT* ft;
};

struct CMPIArgs {
  void* hdl;
  CMPIArgsFT* ft;
};

struct CMPIArray {
  void* hdl;
  CMPIArrayFT* ft;
};

struct CMPIString {
  void* hdl;
  CMPIStringFT* ft;
};

struct CMPIResult {
  void* hdl;
  CMPIResultFT* ft;
};

struct CMPIContext {
  void* hdl;
  CMPIContextFT* ft;
};

struct CMPIEnumeration {
  void* hdl;
  CMPIEnumerationFT* ft;
};

struct CMPIDateTime {
  void* hdl;
  CMPIDateTimeFT* ft;
};

struct CMPIError {
  void* hdl;
  CMPIErrorFT* ft;
};

struct CMPISelectExp {
  void* hdl;
  CMPISelectExpFT* ft;
};

struct CMPIInstanceMI {
  const void* hdl;
  CMPIInstanceMIFT* ft;
};

struct CMPIAssociationMI {
  void* hdl;
  CMPIAssociationMIFT* ft;
};

// ---------------------------------------------------------------------------------------------
// Function tables. Every `rc` that is passed by pointer may be null.

// Services of the object manager. Enumerations belong to it and end with the provider call.
struct CMPIBrokerFT {
  unsigned int brokerCapabilities;
  unsigned int brokerVersion;
  const char* brokerName;
  CMPIContext* (*prepareAttachThread)(const CMPIBroker* mb, const CMPIContext* ctx);
  CMPIStatus (*attachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*detachThread)(const CMPIBroker* mb, const CMPIContext* ctx);
  CMPIStatus (*deliverIndication)(const CMPIBroker* mb, const CMPIContext* ctx, const char* ns,
                                  const CMPIInstance* ind);
  CMPIEnumeration* (*enumerateInstanceNames)(const CMPIBroker* mb, const CMPIContext* ctx,
                                             const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIInstance* (*getInstance)(const CMPIBroker* mb, const CMPIContext* ctx,
                               const CMPIObjectPath* op, const char** properties, CMPIStatus* rc);
  CMPIObjectPath* (*createInstance)(const CMPIBroker* mb, const CMPIContext* ctx,
                                    const CMPIObjectPath* op, const CMPIInstance* inst,
                                    CMPIStatus* rc);
  CMPIStatus (*modifyInstance)(const CMPIBroker* mb, const CMPIContext* ctx,
                               const CMPIObjectPath* op, const CMPIInstance* inst,
                               const char** properties);
  CMPIStatus (*deleteInstance)(const CMPIBroker* mb, const CMPIContext* ctx,
                               const CMPIObjectPath* op);
  CMPIEnumeration* (*execQuery)(const CMPIBroker* mb, const CMPIContext* ctx,
                                const CMPIObjectPath* op, const char* query, const char* lang,
                                CMPIStatus* rc);
  CMPIEnumeration* (*enumerateInstances)(const CMPIBroker* mb, const CMPIContext* ctx,
                                         const CMPIObjectPath* op, const char** properties,
                                         CMPIStatus* rc);
  CMPIEnumeration* (*associators)(const CMPIBroker* mb, const CMPIContext* ctx,
                                  const CMPIObjectPath* op, const char* assocClass,
                                  const char* resultClass, const char* role, const char* resultRole,
                                  const char** properties, CMPIStatus* rc);
  CMPIEnumeration* (*associatorNames)(const CMPIBroker* mb, const CMPIContext* ctx,
                                      const CMPIObjectPath* op, const char* assocClass,
                                      const char* resultClass, const char* role,
                                      const char* resultRole, CMPIStatus* rc);
  CMPIEnumeration* (*references)(const CMPIBroker* mb, const CMPIContext* ctx,
                                 const CMPIObjectPath* op, const char* resultClass,
                                 const char* role, const char** properties, CMPIStatus* rc);
  CMPIEnumeration* (*referenceNames)(const CMPIBroker* mb, const CMPIContext* ctx,
                                     const CMPIObjectPath* op, const char* resultClass,
                                     const char* role, CMPIStatus* rc);
  CMPIData (*invokeMethod)(const CMPIBroker* mb, const CMPIContext* ctx, const CMPIObjectPath* op,
                           const char* method, const CMPIArgs* in, CMPIArgs* out, CMPIStatus* rc);
  CMPIStatus (*setProperty)(const CMPIBroker* mb, const CMPIContext* ctx, const CMPIObjectPath* op,
                            const char* name, const CMPIValue* value, CMPIType type);
  CMPIData (*getProperty)(const CMPIBroker* mb, const CMPIContext* ctx, const CMPIObjectPath* op,
                          const char* name, CMPIStatus* rc);
};

// Factories of CMPI objects and helpers. What they make belongs to the object manager.
struct CMPIBrokerEncFT {
  int ftVersion;
  CMPIInstance* (*newInstance)(const CMPIBroker* mb, const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIObjectPath* (*newObjectPath)(const CMPIBroker* mb, const char* ns, const char* cn,
                                   CMPIStatus* rc);
  CMPIArgs* (*newArgs)(const CMPIBroker* mb, CMPIStatus* rc);
  CMPIString* (*newString)(const CMPIBroker* mb, const char* data, CMPIStatus* rc);
  CMPIArray* (*newArray)(const CMPIBroker* mb, CMPICount max, CMPIType type, CMPIStatus* rc);
  CMPIDateTime* (*newDateTime)(const CMPIBroker* mb, CMPIStatus* rc);
  CMPIDateTime* (*newDateTimeFromBinary)(const CMPIBroker* mb, CMPIUint64 binTime,
                                         CMPIBoolean interval, CMPIStatus* rc);
  CMPIDateTime* (*newDateTimeFromChars)(const CMPIBroker* mb, const char* utcTime, CMPIStatus* rc);
  CMPISelectExp* (*newSelectExp)(const CMPIBroker* mb, const char* query, const char* lang,
                                 CMPIArray** projection, CMPIStatus* st);
  CMPIBoolean (*classPathIsA)(const CMPIBroker* mb, const CMPIObjectPath* op, const char* type,
                              CMPIStatus* rc);
  CMPIString* (*toString)(const CMPIBroker* mb, const void* object, CMPIStatus* rc);
  CMPIBoolean (*isOfType)(const CMPIBroker* mb, const void* object, const char* type,
                          CMPIStatus* rc);
  CMPIString* (*getType)(const CMPIBroker* mb, const void* object, CMPIStatus* rc);
  CMPIString* (*getMessage)(const CMPIBroker* mb, const char* msgId, const char* defMsg,
                            CMPIStatus* rc, CMPICount count, ...);
  CMPIStatus (*logMessage)(const CMPIBroker*, int severity, const char* id, const char* text,
                           const CMPIString* string);
  CMPIStatus (*trace)(const CMPIBroker*, int level, const char* component, const char* text,
                      const CMPIString* string);
  CMPIError* (*newCMPIError)(const CMPIBroker*, const char*, const char*, const char*,
                             const CMPIErrorSeverity, const CMPIErrorProbableCause, const CMPIrc,
                             CMPIStatus* rc);
  CMPIStatus (*openMessageFile)(const CMPIBroker* mb, const char* msgFile,
                                CMPIMsgFileHandle* msgFileHandle);
  CMPIStatus (*closeMessageFile)(const CMPIBroker* mb, const CMPIMsgFileHandle msgFileHandle);
  CMPIString* (*getMessage2)(const CMPIBroker* mb, const char* msgId,
                             const CMPIMsgFileHandle msgFileHandle, const char* defMsg,
                             CMPIStatus* rc, CMPICount count, ...);
};

// Operating system services.
struct CMPIBrokerExtFT {
  int ftVersion;
  char* (*resolveFileName)(const char* filename);
  void* (*newThread)(void* (*start)(void*), void* parm, int detached);
  int (*joinThread)(void* thread, void** retval);
  int (*exitThread)(void* return_code);
  int (*cancelThread)(void* thread);
  int (*threadSleep)(CMPIUint32 msec);
  int (*threadOnce)(int* once, void (*init)(void));
  int (*createThreadKey)(unsigned long* key, void (*cleanup)(void*));
  int (*destroyThreadKey)(unsigned long key);
  void* (*getThreadSpecific)(unsigned long key);
  int (*setThreadSpecific)(unsigned long key, void* value);
  void* (*newMutex)(int opt);
  void (*destroyMutex)(void* mutex);
  void (*lockMutex)(void* mutex);
  void (*unlockMutex)(void* mutex);
  void* (*newCondition)(int opt);
  void (*destroyCondition)(void* cond);
  int (*condWait)(void* cond, void* mutex);
  int (*timedCondWait)(void* cond, void* mutex, timespec* wait);
  int (*signalCondition)(void* cond);
};

// Memory; only where the broker offers it (CMPI_MB_Supports_MemEnhancements).
struct CMPIBrokerMemFT {
  const int ftVersion;
  CMPIGcStat* (*mark)(const CMPIBroker* mb, CMPIStatus* rc);
  CMPIStatus (*release)(const CMPIBroker* mb, const CMPIGcStat* gc);
  void* (*cmpiMalloc)(const CMPIBroker* mb, size_t size);
  void* (*cmpiCalloc)(const CMPIBroker* mb, size_t, size_t);
  void* (*cmpiRealloc)(const CMPIBroker* mb, void*, size_t);
  char* (*cmpiStrDup)(const CMPIBroker* mb, const char*);
  void (*cmpiFree)(const CMPIBroker* mb, void*);
  void (*freeInstance)(const CMPIBroker* mb, CMPIInstance* inst);
  void (*freeObjectPath)(const CMPIBroker* mb, CMPIObjectPath* obj);
  void (*freeArgs)(const CMPIBroker* mb, CMPIArgs* args);
  void (*freeString)(const CMPIBroker* mb, CMPIString* str);
  void (*freeArray)(const CMPIBroker* mb, CMPIArray* array);
  void (*freeDateTime)(const CMPIBroker* mb, CMPIDateTime* date);
  void (*freeSelectExp)(const CMPIBroker* mb, CMPISelectExp* se);
};

struct CMPIInstanceFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIInstance* inst);
  CMPIInstance* (*clone)(const CMPIInstance* inst, CMPIStatus* rc);
  CMPIData (*getProperty)(const CMPIInstance* inst, const char* name, CMPIStatus* rc);
  CMPIData (*getPropertyAt)(const CMPIInstance* inst, CMPICount index, CMPIString** name,
                            CMPIStatus* rc);
  CMPICount (*getPropertyCount)(const CMPIInstance* inst, CMPIStatus* rc);
  CMPIStatus (*setProperty)(const CMPIInstance* inst, const char* name, const CMPIValue* value,
                            CMPIType type);
  CMPIObjectPath* (*getObjectPath)(const CMPIInstance* inst, CMPIStatus* rc);
  CMPIStatus (*setPropertyFilter)(CMPIInstance* inst, const char** propertyList, const char** keys);
  CMPIStatus (*setObjectPath)(CMPIInstance* inst, const CMPIObjectPath* op);
  CMPIStatus (*setPropertyWithOrigin)(const CMPIInstance*, const char*, const CMPIValue*,
                                      const CMPIType, const char*);
};

struct CMPIObjectPathFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIObjectPath* op);
  CMPIObjectPath* (*clone)(const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIStatus (*setNameSpace)(CMPIObjectPath* op, const char* ns);
  CMPIString* (*getNameSpace)(const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIStatus (*setHostname)(CMPIObjectPath* op, const char* hn);
  CMPIString* (*getHostname)(const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIStatus (*setClassName)(CMPIObjectPath* op, const char* cn);
  CMPIString* (*getClassName)(const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIStatus (*addKey)(CMPIObjectPath* op, const char* name, const CMPIValue* value,
                       const CMPIType type);
  CMPIData (*getKey)(const CMPIObjectPath* op, const char* name, CMPIStatus* rc);
  CMPIData (*getKeyAt)(const CMPIObjectPath* op, CMPICount index, CMPIString** name,
                       CMPIStatus* rc);
  CMPICount (*getKeyCount)(const CMPIObjectPath* op, CMPIStatus* rc);
  CMPIStatus (*setNameSpaceFromObjectPath)(CMPIObjectPath* op, const CMPIObjectPath* src);
  CMPIStatus (*setHostAndNameSpaceFromObjectPath)(CMPIObjectPath* op, const CMPIObjectPath* src);
  CMPIData (*getClassQualifier)(const CMPIObjectPath* op, const char* qName, CMPIStatus* rc);
  CMPIData (*getPropertyQualifier)(const CMPIObjectPath* op, const char* pName, const char* qName,
                                   CMPIStatus* rc);
  CMPIData (*getMethodQualifier)(const CMPIObjectPath* op, const char* methodName,
                                 const char* qName, CMPIStatus* rc);
  CMPIData (*getParameterQualifier)(const CMPIObjectPath* op, const char* mName, const char* pName,
                                    const char* qName, CMPIStatus* rc);
  CMPIString* (*toString)(const CMPIObjectPath* op, CMPIStatus* rc);
};

struct CMPIArgsFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIArgs* as);
  CMPIArgs* (*clone)(const CMPIArgs* as, CMPIStatus* rc);
  CMPIStatus (*addArg)(const CMPIArgs* as, const char* name, const CMPIValue* value,
                       const CMPIType type);
  CMPIData (*getArg)(const CMPIArgs* as, const char* name, CMPIStatus* rc);
  CMPIData (*getArgAt)(const CMPIArgs* as, CMPICount index, CMPIString** name, CMPIStatus* rc);
  CMPICount (*getArgCount)(const CMPIArgs* as, CMPIStatus* rc);
};

struct CMPIArrayFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIArray* ar);
  CMPIArray* (*clone)(const CMPIArray* ar, CMPIStatus* rc);
  CMPICount (*getSize)(const CMPIArray* ar, CMPIStatus* rc);
  CMPIType (*getSimpleType)(const CMPIArray* ar, CMPIStatus* rc);
  CMPIData (*getElementAt)(const CMPIArray* ar, CMPICount index, CMPIStatus* rc);
  CMPIStatus (*setElementAt)(CMPIArray* ar, CMPICount index, const CMPIValue* value, CMPIType type);
};

struct CMPIStringFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIString* st);
  CMPIString* (*clone)(const CMPIString* st, CMPIStatus* rc);
  const char* (*getCharPtr)(const CMPIString* st, CMPIStatus* rc);
};

struct CMPIResultFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIResult* rslt);
  CMPIResult* (*clone)(const CMPIResult* rslt, CMPIStatus* rc);
  CMPIStatus (*returnData)(const CMPIResult* rslt, const CMPIValue* value, const CMPIType type);
  CMPIStatus (*returnInstance)(const CMPIResult* rslt, const CMPIInstance* inst);
  CMPIStatus (*returnObjectPath)(const CMPIResult* rslt, const CMPIObjectPath* ref);
  CMPIStatus (*returnDone)(const CMPIResult* rslt);
  CMPIStatus (*returnError)(const CMPIResult* rslt, const CMPIError* er);
};

struct CMPIContextFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIContext* ctx);
  CMPIContext* (*clone)(const CMPIContext* ctx, CMPIStatus* rc);
  CMPIData (*getEntry)(const CMPIContext* ctx, const char* name, CMPIStatus* rc);
  CMPIData (*getEntryAt)(const CMPIContext* ctx, CMPICount index, CMPIString** name,
                         CMPIStatus* rc);
  CMPICount (*getEntryCount)(const CMPIContext* ctx, CMPIStatus* rc);
  CMPIStatus (*addEntry)(const CMPIContext* ctx, const char* name, const CMPIValue* value,
                         const CMPIType type);
};

struct CMPIEnumerationFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIEnumeration* en);
  CMPIEnumeration* (*clone)(const CMPIEnumeration* en, CMPIStatus* rc);
  CMPIData (*getNext)(const CMPIEnumeration* en, CMPIStatus* rc);
  CMPIBoolean (*hasNext)(const CMPIEnumeration* en, CMPIStatus* rc);
  CMPIArray* (*toArray)(const CMPIEnumeration* en, CMPIStatus* rc);
};

struct CMPIDateTimeFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIDateTime* dt);
  CMPIDateTime* (*clone)(const CMPIDateTime* dt, CMPIStatus* rc);
  CMPIUint64 (*getBinaryFormat)(const CMPIDateTime* dt, CMPIStatus* rc);
  CMPIString* (*getStringFormat)(const CMPIDateTime* dt, CMPIStatus* rc);
  CMPIBoolean (*isInterval)(const CMPIDateTime* dt, CMPIStatus* rc);
};

struct CMPIErrorFT {
  CMPISint32 ftVersion;
  CMPIStatus (*release)(CMPIError*);
  CMPIError* (*clone)(const CMPIError*, CMPIStatus*);
  CMPIErrorType (*getErrorType)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getOtherErrorType)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getOwningEntity)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getMessageID)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getMessage)(const CMPIError*, CMPIStatus*);
  CMPIErrorSeverity (*getPerceivedSeverity)(const CMPIError*, CMPIStatus*);
  CMPIErrorProbableCause (*getProbableCause)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getProbableCauseDescription)(const CMPIError*, CMPIStatus*);
  CMPIArray* (*getRecommendedActions)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getErrorSource)(const CMPIError*, CMPIStatus*);
  CMPIErrorSrcFormat (*getErrorSourceFormat)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getOtherErrorSourceFormat)(const CMPIError*, CMPIStatus*);
  CMPIrc (*getCIMStatusCode)(const CMPIError*, CMPIStatus*);
  CMPIString* (*getCIMStatusCodeDescription)(const CMPIError*, CMPIStatus*);
  CMPIArray* (*getMessageArguments)(const CMPIError*, CMPIStatus*);
  CMPIStatus (*setErrorType)(CMPIError*, const CMPIErrorType);
  CMPIStatus (*setOtherErrorType)(CMPIError*, const char*);
  CMPIStatus (*setProbableCauseDescription)(CMPIError*, const char*);
  CMPIStatus (*setRecommendedActions)(CMPIError*, const CMPIArray*);
  CMPIStatus (*setErrorSource)(CMPIError*, const char*);
  CMPIStatus (*setErrorSourceFormat)(CMPIError*, const CMPIErrorSrcFormat);
  CMPIStatus (*setOtherErrorSourceFormat)(CMPIError*, const char*);
  CMPIStatus (*setCIMStatusCodeDescription)(CMPIError*, const char*);
  CMPIStatus (*setMessageArguments)(CMPIError*, CMPIArray*);
};

// A provider's instance entry points.
struct CMPIInstanceMIFT {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIInstanceMI* mi, const CMPIContext* ctx, CMPIBoolean terminating);
  CMPIStatus (*enumerateInstanceNames)(CMPIInstanceMI* mi, const CMPIContext* ctx,
                                       const CMPIResult* rslt, const CMPIObjectPath* op);
  CMPIStatus (*enumerateInstances)(CMPIInstanceMI* mi, const CMPIContext* ctx,
                                   const CMPIResult* rslt, const CMPIObjectPath* op,
                                   const char** properties);
  CMPIStatus (*getInstance)(CMPIInstanceMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                            const CMPIObjectPath* op, const char** properties);
  CMPIStatus (*createInstance)(CMPIInstanceMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                               const CMPIObjectPath* op, const CMPIInstance* inst);
  CMPIStatus (*modifyInstance)(CMPIInstanceMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                               const CMPIObjectPath* op, const CMPIInstance* inst,
                               const char** properties);
  CMPIStatus (*deleteInstance)(CMPIInstanceMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                               const CMPIObjectPath* op);
  CMPIStatus (*execQuery)(CMPIInstanceMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                          const CMPIObjectPath* op, const char* query, const char* lang);
};

// A provider's association entry points.
struct CMPIAssociationMIFT {
  int ftVersion;
  const CMPISint32 miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIAssociationMI* mi, const CMPIContext* ctx, CMPIBoolean terminating);
  CMPIStatus (*associators)(CMPIAssociationMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                            const CMPIObjectPath* op, const char* asscClass,
                            const char* resultClass, const char* role, const char* resultRole,
                            const char** properties);
  CMPIStatus (*associatorNames)(CMPIAssociationMI* mi, const CMPIContext* ctx,
                                const CMPIResult* rslt, const CMPIObjectPath* op,
                                const char* assocClass, const char* resultClass, const char* role,
                                const char* resultRole);
  CMPIStatus (*references)(CMPIAssociationMI* mi, const CMPIContext* ctx, const CMPIResult* rslt,
                           const CMPIObjectPath* op, const char* resultClass, const char* role,
                           const char** properties);
  CMPIStatus (*referenceNames)(CMPIAssociationMI* mi, const CMPIContext* ctx,
                               const CMPIResult* rslt, const CMPIObjectPath* op,
                               const char* resultClass, const char* role);
};

}  // extern "C"

// ---------------------------------------------------------------------------------------------
// Layout (LP64): sizes, and the slots that both sides use most.

static_assert(sizeof(void*) == 8, "the CMPI layout below is declared for 64-bit platforms");
static_assert(sizeof(CMPIBoolean) == 1 && sizeof(CMPIChar16) == 2);
static_assert(sizeof(CMPIUint64) == 8 && sizeof(CMPISint64) == 8);
static_assert(sizeof(CMPICount) == 4 && sizeof(CMPIFlags) == 4);
static_assert(sizeof(CMPIType) == 2 && sizeof(CMPIValueState) == 2);
static_assert(sizeof(CMPIrc) == 4);
static_assert(sizeof(CMPIValuePtr) == 16 && sizeof(CMPIValue) == 16);
static_assert(sizeof(CMPIData) == 24 && offsetof(CMPIData, state) == 2 &&
              offsetof(CMPIData, value) == 8);
static_assert(sizeof(CMPIStatus) == 16 && offsetof(CMPIStatus, msg) == 8);
static_assert(sizeof(CMPIBroker) == 40 && offsetof(CMPIBroker, mft) == 32);
static_assert(sizeof(CMPIInstance) == 16 && offsetof(CMPIInstance, ft) == 8);
static_assert(sizeof(CMPIObjectPath) == 16 && offsetof(CMPIObjectPath, ft) == 8);
static_assert(sizeof(CMPIArgs) == 16 && offsetof(CMPIArgs, ft) == 8);
static_assert(sizeof(CMPIArray) == 16 && offsetof(CMPIArray, ft) == 8);
static_assert(sizeof(CMPIString) == 16 && offsetof(CMPIString, ft) == 8);
static_assert(sizeof(CMPIResult) == 16 && offsetof(CMPIResult, ft) == 8);
static_assert(sizeof(CMPIContext) == 16 && offsetof(CMPIContext, ft) == 8);
static_assert(sizeof(CMPIEnumeration) == 16 && offsetof(CMPIEnumeration, ft) == 8);
static_assert(sizeof(CMPIDateTime) == 16 && offsetof(CMPIDateTime, ft) == 8);
static_assert(sizeof(CMPIError) == 16 && offsetof(CMPIError, ft) == 8);
static_assert(sizeof(CMPISelectExp) == 16 && offsetof(CMPISelectExp, ft) == 8);
static_assert(sizeof(CMPIInstanceMI) == 16 && offsetof(CMPIInstanceMI, ft) == 8);
static_assert(sizeof(CMPIAssociationMI) == 16 && offsetof(CMPIAssociationMI, ft) == 8);

static_assert(sizeof(CMPIBrokerFT) == 160);
static_assert(offsetof(CMPIBrokerFT, enumerateInstanceNames) == 48);
static_assert(offsetof(CMPIBrokerFT, enumerateInstances) == 96);
static_assert(offsetof(CMPIBrokerFT, getProperty) == 152);

static_assert(sizeof(CMPIBrokerEncFT) == 168);
static_assert(offsetof(CMPIBrokerEncFT, newInstance) == 8);
static_assert(offsetof(CMPIBrokerEncFT, newArray) == 40);
static_assert(offsetof(CMPIBrokerEncFT, classPathIsA) == 80);
static_assert(offsetof(CMPIBrokerEncFT, toString) == 88);
static_assert(offsetof(CMPIBrokerEncFT, getMessage2) == 160);

static_assert(sizeof(CMPIBrokerExtFT) == 168);
static_assert(offsetof(CMPIBrokerExtFT, signalCondition) == 160);

static_assert(sizeof(CMPIBrokerMemFT) == 120);
static_assert(offsetof(CMPIBrokerMemFT, mark) == 8);
static_assert(offsetof(CMPIBrokerMemFT, release) == 16);
static_assert(offsetof(CMPIBrokerMemFT, freeSelectExp) == 112);

static_assert(sizeof(CMPIInstanceFT) == 88);
static_assert(offsetof(CMPIInstanceFT, getProperty) == 24);
static_assert(offsetof(CMPIInstanceFT, setProperty) == 48);
static_assert(offsetof(CMPIInstanceFT, setPropertyFilter) == 64);

static_assert(sizeof(CMPIObjectPathFT) == 160);
static_assert(offsetof(CMPIObjectPathFT, addKey) == 72);
static_assert(offsetof(CMPIObjectPathFT, getKey) == 80);
static_assert(offsetof(CMPIObjectPathFT, getKeyAt) == 88);
static_assert(offsetof(CMPIObjectPathFT, toString) == 152);

static_assert(sizeof(CMPIArgsFT) == 56);
static_assert(offsetof(CMPIArgsFT, getArgCount) == 48);

static_assert(sizeof(CMPIArrayFT) == 56);
static_assert(offsetof(CMPIArrayFT, setElementAt) == 48);

static_assert(sizeof(CMPIStringFT) == 32);
static_assert(offsetof(CMPIStringFT, getCharPtr) == 24);

static_assert(sizeof(CMPIResultFT) == 64);
static_assert(offsetof(CMPIResultFT, returnInstance) == 32);
static_assert(offsetof(CMPIResultFT, returnObjectPath) == 40);
static_assert(offsetof(CMPIResultFT, returnDone) == 48);

static_assert(sizeof(CMPIContextFT) == 56);
static_assert(offsetof(CMPIContextFT, getEntry) == 24);
static_assert(offsetof(CMPIContextFT, addEntry) == 48);

static_assert(sizeof(CMPIEnumerationFT) == 48);
static_assert(offsetof(CMPIEnumerationFT, getNext) == 24);
static_assert(offsetof(CMPIEnumerationFT, hasNext) == 32);

static_assert(sizeof(CMPIDateTimeFT) == 48);
static_assert(offsetof(CMPIDateTimeFT, isInterval) == 40);

static_assert(sizeof(CMPIErrorFT) == 216);
static_assert(offsetof(CMPIErrorFT, setMessageArguments) == 208);

static_assert(sizeof(CMPIInstanceMIFT) == 80);
static_assert(offsetof(CMPIInstanceMIFT, miName) == 8);
static_assert(offsetof(CMPIInstanceMIFT, cleanup) == 16);
static_assert(offsetof(CMPIInstanceMIFT, getInstance) == 40);
static_assert(offsetof(CMPIInstanceMIFT, execQuery) == 72);

static_assert(sizeof(CMPIAssociationMIFT) == 56);
static_assert(offsetof(CMPIAssociationMIFT, miName) == 8);
static_assert(offsetof(CMPIAssociationMIFT, cleanup) == 16);
static_assert(offsetof(CMPIAssociationMIFT, associators) == 24);
static_assert(offsetof(CMPIAssociationMIFT, referenceNames) == 48);

#endif  // PLATFORM_CMPI_CMPI_H_
