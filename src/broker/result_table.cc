// CMPIResult.

#include "broker/entry.h"
#include "broker/error_object.h"
#include "broker/guest.h"
#include "broker/tables.h"

namespace broker {

namespace {

// Results belong to their call: neither released nor cloned by a guest.
CMPIStatus Release(CMPIResult*) { return Answer(CMPI_RC_OK); }
CMPIResult* Clone(const CMPIResult*, CMPIStatus* rc) {
  return Answer(rc, CMPI_RC_ERR_NOT_SUPPORTED, static_cast<CMPIResult*>(nullptr));
}

CMPIrc Return(const CMPIResult* rslt, const CMPIInstance* inst, const char* function) {
  const auto* result = Use<ResultObject>(rslt, function);
  const auto* instance = Use<InstanceObject>(inst, function);
  if (result == nullptr || instance == nullptr) return CMPI_RC_ERR_INVALID_HANDLE;
  return result->call->ReturnInstance(*instance, function);
}

CMPIrc Return(const CMPIResult* rslt, const CMPIObjectPath* op, const char* function) {
  const auto* result = Use<ResultObject>(rslt, function);
  const auto* path = Use<PathObject>(op, function);
  if (result == nullptr || path == nullptr) return CMPI_RC_ERR_INVALID_HANDLE;
  return result->call->ReturnPath(*path, function);
}

CMPIStatus ReturnInstance(const CMPIResult* rslt, const CMPIInstance* inst) {
  return Answer(Return(rslt, inst, "CMPIResult.returnInstance"));
}

CMPIStatus ReturnObjectPath(const CMPIResult* rslt, const CMPIObjectPath* ref) {
  return Answer(Return(rslt, ref, "CMPIResult.returnObjectPath"));
}

// The operations that a provider answers return instances and paths only; other values belong to
// methods, which are not served.
CMPIStatus ReturnData(const CMPIResult* rslt, const CMPIValue* value, const CMPIType type) {
  constexpr const char* kFunction = "CMPIResult.returnData";
  if (value == nullptr) {
    ReportMisuse(kFunction, "a null value");
    return Answer(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  if (type == CMPI_instance) return Answer(Return(rslt, value->inst, kFunction));
  if (type == CMPI_ref) return Answer(Return(rslt, value->ref, kFunction));
  ReportMisuse(kFunction, "a value of type " + cim::TypeName(type));
  return Answer(CMPI_RC_ERR_INVALID_DATA_TYPE);
}

CMPIStatus ReturnDone(const CMPIResult* rslt) {
  const auto* result = Use<ResultObject>(rslt, "CMPIResult.returnDone");
  if (result == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return Answer(result->call->ReturnDone());
}

CMPIStatus ReturnError(const CMPIResult* rslt, const CMPIError* er) {
  const auto* result = Use<ResultObject>(rslt, "CMPIResult.returnError");
  const auto* error = Use<ErrorObject>(er, "CMPIResult.returnError");
  if (result == nullptr || error == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return Answer(result->call->ReturnError({error->status_code, error->message}));
}

}  // namespace

CMPIResultFT result_table = {
    CMPIVersion200,        Entry<Release>,          Entry<Clone>,      Entry<ReturnData>,
    Entry<ReturnInstance>, Entry<ReturnObjectPath>, Entry<ReturnDone>, Entry<ReturnError>,
};

}  // namespace broker
