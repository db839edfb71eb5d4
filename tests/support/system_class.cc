#include "support/system_class.h"

#include <string_view>

#include "broker/provider_library.h"
#include "cim/schema.h"
#include "platform/cmpi/cmpi.h"

namespace {

SystemClassAnswer answering;

// `found_nothing`: the code of an answer without instance.
CMPIStatus AnswerFor(const CMPIInstanceMI* mi, const CMPIResult* result, CMPIrc found_nothing) {
  if (answering.mode == SystemClassMode::kRefused) {
    const auto* broker = static_cast<const CMPIBroker*>(mi->hdl);
    return {answering.refusal.code,
            broker->eft->newString(broker, answering.refusal.message.c_str(), nullptr)};
  }
  if (found_nothing == CMPI_RC_OK) result->ft->returnDone(result);
  return {found_nothing, nullptr};
}

CMPIStatus CleanupSystem(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean) {
  return {CMPI_RC_OK, nullptr};
}
CMPIStatus EnumerateSystemNames(CMPIInstanceMI* mi, const CMPIContext*, const CMPIResult* result,
                                const CMPIObjectPath*) {
  return AnswerFor(mi, result, CMPI_RC_OK);
}
CMPIStatus EnumerateSystems(CMPIInstanceMI* mi, const CMPIContext*, const CMPIResult* result,
                            const CMPIObjectPath*, const char**) {
  return AnswerFor(mi, result, CMPI_RC_OK);
}
CMPIStatus GetSystem(CMPIInstanceMI* mi, const CMPIContext*, const CMPIResult* result,
                     const CMPIObjectPath*, const char**) {
  return AnswerFor(mi, result, CMPI_RC_ERR_NOT_FOUND);
}

CMPIInstanceMI* CreateSystem(const CMPIBroker* broker, const CMPIContext*) {
  static CMPIInstanceMIFT table = {
      CMPIVersion200,   CMPIVersion200, "system", CleanupSystem, EnumerateSystemNames,
      EnumerateSystems, GetSystem,      nullptr,  nullptr,       nullptr,
      nullptr};
  static CMPIInstanceMI record;
  record = {const_cast<CMPIBroker*>(broker), &table};
  return &record;
}

void* Resolve(const char* symbol) {
  return std::string_view(symbol).ends_with("_Create_InstanceMI")
             ? reinterpret_cast<void*>(CreateSystem)
             : nullptr;
}

}  // namespace

void ReplaceSystemClass(broker::ObjectManager& manager, const SystemClassAnswer& by) {
  if (by.mode == SystemClassMode::kServed) return;
  answering = by;
  manager.Register(cim::schema::kSystemClass, broker::ProviderLibrary::FromResolver(Resolve));
}
