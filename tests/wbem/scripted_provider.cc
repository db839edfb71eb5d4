#include "wbem/scripted_provider.h"

#include <cstring>
#include <mutex>
#include <string_view>

namespace scripted {

namespace {

const CMPIBroker* broker_record = nullptr;

std::mutex behaviour_mutex;
std::shared_ptr<const Behaviour> behaviour = std::make_shared<Behaviour>();

// What the class does during one request: a client has no other bond with the threads of the
// server.
std::shared_ptr<const Behaviour> Now() {
  const std::scoped_lock lock(behaviour_mutex);
  return behaviour;
}

const CMPIValue* Chars(const std::string& text) {
  return reinterpret_cast<const CMPIValue*>(text.c_str());
}

CMPIStatus End(const Behaviour& now, const CMPIResult* result) {
  result->ft->returnDone(result);
  return {now.status, nullptr};
}

CMPIObjectPath* NewPath(int number) {
  CMPIObjectPath* path =
      broker_record->eft->newObjectPath(broker_record, "root/cimv2", kClass, nullptr);
  path->ft->addKey(path, "InstanceID", Chars("group-" + std::to_string(number)), CMPI_chars);
  return path;
}

// Returns the element in the form that `return_it` gives it, in memory of its own.
template <class ReturnIt>
CMPIStatus ForElement(const Behaviour& now, int number, ReturnIt return_it) {
  if (now.on_element) now.on_element(number);
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  const CMPIGcStat* mark = broker_record->eft != nullptr && broker_record->mft != nullptr
                               ? broker_record->mft->mark(broker_record, &rc)
                               : nullptr;
  const CMPIStatus status = return_it(NewPath(number));
  if (mark != nullptr) broker_record->mft->release(broker_record, mark);
  return status;
}

CMPIStatus ReturnInstance(const Behaviour& now, const CMPIResult* result, CMPIObjectPath* path,
                          int number) {
  CMPIInstance* instance = broker_record->eft->newInstance(broker_record, path, nullptr);
  instance->ft->setProperty(instance, "ElementName", Chars(now.element_name), CMPI_chars);
  CMPIValue bus;
  bus.uint8 = static_cast<CMPIUint8>(number);
  instance->ft->setProperty(instance, "BusNumber", &bus, CMPI_uint8);
  return result->ft->returnInstance(result, instance);
}

CMPIStatus Cleanup(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/, CMPIBoolean /*end*/) {
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus EnumerateInstanceNames(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                                  const CMPIResult* result, const CMPIObjectPath* /*path*/) {
  const auto now = Now();
  for (int i = 0; i < now->instances; ++i) {
    const auto status = ForElement(
        *now, i, [&](CMPIObjectPath* path) { return result->ft->returnObjectPath(result, path); });
    if (status.rc != CMPI_RC_OK) return status;
  }
  return End(*now, result);
}

CMPIStatus EnumerateInstances(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                              const CMPIResult* result, const CMPIObjectPath* /*path*/,
                              const char** properties) {
  const auto now = Now();
  if (now->on_list) now->on_list(properties);
  for (int i = 0; i < now->instances; ++i) {
    const auto status = ForElement(
        *now, i, [&](CMPIObjectPath* path) { return ReturnInstance(*now, result, path, i); });
    if (status.rc != CMPI_RC_OK) return status;
  }
  return End(*now, result);
}

CMPIStatus GetInstance(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                       const CMPIResult* result, const CMPIObjectPath* path,
                       const char** /*properties*/) {
  const auto now = Now();
  const CMPIData key = path->ft->getKey(path, "InstanceID", nullptr);
  const std::string_view wanted = key.value.string->ft->getCharPtr(key.value.string, nullptr);
  for (int i = 0; i < now->instances; ++i) {
    if (wanted == "group-" + std::to_string(i)) {
      ReturnInstance(*now, result, NewPath(i), i);
      return End(*now, result);
    }
  }
  return {CMPI_RC_ERR_NOT_FOUND, nullptr};
}

CMPIInstanceMI* Create(const CMPIBroker* broker, const CMPIContext* /*context*/) {
  static CMPIInstanceMIFT table{200,
                                200,
                                "scripted",
                                &Cleanup,
                                &EnumerateInstanceNames,
                                &EnumerateInstances,
                                &GetInstance,
                                nullptr,
                                nullptr,
                                nullptr,
                                nullptr};
  static CMPIInstanceMI provider{nullptr, &table};
  broker_record = broker;
  return &provider;
}

}  // namespace

void Behave(const Behaviour& wanted) {
  const std::scoped_lock lock(behaviour_mutex);
  behaviour = std::make_shared<Behaviour>(wanted);
}

std::shared_ptr<const broker::ProviderLibrary> Library() {
  return broker::ProviderLibrary::FromResolver([](const char* symbol) {
    return std::string_view(symbol) == "Ostrel_PCIPortGroup_Create_InstanceMI"
               ? reinterpret_cast<void*>(&Create)
               : nullptr;
  });
}

std::unique_ptr<broker::ObjectManager> Manager() {
  broker::Options options;
  options.system_name = "scripted-host";
  auto manager = std::make_unique<broker::ObjectManager>(std::move(options));
  manager->Register(kClass, Library());
  return manager;
}

std::unique_ptr<wbem::CurrentManager> Current() {
  return std::make_unique<wbem::CurrentManager>([] { return Manager(); });
}

}  // namespace scripted
